#include "platform/win32/job_link.h"

#include "platform/win32/job_lock.h"

namespace qbrk {

namespace {
// A worker posts one message at a time and waits, so the queue never holds many; the bound
// only guards against a window that keeps receiving them.
constexpr int kMaxDrainedMessages = 10000;
}  // namespace

SysError JobLink::Create(HWND dialog, uint32_t* attached_flag, std::shared_ptr<JobLink>* link) {
  UniqueEvent event(CreateEventA(nullptr, FALSE, FALSE, nullptr));
  if (!event) return GetLastError();
  {
    JobLockGuard lock;
    *attached_flag = 1;
  }
  *link = std::make_shared<JobLink>(dialog, std::move(event), attached_flag);
  return sys_error::kSuccess;
}

bool JobLink::IsAttached() const {
  JobLockGuard lock;
  return attached_ != nullptr && *attached_ != 0;
}

void JobLink::WorkerEnded() {
  JobLockGuard lock;
  if (attached_) *attached_ = 0;
}

void JobLink::Detach() {
  JobLockGuard lock;
  attached_ = nullptr;
}

void JobLink::SetReply() const {
  SetEvent(event_.get());
}

Win32DialogLink::~Win32DialogLink() {
  if (link_) link_->WorkerEnded();
}

bool Win32DialogLink::IsAttached() {
  return link_ && link_->IsAttached();
}

void Win32DialogLink::PostAndWait(uint32_t message, uintptr_t wparam, intptr_t lparam) {
  if (!IsAttached()) return;
  if (!PostMessageA(link_->window(), message, static_cast<WPARAM>(wparam),
                    static_cast<LPARAM>(lparam)))
    return;
  WaitForSingleObject(link_->reply_event(), INFINITE);
}

JobDialogEndpoint::~JobDialogEndpoint() {
  // The link must never point at a flag that no longer exists.
  if (link_) link_->Detach();
}

SysError JobDialogEndpoint::Open(HWND dialog) {
  if (link_) link_->Detach();
  link_.reset();
  return JobLink::Create(dialog, &attached_, &link_);
}

bool JobDialogEndpoint::attached() const {
  JobLockGuard lock;
  return attached_ != 0;
}

void JobDialogEndpoint::Reply() {
  if (link_ && attached()) link_->SetReply();
}

void JobDialogEndpoint::Cancel() {
  if (link_) link_->Detach();
}

void JobDialogEndpoint::DrainOnDestroy(const std::function<void(const MSG&)>& handle) {
  if (!link_) return;
  link_->Detach();
  MSG message;
  for (int i = 0;
       i < kMaxDrainedMessages &&
       PeekMessageA(&message, link_->window(), kFirstJobMessage, kLastJobMessage, PM_REMOVE);
       ++i) {
    if (handle)
      handle(message);
    else
      Reply();
  }
  Reply();
}

}  // namespace qbrk
