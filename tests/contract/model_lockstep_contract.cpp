// The model and the emulator driven side by side by the same random operations of our
// client: every answer must be the same once lock tokens, lock time-outs, entity tags and
// dates are set aside, and so must the result codes and the disks (times to within two
// seconds: both take new files' times from the real clock here).
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "common/file_time.h"
#include "diag/error_log.h"
#include "model_harness.h"
#include "platform/memory/memory_http_transport.h"
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/locks.h"
#include "protocol/quota.h"
#include "protocol/transfer.h"
#include "tests/unit/settings/twin_env.h"

namespace qbrk::testing {
namespace {

constexpr uint32_t kUnit = 4096;
constexpr int kOperations = 100;
const char* const kFiles[] = {"a.txt",     "表.txt",   "ソ/十.bin",
                              "ソ/ポ.txt", "能/x.txt", "能/深/y.txt"};
const char* const kFolders[] = {"ソ", "能", "能/深"};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Whether text[at] starts "Www, DD Mmm YYYY HH:MM:SS GMT".
bool IsHttpDateAt(std::string_view text, size_t at) {
  constexpr std::string_view kShape = "Aaa, 00 Aaa 0000 00:00:00 GMT";
  if (text.size() - at < kShape.size()) return false;
  for (size_t i = 0; i < kShape.size(); ++i) {
    const char want = kShape[i];
    const char c = text[at + i];
    const bool ok = want == '0'   ? IsDigit(c)
                    : want == 'A' ? c >= 'A' && c <= 'Z'
                    : want == 'a' ? c >= 'a' && c <= 'z'
                                  : c == want;
    if (!ok) return false;
  }
  return true;
}

// Lock tokens, lock time-outs and dates, which differ between two services by nature,
// become "*".
std::string Blot(std::string_view text) {
  constexpr std::string_view kToken = "opaquelocktoken:";
  constexpr std::string_view kSeconds = "Second-";
  std::string out;
  for (size_t i = 0; i < text.size();) {
    if (text.substr(i, kToken.size()) == kToken) {
      out += '*';
      i += kToken.size() + 36;  // a UUID
    } else if (text.substr(i, kSeconds.size()) == kSeconds) {
      out += '*';
      for (i += kSeconds.size(); i < text.size() && IsDigit(text[i]);)
        ++i;
    } else if (IsHttpDateAt(text, i)) {
      out += '*';
      i += 29;
    } else {
      out += text[i++];
    }
  }
  return out;
}

// What our client met in one exchange, with what differs by nature between two services
// (lock tokens and time-outs, entity tags, dates) blotted out.
std::string Normalized(const HandlerRequest& request, const HandlerResponse& answer) {
  std::string text = request.method + " " + request.path + " -> " + std::to_string(answer.status) +
                     (answer.connection_cut ? " cut" : "") + "\n";
  for (const auto& [name, value] : answer.headers) {
    text += name + ": " + (name == "ETag" ? "*" : value) + "\n";
  }
  return Blot(text + "\n" + answer.body);
}

// One service with its client: a platform of its own and a log of what the client met.
struct Side {
  explicit Side(std::unique_ptr<ServiceUnderTest> made) : service(std::move(made)) {
    http.set_recording(false);
    http.set_handler([this](const HandlerRequest& request) {
      HandlerResponse answer = service->Handle(request);
      log.push_back(Normalized(request, answer));
      return answer;
    });
  }

  ServerSession& Session(uint32_t unit) {
    SessionOptions options;
    options.upload_unit = unit;
    session = std::make_unique<ServerSession>(twin.env, http, nullptr, options);
    EXPECT_EQ(session->OpenSession("127.0.0.1", 8080, kModelUser, kModelPassword), 0u);
    session->set_own_owner(kModelUser);
    session->set_disk_root(kModelRoot);
    return *session;
  }

  std::unique_ptr<ServiceUnderTest> service;
  TwinEnv twin;
  MemoryHttpTransport http;
  std::unique_ptr<ServerSession> session;
  std::vector<std::string> log;
};

// One random operation of our client, made the same way on either side; the result code and
// what it found, as text.
class Operation {
 public:
  explicit Operation(std::mt19937& random) {
    auto pick = [&](int n) { return static_cast<int>(random() % static_cast<uint32_t>(n)); };
    kind_ = pick(14);
    file_ = kFiles[pick(6)];
    folder_ = kFolders[pick(3)];
    size_ = static_cast<size_t>(pick(4) == 0 ? 0 : pick(9000));
    seed_ = pick(250);
    // Any second of 1990 to 2029.
    time_ = (static_cast<uint64_t>(631152000 + random() % 1262304000u) + 11644473600ULL) *
            kFileTimeTicksPerSecond;
  }

  std::string Describe() const {
    return "operation " + std::to_string(kind_) + " on " + file_ + " / " + folder_;
  }

  std::string Run(Side& side) const {
    const std::string file = kModelRoot + file_;
    const std::string folder = kModelRoot + folder_ + "/";
    // Now and then a read meets a folder where the client expects a file.
    const std::string read = seed_ % 4 == 0 ? kModelRoot + folder_ : file;
    std::string found;
    ResultCode r = 0;
    switch (kind_) {
      case 0:
      case 1:
      case 2: {
        std::string bytes(size_, '\0');
        for (size_t i = 0; i < size_; ++i)
          bytes[i] = static_cast<char>((i * 13 + static_cast<size_t>(seed_)) % 256);
        side.twin.files.WriteWholeFile("C:\\up.bin", bytes);
        r = Upload(side.Session(kind_ == 2 ? kUnit : 0), "C:\\up.bin", file);
        break;
      }
      case 3:
        r = SetLastModified(side.Session(0), time_, file);
        break;
      case 4: {
        FindData item;
        r = Download(side.Session(0), read, "C:\\down.bin", &item);
        std::string bytes;
        side.twin.files.ReadWholeFile("C:\\down.bin", &bytes);
        found = std::to_string(item.size) + " " + std::to_string(bytes.size());
        break;
      }
      case 5: {
        const Listing* listing = nullptr;
        r = ListFolder(side.Session(0), seed_ % 3 == 0 ? kModelRoot : folder, &listing);
        for (size_t i = 0; listing != nullptr && i < listing->size(); ++i)
          found += (*listing)[i].name + " " + std::to_string((*listing)[i].size) + "; ";
        break;
      }
      case 6: {
        FindData item;
        r = FileStatus(side.Session(0), read, &item);
        found = std::to_string(item.size);
        break;
      }
      case 7:
        r = MakeFolder(side.Session(0), folder);
        break;
      case 8:
        r = DeleteResource(side.Session(0), seed_ % 2 ? file : folder);
        break;
      case 9: {
        std::string token;
        r = Lock(side.Session(0), file, &token);
        found = token.empty() ? "no token" : "token";
        break;
      }
      case 10:
        r = ReleaseOwnLocksOnDisk(side.Session(0), kModelRoot);
        break;
      case 11:
        found = side.service->HoldLock(seed_ % 2 ? file_ : folder_, 3600, seed_ % 3 == 0).empty()
                    ? "clash"
                    : "held";
        break;
      case 12: {
        QuotaFigures figures;
        r = QueryQuota(side.Session(0), kModelRoot, &figures);
        found = std::to_string(figures.used) + " " + std::to_string(figures.free);
        break;
      }
      default:
        if (seed_ % 2) {
          r = EmptyFolder(side.Session(0), folder);
        } else {
          side.service->ReleaseLocks();
        }
        break;
    }
    side.session.reset();
    return std::to_string(r) + " " + found;
  }

 private:
  int kind_ = 0;
  std::string file_;
  std::string folder_;
  size_t size_ = 0;
  int seed_ = 0;
  uint64_t time_ = 0;
};

void ExpectSameDisk(Side& model, Side& emulator, const std::string& context) {
  const model::Tree a = model.service->Tree();
  const model::Tree b = emulator.service->Tree();
  std::string differences;
  for (const auto& [path, entry] : a) {
    const auto other = b.find(path);
    if (other == b.end()) {
      differences += "only in the model: " + path + "\n";
      continue;
    }
    const uint64_t gap = entry.time > other->second.time ? entry.time - other->second.time
                                                         : other->second.time - entry.time;
    if (entry.folder != other->second.folder || entry.bytes != other->second.bytes ||
        gap > 2 * kFileTimeTicksPerSecond) {
      differences += "differs: " + path + "\n";
    }
  }
  for (const auto& [path, entry] : b) {
    if (!a.count(path)) differences += "only in the emulator: " + path + "\n";
  }
  EXPECT_EQ(differences, "") << context;
}

class ModelLockstep : public ::testing::TestWithParam<uint32_t> {};

TEST_P(ModelLockstep, AnswersAsTheEmulatorDoes) {
  SetLoggingLevel(0);
  Side model(MakeModelOnRealClock());
  Side emulator(MakeEmulatorUnderTest());
  if (const std::string why = emulator.service->missing(); !why.empty()) GTEST_SKIP() << why;
  for (Side* side : {&model, &emulator}) {
    side->service->SetQuota(40000);
    side->service->MakeFolder("ソ", 126256467060000000ULL);  // 2001-02-03
  }
  std::mt19937 random(GetParam());
  for (int i = 0; i < kOperations; ++i) {
    const Operation operation(random);
    const std::string context = "seed " + std::to_string(GetParam()) + ", step " +
                                std::to_string(i) + ": " + operation.Describe();
    const std::string by_model = operation.Run(model);
    const std::string by_emulator = operation.Run(emulator);
    ASSERT_EQ(by_model, by_emulator) << context;
    ASSERT_EQ(model.log, emulator.log) << context;
    model.log.clear();
    emulator.log.clear();
    ExpectSameDisk(model, emulator, context);
    if (HasFailure()) return;
  }
  EXPECT_EQ(model.http.misuses() + emulator.http.misuses(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelLockstep, ::testing::Range(1u, 17u));

}  // namespace
}  // namespace qbrk::testing
