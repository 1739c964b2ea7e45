// A job's connection to the service. Opening it reads the settings, goes on line (dial-up
// aware), opens the HTTP session, proves the credentials and the server's protocol version
// with a HEAD request on the disk root, and asks for sign-in or proxy credentials until the
// server accepts them or the user gives up. Every operation then runs through its session.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/result_code.h"
#include "platform/dial_up.h"
#include "platform/dialog_link.h"
#include "platform/env.h"
#include "platform/http_transport.h"
#include "protocol/quota_parser.h"
#include "protocol/server_session.h"

namespace qbrk {

// The platform's network parts.
struct NetPlatform {
  HttpTransport& http;
  DialUpLoader& dial_up;
};

// What a connection needs from its job's user interface. Every member may be empty: with no
// link nothing is asked (a needed sign-in counts as cancelled) and nothing is cancelled.
struct ConnectionUi {
  DialogLink* link = nullptr;
  uintptr_t owner_window = 0;
  // Shows the message for a result code (the error reporter). Used for 75 before the
  // sign-in dialog.
  std::function<void(ResultCode code)> report_error;
  // The library's message box (text, caption, message-box type); returns the button pressed.
  std::function<int(const std::string& text, const std::string& caption, uint32_t type)>
      message_box;
  // Replaces the options entry that runs when the stored credentials cannot be read (by
  // default: load the options, message 1085 through the link, store them on OK); true when
  // the user confirmed and the options were stored.
  std::function<bool()> run_options;
};

class ServerConnection {
 public:
  ServerConnection(Env& env, NetPlatform net, ConnectionUi ui);
  ~ServerConnection();
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;

  // Reads host, credentials, port, upload unit, the secure flag and the logging level.
  // 0; 96 when stored credentials exist but cannot be read; 97 when no password is known.
  ResultCode LoadSettings();
  // The whole open sequence (loads the settings first when that was not done). 0; 1 when
  // the user cancelled or the machine could not go on line; 2 when memory ran out outside
  // the steps; or the failing step's code.
  ResultCode Open();
  // Closes the session, then offers to hang up the dial-up connections that appeared since
  // the open.
  void Close();

  // The session of an open connection, or null.
  ServerSession* session() { return session_.get(); }
  // The disk's figures; all zero (and 0) when there is no session.
  ResultCode QueryQuota(QuotaFigures* figures);

  const std::string& host() const { return host_; }
  uint16_t port() const { return port_; }
  const std::string& user() const { return user_; }
  // The disk root with its trailing "/", known once the open sequence built it.
  const std::string& root() const { return root_; }
  bool secure() const { return secure_; }
  uint32_t upload_unit() const { return upload_unit_; }

 private:
  bool IsCancelled();
  void Notify(uint32_t message, uintptr_t wparam);
  // Asks for credentials through message 1090 and stores them when confirmed.
  bool AskSignIn(bool proxy);
  // The options dialog through message 1085; true when confirmed and stored.
  bool RunOptions();
  // Which dial-up connections exist now; dial-up handling is off when that is unknown.
  void RecordDialUp();
  void OfferHangUps();
  // Open without its guard against running out of memory.
  ResultCode OpenSequence();
  // The check of the connection loop's round.
  ResultCode CheckRound(bool* first_round, bool redirected, bool* host_changed);

  Env& env_;
  NetPlatform net_;
  ConnectionUi ui_;
  Settings settings_;
  bool loaded_ = false;
  ResultCode load_result_ = result::kSuccess;
  std::string host_;
  uint16_t port_ = 0;
  std::string user_;
  std::string password_;
  bool password_stored_ = false;
  std::string own_owner_;
  std::string root_;
  bool secure_ = false;
  uint32_t upload_unit_ = 0;
  std::unique_ptr<ServerSession> session_;
  std::unique_ptr<DialUp> dial_up_;
  std::vector<std::string> dial_up_names_;
};

}  // namespace qbrk
