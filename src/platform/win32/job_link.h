// The link between a progress dialog and the worker thread it started.
//
// The worker posts a message in WM_USER + 50 .. WM_USER + 78 to the dialog's window and
// waits, without limit, on an auto-reset reply event that the dialog sets once its handler
// is done. The link also points at the dialog's attached flag: the dialog forgets that
// pointer when the user cancels or the dialog closes, the worker clears the flag when it
// ends. Both happen under the job lock, and the worker may go on only while the pointer is
// set and the flag is not 0.
//
// Dialog and worker both hold the link (shared_ptr), so the event outlives whichever of
// the two ends first and a late SetEvent never touches a closed handle.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/dialog_link.h"
#include "platform/sys_error.h"
#include "platform/win32/unique_handle.h"

namespace qbrk {

// First and last message a worker posts to its dialog.
inline constexpr UINT kFirstJobMessage = WM_USER + 50;
inline constexpr UINT kLastJobMessage = WM_USER + 78;

class JobLink {
 public:
  // A link to `dialog` with a new, unsignalled auto-reset event, attached through
  // `attached_flag`, which is set to 1.
  static SysError Create(HWND dialog, uint32_t* attached_flag, std::shared_ptr<JobLink>* link);

  HWND window() const { return window_; }
  HANDLE reply_event() const { return event_.get(); }

  // Worker side. True while the dialog is open, has not cancelled and the worker has not
  // ended (under the job lock).
  bool IsAttached() const;
  // The worker is done: the dialog's attached flag goes to 0, if the dialog is still linked.
  void WorkerEnded();

  // Dialog side: forget the attached flag (cancel or close). The worker stops at its next
  // IsAttached test.
  void Detach();
  // True until the worker has ended (under the job lock).
  bool DialogAttached() const;
  // Releases the waiting worker.
  void SetReply() const;

  JobLink(HWND window, UniqueEvent event, uint32_t* attached_flag)
      : window_(window), event_(std::move(event)), attached_(attached_flag) {}

 private:
  HWND window_;
  UniqueEvent event_;
  uint32_t* attached_;  // guarded by the job lock; null once the dialog let go
};

// The worker's view of its dialog, for the portable jobs. Ending its life ends the worker's
// side of the link (WorkerEnded).
class Win32DialogLink final : public DialogLink {
 public:
  explicit Win32DialogLink(std::shared_ptr<JobLink> link) : link_(std::move(link)) {}
  ~Win32DialogLink() override;
  Win32DialogLink(const Win32DialogLink&) = delete;
  Win32DialogLink& operator=(const Win32DialogLink&) = delete;

  bool IsAttached() override;
  // Posts and waits for the reply; does nothing when detached, and does not wait when the
  // window is already gone (the post failed, so no one would ever reply).
  void PostAndWait(uint32_t message, uintptr_t wparam, intptr_t lparam) override;

 private:
  std::shared_ptr<JobLink> link_;
};

// The dialog's half of a job: it owns the attached flag that the link points at, so it
// must stay where it is while the link is open (it can be neither copied nor moved).
class JobDialogEndpoint {
 public:
  JobDialogEndpoint() = default;
  ~JobDialogEndpoint();
  JobDialogEndpoint(const JobDialogEndpoint&) = delete;
  JobDialogEndpoint& operator=(const JobDialogEndpoint&) = delete;

  // Makes the link to `dialog`, marked attached; hand link() to the worker.
  SysError Open(HWND dialog);
  const std::shared_ptr<JobLink>& link() const { return link_; }
  // True from Open until the worker has ended.
  bool attached() const;

  // The end of every handler of a worker message: release the worker, if it still waits
  // on this dialog.
  void Reply();
  // The user cancelled: the worker stops at its next test, and is still answered.
  void Cancel();
  // For the dialog's destruction: detach, then take every worker message still queued for
  // the window and hand each to `handle` in queue order (a handler ends with Reply; without
  // one, each message is only answered), then release the worker once more in case it posted
  // after the queue was emptied.
  void DrainOnDestroy(const std::function<void(const MSG&)>& handle);

 private:
  std::shared_ptr<JobLink> link_;
  uint32_t attached_ = 0;
};

}  // namespace qbrk
