#include "http_server.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace qbrk::emulator {

namespace {

std::mutex log_mutex;

struct ConnectionState {
  std::unique_ptr<Exchange> exchange;
  std::string method;
  std::string target;
  std::string peer;
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  int status = 0;
  uint64_t bytes = 0;
};

// A body that stops after a given number of bytes and then breaks the connection.
struct CutBody {
  std::string text;
  FileBody file;
  bool from_file = false;
  uint64_t cut = 0;
};

ssize_t ReadCutBody(void* cls, uint64_t pos, char* buf, size_t max) {
  auto* body = static_cast<CutBody*>(cls);
  if (pos >= body->cut) return MHD_CONTENT_READER_END_WITH_ERROR;
  const size_t n = static_cast<size_t>(std::min<uint64_t>(max, body->cut - pos));
  if (!body->from_file) {
    if (pos >= body->text.size()) return MHD_CONTENT_READER_END_WITH_ERROR;
    const size_t k = std::min<size_t>(n, body->text.size() - pos);
    std::memcpy(buf, body->text.data() + pos, k);
    return static_cast<ssize_t>(k);
  }
  const ssize_t k =
      ::pread(body->file.fd.get(), buf, n, static_cast<off_t>(body->file.offset + pos));
  return k > 0 ? k : MHD_CONTENT_READER_END_WITH_ERROR;
}

void FreeCutBody(void* cls) {
  delete static_cast<CutBody*>(cls);
}

MHD_Response* ToMhdResponse(Response& r) {
  const uint64_t length = r.BodyLength();
  MHD_Response* out;
  if (r.cut_after && *r.cut_after < length) {
    auto* cut = new CutBody;
    cut->cut = *r.cut_after;
    if (auto* text = std::get_if<std::string>(&r.body)) {
      cut->text = std::move(*text);
    } else {
      cut->file = std::move(std::get<FileBody>(r.body));
      cut->from_file = true;
    }
    out = MHD_create_response_from_callback(length, 1 << 16, ReadCutBody, cut, FreeCutBody);
  } else if (auto* text = std::get_if<std::string>(&r.body)) {
    out = MHD_create_response_from_buffer(text->size(), text->data(), MHD_RESPMEM_MUST_COPY);
  } else {
    FileBody& file = std::get<FileBody>(r.body);
    out = MHD_create_response_from_fd_at_offset64(length, file.fd.Release(), file.offset);
  }
  if (out == nullptr) return nullptr;
  for (const auto& [name, value] : r.headers.fields()) {
    MHD_add_response_header(out, name.c_str(), value.c_str());
  }
  return out;
}

MHD_Result CollectHeader(void* cls, MHD_ValueKind, const char* key, const char* value) {
  static_cast<Headers*>(cls)->Add(key, value ? value : "");
  return MHD_YES;
}

std::string PeerOf(MHD_Connection* connection) {
  const MHD_ConnectionInfo* info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  if (info == nullptr || info->client_addr == nullptr || info->client_addr->sa_family != AF_INET) {
    return "-";
  }
  char text[INET_ADDRSTRLEN] = "-";
  const auto* in = reinterpret_cast<const sockaddr_in*>(info->client_addr);
  inet_ntop(AF_INET, &in->sin_addr, text, sizeof text);
  return text;
}

MHD_Result OnRequest(void* cls, MHD_Connection* connection, const char* url, const char* method,
                     const char*, const char* upload_data, size_t* upload_data_size,
                     void** con_cls) {
  auto* server = static_cast<HttpServer*>(cls);
  if (*con_cls == nullptr) {
    auto* state = new ConnectionState;
    *con_cls = state;
    RequestHead head;
    head.method = method;
    head.target = url;
    head.peer = PeerOf(connection);
    MHD_get_connection_values(connection, MHD_HEADER_KIND, CollectHeader, &head.headers);
    state->method = head.method;
    state->target = head.target;
    state->peer = head.peer;
    try {
      state->exchange = server->service().Begin(std::move(head));
    } catch (const std::exception& e) {
      state->exchange = Refuse({500, e.what()});
    }
    return MHD_YES;
  }
  auto* state = static_cast<ConnectionState*>(*con_cls);
  if (*upload_data_size > 0) {
    bool go_on = false;
    try {
      go_on = state->exchange->Consume(upload_data, *upload_data_size);
    } catch (const std::exception&) {
      // Dropping the connection undoes the request.
    }
    *upload_data_size = 0;
    return go_on ? MHD_YES : MHD_NO;
  }
  Response r;
  try {
    r = state->exchange->Finish();
  } catch (const std::exception& e) {
    r = RefusalResponse({500, e.what()});
  }
  state->status = r.status;
  state->bytes = r.BodyLength();
  MHD_Response* response = ToMhdResponse(r);
  if (response == nullptr) return MHD_NO;
  const MHD_Result queued =
      MHD_queue_response(connection, static_cast<unsigned>(r.status), response);
  MHD_destroy_response(response);
  return queued;
}

void OnCompleted(void* cls, MHD_Connection*, void** con_cls, MHD_RequestTerminationCode code) {
  auto* server = static_cast<HttpServer*>(cls);
  auto* state = static_cast<ConnectionState*>(*con_cls);
  if (state == nullptr) return;
  *con_cls = nullptr;
  if (server->log_requests()) {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::steady_clock::now() - state->start)
                        .count();
    std::lock_guard<std::mutex> lock(log_mutex);
    std::fprintf(stderr, "%s \"%s %s\" %d %llu %lldms%s\n", state->peer.c_str(),
                 state->method.c_str(), state->target.c_str(), state->status,
                 static_cast<unsigned long long>(state->bytes), static_cast<long long>(ms),
                 code == MHD_REQUEST_TERMINATED_COMPLETED_OK ? "" : " (connection broken)");
  }
  // Dropping the exchange undoes what a broken request started; count it afterwards.
  delete state;
  if (code != MHD_REQUEST_TERMINATED_COMPLETED_OK) server->CountBroken();
}

// Keeps the path exactly as sent: the service decodes it itself, segment by segment.
size_t KeepEscapes(void*, MHD_Connection*, char* s) {
  return std::strlen(s);
}

}  // namespace

bool IsLoopbackAddress(const std::string& host) {
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

std::unique_ptr<HttpServer> HttpServer::Start(Service& service, const ServerOptions& options,
                                              std::string* error) {
  if (!IsLoopbackAddress(options.host)) {
    *error = "the emulator listens on loopback addresses only (127.x.x.x)";
    return nullptr;
  }
  // Writes to a client that went away must not end the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::unique_ptr<HttpServer> server(new HttpServer(service, options));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(options.port);
  inet_pton(AF_INET, options.host.c_str(), &address.sin_addr);
  const bool tls = !options.cert_pem.empty() && !options.key_pem.empty();
  unsigned flags = MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_POLL;
  if (tls) flags |= MHD_USE_TLS;
  if (options.log_requests) flags |= MHD_USE_ERROR_LOG;
  std::vector<MHD_OptionItem> items = {
      {MHD_OPTION_SOCK_ADDR, 0, &address},
      {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<intptr_t>(&OnCompleted), server.get()},
      {MHD_OPTION_UNESCAPE_CALLBACK, reinterpret_cast<intptr_t>(&KeepEscapes), nullptr},
      {MHD_OPTION_CONNECTION_TIMEOUT, 120, nullptr},
      {MHD_OPTION_LISTEN_BACKLOG_SIZE, 1024, nullptr},
  };
  if (tls) {
    items.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, server->options_.key_pem.data()});
    items.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, server->options_.cert_pem.data()});
  }
  items.push_back({MHD_OPTION_END, 0, nullptr});
  server->daemon_ = MHD_start_daemon(flags, 0, nullptr, nullptr, OnRequest, server.get(),
                                     MHD_OPTION_ARRAY, items.data(), MHD_OPTION_END);
  if (server->daemon_ == nullptr) {
    *error = "cannot listen on " + options.host + ":" + std::to_string(options.port);
    return nullptr;
  }
  const MHD_DaemonInfo* info = MHD_get_daemon_info(server->daemon_, MHD_DAEMON_INFO_BIND_PORT);
  server->port_ = info != nullptr ? info->port : options.port;
  server->base_url_ = std::string(tls ? "https://" : "http://") + options.host + ":" +
                      std::to_string(server->port_);
  service.SetBaseUrl(server->base_url_);
  return server;
}

HttpServer::~HttpServer() {
  Stop();
}

void HttpServer::Stop() {
  if (daemon_ == nullptr) return;
  service_.Stop();
  MHD_stop_daemon(daemon_);
  daemon_ = nullptr;
}

}  // namespace qbrk::emulator
