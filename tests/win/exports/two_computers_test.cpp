// The synchronize command end to end: the real DLL, its progress and choice dialogs driven as
// a person would, and the emulator program beside this process as the server. Two computers
// share one Wine prefix here: each has a mirror folder of its own and its own copy of the
// table file (the record of what was last in step), swapped in before each of its runs, so
// the library sees a second installation signed in to the same account. (Two computers in
// two prefixes, driven through the host stand-in: tests/e2e/two_computers.sh.)
#include <windows.h>
#include <wininet.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "dll_fixture.h"
#include "host_window.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"

namespace qbrk::test {
namespace {

using Command = UINT(WINAPI*)(UINT_PTR, HWND);

constexpr char kProgressTitle[] = "Qbrookツール－同期";
constexpr char kChoiceTitle[] = "Qbrookツール－ユーザー選択";
constexpr char kDir[] = "<folder>";
constexpr uint32_t kUploadUnit = 524288;

// Bytes that differ from one offset to the next, so a range written twice or out of place
// shows.
std::string Pattern(size_t size, uint32_t seed) {
  std::string out(size, '\0');
  uint32_t x = seed * 2654435761u + 1;
  for (char& c : out) {
    x = x * 1103515245u + 12345u;
    c = static_cast<char>(x >> 24);
  }
  return out;
}

void DeleteTree(const std::string& root) {
  WIN32_FIND_DATAA found;
  HANDLE find = FindFirstFileA((root + "\\*").c_str(), &found);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      const std::string name = found.cFileName;
      if (name == "." || name == "..") continue;
      const std::string path = root + "\\" + name;
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        DeleteTree(path);
      else
        RemoveFile(path);
    } while (FindNextFileA(find, &found));
    FindClose(find);
  }
  RemoveFolder(root);
}

// Every entry below `root` by its relative path: a file's bytes (or only its size, when
// `sizes_only`), or kDir for a folder.
using Tree = std::map<std::string, std::string>;
void ReadTree(const std::string& root, const std::string& prefix, bool sizes_only, Tree* tree) {
  WIN32_FIND_DATAA found;
  HANDLE find = FindFirstFileA((root + "\\*").c_str(), &found);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    const std::string name = found.cFileName;
    if (name == "." || name == "..") continue;
    const std::string path = root + "\\" + name;
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      (*tree)[prefix + name] = kDir;
      ReadTree(path, prefix + name + "\\", sizes_only, tree);
    } else if (sizes_only) {
      (*tree)[prefix + name] = std::to_string(found.nFileSizeLow) + " bytes";
    } else {
      (*tree)[prefix + name] = ReadFile(path);
    }
  } while (FindNextFileA(find, &found));
  FindClose(find);
}
Tree TreeOf(const std::string& root, bool sizes_only = false) {
  Tree tree;
  ReadTree(root, "", sizes_only, &tree);
  return tree;
}

// A tree's shape without its names: the server's disk keeps names as raw code page 932
// bytes, which Wine's file system cannot open, so the disk is compared by its folders and
// its files' sizes (and ASCII-named files byte for byte).
std::vector<std::string> ShapeOf(const Tree& tree) {
  std::vector<std::string> out;
  for (const auto& [name, content] : tree)
    out.push_back(content == kDir ? content : std::to_string(content.size()) + " bytes");
  std::sort(out.begin(), out.end());
  return out;
}
std::vector<std::string> DiskShape(const std::string& disk) {
  std::vector<std::string> out;
  for (const auto& [name, size] : TreeOf(disk, true))
    out.push_back(size);
  std::sort(out.begin(), out.end());
  return out;
}

// One request to the emulator's control endpoint; the answer's body, or "<failed>".
std::string Control(const char* method, const char* path, const std::string& body = "") {
  std::string answer = "<failed>";
  HINTERNET session = InternetOpenA("qbrk-test", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
  HINTERNET connection =
      session ? InternetConnectA(
                    session, "127.0.0.1",
                    static_cast<INTERNET_PORT>(std::atoi(std::getenv("QBRK_EMULATOR_PORT"))),
                    nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, 0)
              : nullptr;
  HINTERNET request = connection ? HttpOpenRequestA(connection, method, path, nullptr, nullptr,
                                                    nullptr, INTERNET_FLAG_RELOAD, 0)
                                 : nullptr;
  if (request && HttpSendRequestA(request, nullptr, 0, const_cast<char*>(body.data()),
                                  static_cast<DWORD>(body.size()))) {
    answer.clear();
    char buffer[1024];
    DWORD got = 0;
    for (int i = 0; i < 1000 && InternetReadFile(request, buffer, sizeof buffer, &got) && got; ++i)
      answer.append(buffer, got);
  }
  if (request) InternetCloseHandle(request);
  if (connection) InternetCloseHandle(connection);
  if (session) InternetCloseHandle(session);
  return answer;
}

struct Computer {
  std::string mirror;
  std::string table;  // this computer's table file while another one runs; empty: none yet
};

// Answers the choice dialog that opens over `progress` with `button`; the label it named.
std::string AnswerChoice(HWND progress, int name_label, int button) {
  HWND choice = nullptr;
  for (int i = 0; i < 12 && !choice; ++i)
    choice = WaitForDialog(kChoiceTitle, progress);
  if (!choice) {
    ADD_FAILURE() << "no question over " << DescribeDialog(progress);
    return "";
  }
  const std::string name = TextOf(choice, name_label);
  Click(choice, button);
  return name;
}

class TwoComputersTest : public DllTest {
 protected:
  void SetUp() override {
    DllTest::SetUp();
    if (HasFatalFailure()) return;
    const char* port = std::getenv("QBRK_EMULATOR_PORT");
    const char* data = std::getenv("QBRK_EMULATOR_DATA");
    if (!port || !data) GTEST_SKIP() << "no emulator beside this test";
    ASSERT_TRUE(host_.ready());
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    root_ = std::string(temp) + "qbrk_two_computers_" + std::to_string(GetCurrentProcessId());
    first_.mirror = root_ + "\\first";
    second_.mirror = root_ + "\\second";
    CreateDirectoryA(root_.c_str(), nullptr);
    CreateDirectoryA(first_.mirror.c_str(), nullptr);
    CreateDirectoryA(second_.mirror.c_str(), nullptr);
    disk_ = std::string(data) + "\\accounts\\" + kUser;
    ASSERT_TRUE(SetSettingString("Domain", "127.0.0.1"));
    ASSERT_TRUE(SetSettingDword("Port", static_cast<DWORD>(std::atoi(port))));
    ASSERT_TRUE(SetSettingDword("PutLog", 0));
    ASSERT_TRUE(SetSettingDword("SyncNotify", 0));
    ASSERT_TRUE(SetSettingDword("FinishClose", 0));
    ASSERT_TRUE(SetSettingDword("PutUnit", kUploadUnit));
    ASSERT_TRUE(WriteCredentials(kUser, kPassword));
    synchronize_ = Export<Command>("qbrkSynchronize");
  }
  void TearDown() override {
    if (!root_.empty()) DeleteTree(root_);
    DllTest::TearDown();
  }

  // Makes `computer` the one the library sees: its mirror folder and its record.
  void UseComputer(Computer* computer) {
    if (current_ == computer) return;
    if (current_) current_->table = ReadFile(TableFile());
    RemoveFile(TableFile());
    if (!computer->table.empty()) WriteFile(TableFile(), computer->table);
    ASSERT_TRUE(SetSettingString("Mirror", computer->mirror));
    current_ = computer;
  }

  // Runs qbrkSynchronize on `computer`; `answer` handles whatever the run asks over the
  // progress dialog. The dialog stays open at the end ("FinishClose" is off): once button 1
  // reads "閉じる" it is clicked. Expects the host to hear that the folder is in step.
  void Synchronize(Computer* computer, const std::function<void(HWND)>& answer = {}) {
    UseComputer(computer);
    EXPECT_EQ(RunDialog([&] { return synchronize_(0, nullptr); }, kProgressTitle,
                        [&](HWND progress) {
                          if (answer) answer(progress);
                          for (int i = 0; i < 450 && TextOf(progress, IDOK) != "閉じる"; ++i)
                            Sleep(100);
                          if (TextOf(progress, IDOK) != "閉じる") {
                            HWND other = WaitForDialog("", progress);
                            FAIL() << DescribeDialog(progress) << " over "
                                   << (other ? DescribeDialog(other) : "nothing");
                          }
                          Click(progress, IDOK);
                        }),
              1u);
    EXPECT_EQ(host_.Received(),
              (std::vector<std::string>{"sent 32779 1", "sent 32779 0", "posted 32780 1"}));
  }

  std::string First(const std::string& name) const { return first_.mirror + "\\" + name; }
  std::string Second(const std::string& name) const { return second_.mirror + "\\" + name; }

  HostWindow host_;
  std::string root_;
  std::string disk_;
  Computer first_;
  Computer second_;
  Computer* current_ = nullptr;
  Command synchronize_ = nullptr;
};

// The first computer's tree: Japanese names, an empty folder and a file over the upload unit.
// The folder with a file in it has an ASCII name, so that the disk check can list it.
void MakeFirstTree(const std::string& mirror) {
  WriteFile(mirror + "\\報告書.txt", "月次報告\r\n売上は前月比で一割増えました。\r\n");
  CreateDirectoryA((mirror + "\\minutes").c_str(), nullptr);
  WriteFile(mirror + "\\minutes\\議事録 11月.txt", "Agenda\r\n1. 予算\r\n");
  CreateDirectoryA((mirror + "\\空のフォルダ").c_str(), nullptr);
  WriteFile(mirror + "\\big.bin", Pattern(kUploadUnit + 4096, 1));
  WriteFile(mirror + "\\empty.txt", "");
}

TEST_F(TwoComputersTest, AFirstSynchronizationPutsTheWholeTreeOnTheServer) {
  MakeFirstTree(first_.mirror);
  Synchronize(&first_);

  // Over the upload unit: sent in ranges, and the disk holds it byte for byte.
  EXPECT_TRUE(ReadFile(disk_ + "\\big.bin") == Pattern(kUploadUnit + 4096, 1));
  const Tree local = TreeOf(first_.mirror);
  EXPECT_EQ(local.size(), 6u);
  EXPECT_EQ(DiskShape(disk_), ShapeOf(local));

  // In step now: a second run changes nothing on either side.
  Synchronize(&first_);
  EXPECT_TRUE(TreeOf(first_.mirror) == local);
  EXPECT_EQ(DiskShape(disk_), ShapeOf(local));
}

TEST_F(TwoComputersTest, AFileChangedOnBothComputersIsAskedAboutAndTheChoiceWinsOnBoth) {
  WriteFile(First("共有.txt"), "original");
  WriteFile(First("other.txt"), "untouched");
  Synchronize(&first_);
  Synchronize(&second_);
  ASSERT_EQ(ReadFile(Second("共有.txt")), "original");

  WriteFile(Second("共有.txt"), "the second computer's longer version");
  Synchronize(&second_);
  WriteFile(First("共有.txt"), "first's");

  // The first computer is asked (dialog 6003 over the progress dialog) and sends its own.
  std::string asked_about;
  Synchronize(&first_, [&](HWND progress) {
    asked_about = AnswerChoice(progress, IDC_CHOICE_CONFLICT_NAME, IDC_CHOICE_CONFLICT_UPLOAD);
  });
  EXPECT_NE(asked_about.find("共有.txt"), std::string::npos) << asked_about;
  EXPECT_EQ(ReadFile(First("共有.txt")), "first's");

  // The second computer then takes it without a question (it had not changed it since).
  Synchronize(&second_);
  EXPECT_EQ(ReadFile(Second("共有.txt")), "first's");
  EXPECT_EQ(ReadFile(Second("other.txt")), "untouched");
  EXPECT_TRUE(TreeOf(second_.mirror) == TreeOf(first_.mirror));
}

TEST_F(TwoComputersTest, ACancelInALockedUploadGivesTheLockBackAndTheNextRunFinishes) {
  for (int i = 0; i < 6; ++i)
    WriteFile(First("part" + std::to_string(i) + ".bin"), Pattern(200000, 10 + i));
  WriteFile(First("big.bin"), Pattern(2 * kUploadUnit + 100, 3));
  // The first range of the file sent in ranges, under a lock, is written but its answer held
  // back, so that the cancel lands in the middle of that upload.
  const std::string rule = "PUT /~taro@example.jp/file/big.bin delay=8000 times=1\n";
  ASSERT_NE(Control("POST", "/_emulator/faults", rule), "<failed>");
  ASSERT_NE(Control("GET", "/_emulator/faults").find("big.bin"), std::string::npos);
  UseComputer(&first_);
  EXPECT_EQ(RunDialog([&] { return synchronize_(0, nullptr); }, kProgressTitle,
                      [&](HWND progress) {
                        // The rule is gone once it has fired: the upload is under way.
                        const auto waiting = [] {
                          const std::string rules = Control("GET", "/_emulator/faults");
                          return rules == "<failed>" ||
                                 rules.find("big.bin") != std::string::npos;
                        };
                        for (int i = 0; i < 600 && waiting(); ++i)
                          Sleep(50);
                        ASSERT_FALSE(waiting());
                        ASSERT_EQ(TextOf(progress, IDOK), "中止") << DescribeDialog(progress);
                        Click(progress, IDOK);
                        EXPECT_TRUE(WaitUntilClosed(progress, 30000));
                      }),
            1u);
  // A cancelled run tells the host nothing about the folder.
  EXPECT_EQ(host_.Received(), (std::vector<std::string>{"sent 32779 1", "sent 32779 0"}));

  // The job itself ends once the held answer arrives, writing the record of what it did.
  for (int i = 0; i < 600 && !Exists(TableFile()); ++i)
    Sleep(50);
  ASSERT_TRUE(Exists(TableFile()));
  // The cancelled upload gave its lock back.
  EXPECT_EQ(Control("GET", "/_emulator/locks").find("big.bin"), std::string::npos);

  // The next run finishes the rest; a question would keep it from ever reading "閉じる".
  Synchronize(&first_);
  EXPECT_EQ(DiskShape(disk_), ShapeOf(TreeOf(first_.mirror)));
  EXPECT_TRUE(ReadFile(disk_ + "\\big.bin") == Pattern(2 * kUploadUnit + 100, 3));
}

}  // namespace
}  // namespace qbrk::test
