#include "protocol/server_connection.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "common/mbcs.h"
#include "diag/error_log.h"
#include "platform/clock.h"
#include "platform/registry.h"
#include "protocol/locks.h"
#include "protocol/quota.h"
#include "protocol/service.h"
#include "protocol/sign_in_record.h"
#include "protocol/worker_messages.h"
#include "shell/options_store.h"

namespace qbrk {

namespace {

// A session that cannot even be created fails locally (no handles, no memory), not on the
// network; retrying that without end would hang a job that has no dialog to cancel it.
constexpr int kMaxSessionOpenAttempts = 20;
// RasHangUpA returns before the line is down; the status is polled until the handle is gone,
// for at most this long.
constexpr uint32_t kHangUpWaitMs = 30000;
constexpr uint32_t kMaxHangUpPolls = 1000000;

constexpr uint32_t kMessageBoxYesNoQuestion = 0x4 | 0x20;  // MB_YESNO | MB_ICONQUESTION
constexpr int kMessageBoxYes = 6;                          // IDYES

// True when the sign-in value exists at all, readable or not: a value that cannot be read is
// a damaged record (96), a missing one means the user never signed in (97).
bool CredentialValueExists(Registry& registry) {
  std::unique_ptr<RegistryKey> key;
  if (registry.OpenKey(RegistryRoot::kCurrentUser, kSettingsKey, RegistryAccess::kRead, &key) != 0)
    return false;
  uint32_t size = 0;
  return key->QueryValue("Info", nullptr, nullptr, &size) == 0;
}

}  // namespace

ServerConnection::ServerConnection(Env& env, NetPlatform net, ConnectionUi ui)
    : env_(env), net_(net), ui_(std::move(ui)), settings_(env.registry) {}

ServerConnection::~ServerConnection() {
  Close();
}

bool ServerConnection::IsCancelled() {
  return ui_.link != nullptr && !ui_.link->IsAttached();
}

void ServerConnection::Notify(uint32_t message, uintptr_t wparam) {
  if (ui_.link != nullptr && !IsCancelled()) ui_.link->PostAndWait(message, wparam, 0);
}

ResultCode ServerConnection::LoadSettings() {
  host_ = kDefaultServiceHost;
  std::string domain;
  if (settings_.ReadDomain(&domain) && !domain.empty()) host_ = domain;

  Credentials credentials;
  if (settings_.ReadCredentials(CredentialKind::kService, &credentials)) {
    user_ = credentials.user;
    password_ = credentials.password;
    password_stored_ = credentials.password_stored;
    load_result_ =
        !password_stored_ && password_.empty() ? result::kSignInNeeded : result::kSuccess;
  } else {
    user_.clear();
    password_.clear();
    password_stored_ = false;
    load_result_ = CredentialValueExists(env_.registry) ? result::kMirrorOrCredentialsMissing
                                                        : result::kSignInNeeded;
  }
  own_owner_ = user_;
  secure_ = settings_.UseSsl() != 0;
  port_ = static_cast<uint16_t>(secure_ ? settings_.PortSsl() : settings_.Port());
  upload_unit_ = settings_.PutUnit();
  SetLoggingLevel(settings_.PutLog());
  loaded_ = true;
  return load_result_;
}

bool ServerConnection::AskSignIn(bool proxy) {
  if (ui_.link == nullptr || IsCancelled()) return false;
  SignInRecord record;
  record.proxy = proxy ? 1 : 0;
  if (proxy) {
    Credentials stored;
    if (settings_.ReadCredentials(CredentialKind::kProxy, &stored)) {
      record.user = stored.user;
      record.password = stored.password;
      record.remember = stored.password_stored ? 1 : 0;
    }
  } else {
    record.user = user_;
    record.password = password_;
    record.remember = password_stored_ || user_.empty() ? 1 : 0;
  }
  uint32_t answer = 0;
  ui_.link->PostAndWait(worker_message::kSignIn, reinterpret_cast<uintptr_t>(&record),
                        reinterpret_cast<intptr_t>(&answer));
  if (answer != kAnswerOk) return false;
  settings_.WriteCredentials(proxy ? CredentialKind::kProxy : CredentialKind::kService, record.user,
                             record.password, record.remember != 0);
  if (proxy) {
    if (session_) session_->SetProxyCredentials(record.user, record.password);
  } else {
    user_ = record.user;
    password_ = record.password;
    password_stored_ = record.remember != 0;
    own_owner_ = record.user;
  }
  return true;
}

bool ServerConnection::RunOptions() {
  if (ui_.run_options) return ui_.run_options();
  if (ui_.link == nullptr || IsCancelled()) return false;
  OptionsRecord record;
  LoadOptions(env_, &record);
  uint32_t answer = 0;
  ui_.link->PostAndWait(worker_message::kOptions, reinterpret_cast<uintptr_t>(&record),
                        reinterpret_cast<intptr_t>(&answer));
  if (answer != kAnswerOk) return false;
  StoreOptions(env_, record);
  return true;
}

void ServerConnection::RecordDialUp() {
  dial_up_ = net_.dial_up.Load();
  if (!dial_up_) return;
  std::vector<DialUpEntry> entries;
  if (dial_up_->Enumerate(&entries) != 0) {
    // Without the list of what was there before, a hang-up could hit a connection the user
    // made; offer none.
    dial_up_.reset();
    return;
  }
  dial_up_names_.clear();
  for (const auto& entry : entries)
    dial_up_names_.push_back(entry.entry_name);
}

ResultCode ServerConnection::CheckRound(bool* first_round, bool redirected, bool* host_changed) {
  if (secure_) return session_->CheckServer(root_, false, nullptr);
  if (*first_round) {
    *first_round = false;
    std::string preferred = host_;
    const ResultCode r = session_->CheckServer(root_, true, &preferred);
    if (r != result::kSuccess) return r;
    if (preferred != host_) {
      host_ = preferred;
      *host_changed = true;
      return r;
    }
    return session_->CheckServer(root_, false, nullptr);
  }
  // The preferred host was answered by a server that passed the check.
  if (redirected) return result::kSuccess;
  return session_->CheckServer(root_, false, nullptr);
}

ResultCode ServerConnection::Open() {
  // The steps that read answers turn running out of memory into their own codes; this
  // catches what is left (the connection's own records).
  try {
    return OpenSequence();
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  if (session_) session_->CloseSession();
  return result::kNoMemory;
}

ResultCode ServerConnection::OpenSequence() {
  if (!loaded_) LoadSettings();
  if (load_result_ == result::kMirrorOrCredentialsMissing) {
    if (IsCancelled()) return result::kCancelled;
    if (!RunOptions()) return result::kCancelled;
    const ResultCode r = LoadSettings();
    if (r != result::kSuccess && r != result::kSignInNeeded) return r;
  }
  if (!password_stored_ && password_.empty() && !AskSignIn(false)) return result::kCancelled;

  if (!session_) {
    session_ = std::make_unique<ServerSession>(
        env_, net_.http, ui_.link, SessionOptions{upload_unit_, secure_, ui_.owner_window});
    RecordDialUp();
  }
  if (IsCancelled()) return result::kCancelled;
  if (net_.http.AttemptConnect() != 0) return result::kCancelled;

  bool first_round = true;
  bool redirected = false;
  bool proxy_record_tried = false;
  int failed_opens = 0;
  for (;;) {
    user_ = LowerAscii(user_);
    ResultCode r = session_->OpenSession(host_, port_, user_, password_);
    if (IsCancelled()) return result::kCancelled;
    if (r != result::kSuccess) {
      if (++failed_opens >= kMaxSessionOpenAttempts) return r;
      continue;
    }
    Notify(worker_message::kStatus, status_index::kAuthenticating);
    if (!DiskRoot(settings_, user_, true, &root_)) {
      r = result::kAuthFailed;
    } else {
      bool host_changed = false;
      r = CheckRound(&first_round, redirected, &host_changed);
      if (host_changed) {
        session_->CloseSession();
        redirected = true;
        continue;
      }
    }

    if (r == result::kAuthFailed) {
      if (IsCancelled()) return result::kCancelled;
      if (ui_.report_error) ui_.report_error(r);
      if (!AskSignIn(false)) return result::kCancelled;
      session_->CloseSession();
    } else if (r == result::kProxyAuthRequired) {
      if (IsCancelled()) return result::kCancelled;
      Credentials stored;
      if (!proxy_record_tried && settings_.ReadCredentials(CredentialKind::kProxy, &stored) &&
          stored.password_stored) {
        session_->SetProxyCredentials(stored.user, stored.password);
      } else if (!AskSignIn(true)) {
        return result::kCancelled;
      }
      proxy_record_tried = true;
      session_->CloseSession();
    } else if (r == result::kSuccess) {
      session_->set_own_owner(own_owner_);
      session_->set_disk_root(root_);
      ReleaseSavedLock(*session_);
      return result::kSuccess;
    } else {
      session_->CloseSession();
      return r;
    }
  }
}

void ServerConnection::OfferHangUps() {
  std::vector<DialUpEntry> now;
  if (dial_up_->Enumerate(&now) != 0) return;
  for (const DialUpEntry& entry : now) {
    if (std::find(dial_up_names_.begin(), dial_up_names_.end(), entry.entry_name) !=
        dial_up_names_.end())
      continue;
    const std::string text = "\"" + entry.entry_name + "\"を切断します。";
    if (!ui_.message_box ||
        ui_.message_box(text, "Qbrookツール", kMessageBoxYesNoQuestion) != kMessageBoxYes)
      continue;
    dial_up_->HangUp(entry.handle);
    const uint32_t start = env_.clock.TickCount();
    for (uint32_t polls = 0; polls < kMaxHangUpPolls; ++polls) {
      if (dial_up_->ConnectStatus(entry.handle) == sys_error::kInvalidHandle) break;
      if (env_.clock.TickCount() - start >= kHangUpWaitMs) break;
      env_.clock.Sleep(0);
    }
  }
}

void ServerConnection::Close() {
  if (session_) {
    session_->CloseSession();
    session_.reset();
  }
  if (dial_up_) {
    OfferHangUps();
    dial_up_.reset();
    dial_up_names_.clear();
  }
}

ResultCode ServerConnection::QueryQuota(QuotaFigures* figures) {
  *figures = QuotaFigures();
  if (!session_) return result::kSuccess;
  return qbrk::QueryQuota(*session_, root_, figures);
}

}  // namespace qbrk
