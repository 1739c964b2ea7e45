// Names on the real file system: hostile server names never reach the disk (no device is
// opened, nothing is written outside the mirror folder), double-byte names whose trail byte
// is "\" or "|" travel both ways, and a local name outside code page 932 is left out.
#include <windows.h>

#include <algorithm>

#include "diag/error_log.h"
#include "sync_fixture.h"

namespace qbrk::test {
namespace {

using WineSyncNamesTest = WineSyncScenario;

// The names of a folder as FindFirstFileA reports them.
std::set<std::string> NamesIn(const std::string& folder) {
  Tree tree;
  ReadTree(folder + "\\", "", &tree);
  std::set<std::string> names;
  for (const auto& [path, content] : tree) {
    if (std::count(path.begin(), path.end(), '/') <= (path.back() == '/' ? 1 : 0))
      names.insert(path);
  }
  return names;
}

// Creates a file through the wide calls. Under Wine the name is stored in UTF-8 on the Unix
// side, so this is the file a Linux program would leave in the folder's Unix path.
void WideFile(const std::wstring& path, const std::string& content) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD written = 0;
  WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
  CloseHandle(file);
  ASSERT_EQ(written, content.size());
}

std::wstring WideOf(const std::string& ascii) {
  return std::wstring(ascii.begin(), ascii.end());
}

// "smile" and U+1F600, a character outside code page 932 (a surrogate pair in UTF-16).
const std::wstring kSmile = L"smile\U0001F600.txt";
// Wine's ANSI calls give each half of the pair as a "?".
constexpr char kSmileAsReported[] = "smile??.txt";

TEST_F(WineSyncNamesTest, HostileServerNamesAreLeftOutAndDoubleByteNamesTravelBothWays) {
  StartLog();
  const std::vector<std::string> hostile = {
      "a:b.txt", "star*.txt", "q?.txt",  "lt<.txt", "gt>.txt", "pipe|.txt", "quote\".txt",
      "trail.",  "trail ",    "con.txt", "nul",     "aux",     "com1",      "lpt9"};
  for (const std::string& name : hostile)
    ASSERT_EQ(DiskRequest("PUT", PercentEscaped(name), "hostile").status, 201u) << name;
  ASSERT_EQ(DiskRequest("MKCOL", "con/").status, 201u);
  ASSERT_EQ(DiskRequest("PUT", "con/inside.txt", "inside a device").status, 201u);
  // Trail bytes 0x5C and 0x7C: "ソ" "表" "能" "十" and "ポ". From the server: ソ.txt and
  // 表/ポ.txt; from here: 能.txt and 十ソ/ポ (a file without an extension).
  ASSERT_EQ(DiskRequest("PUT", PercentEscaped("\x83\x5C.txt"), "so").status, 201u);
  ASSERT_EQ(DiskRequest("MKCOL", PercentEscaped("\x95\x5C/")).status, 201u);
  ASSERT_EQ(DiskRequest("PUT", PercentEscaped("\x95\x5C/\x83\x7C.txt"), "po").status, 201u);
  LocalFile("\x94\x5C.txt", "no");
  LocalFile("\x8F\x5C\x83\x5C/\x83\x7C", "jyuuso po");
  const std::set<std::string> beside_mirror = NamesIn(temp_.substr(0, temp_.size() - 1));

  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.downloads, 2u);
  EXPECT_EQ(stats_.uploads, 2u);
  const Tree good = {
      {"\x83\x5C.txt", "so"}, {"\x8F\x5C\x83\x5C/", ""}, {"\x8F\x5C\x83\x5C/\x83\x7C", "jyuuso po"},
      {"\x94\x5C.txt", "no"}, {"\x95\x5C/", ""},         {"\x95\x5C/\x83\x7C.txt", "po"}};
  EXPECT_EQ(LocalTree(), good);
  // Nothing appeared beside the mirror folder but the log this run started.
  std::set<std::string> now_beside = NamesIn(temp_.substr(0, temp_.size() - 1));
  now_beside.erase("HVQbrook00.log");
  EXPECT_EQ(now_beside, beside_mirror);
  // No hostile member was asked for: the only GETs are the two downloads.
  std::vector<std::string> gets;
  for (const std::string& request : requests())
    if (request.compare(0, 4, "GET ") == 0) gets.push_back(request.substr(4));
  std::sort(gets.begin(), gets.end());
  EXPECT_EQ(gets, (std::vector<std::string>{std::string(kRoot) + "\x83\x5C.txt",
                                            std::string(kRoot) + "\x95\x5C/\x83\x7C.txt"}));
  std::vector<std::string> logged;
  for (const std::string& name : hostile)
    logged.push_back(kRoot + QuoteLoggedPath(name));
  logged.push_back(std::string(kRoot) + "con");
  std::sort(logged.begin(), logged.end());
  EXPECT_EQ(SkippedPaths(), logged);

  // The disk holds every name byte for byte, the uploads with their content.
  std::set<std::string> on_disk = {"con/", "con/inside.txt"};
  for (const std::string& name : hostile)
    on_disk.insert(name);
  for (const auto& [path, content] : good)
    on_disk.insert(path);
  EXPECT_EQ(ServerPaths(), on_disk);
  EXPECT_EQ(DiskRequest("GET", PercentEscaped("\x94\x5C.txt")).body, "no");
  EXPECT_EQ(DiskRequest("GET", PercentEscaped("\x8F\x5C\x83\x5C/\x83\x7C")).body, "jyuuso po");
  EXPECT_EQ(RecordTree(),
            "\x83\x5C.txt 2\n\x8F\x5C\x83\x5C/\n\x8F\x5C\x83\x5C/\x83\x7C 9\n\x94\x5C.txt 2\n"
            "\x95\x5C/\n\x95\x5C/\x83\x7C.txt 2\n");

  EXPECT_FALSE(HasWork());
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.downloads + stats_.uploads, 0u);
  EXPECT_EQ(LocalTree(), good);
}

TEST_F(WineSyncNamesTest, ALocalNameOutsideTheCodePageIsLeftOut) {
  StartLog();
  LocalFile("fine.txt", "fine");
  WideFile(WideOf(mirror_) + L"\\" + kSmile, "cannot be named in code page 932");
  // The reported name opens nothing (though FindFirstFileA, reading "?" as a wildcard,
  // finds the file by it).
  ASSERT_EQ(GetFileAttributesA(Mirror(kSmileAsReported).c_str()), INVALID_FILE_ATTRIBUTES);
  ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_NAME));

  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.uploads, 1u);
  EXPECT_EQ(DiskTree(), (Tree{{"fine.txt", "fine"}}));
  EXPECT_EQ(SkippedPaths(), std::vector<std::string>{Mirror(kSmileAsReported)});
  for (const std::string& request : requests())
    EXPECT_EQ(request.find("smile"), std::string::npos) << request;
  EXPECT_EQ(RecordTree(), "fine.txt 4\n");
  EXPECT_FALSE(HasWork());
}

TEST_F(WineSyncNamesTest, AFolderDeletedOnTheServerStaysWhileItHoldsANameOutsideTheCodePage) {
  LocalFile("old/a.txt", "a");
  ASSERT_EQ(Sync(), 0u);
  WideFile(WideOf(Mirror("old")) + L"\\" + kSmile, "never synchronized");
  ASSERT_EQ(DiskRequest("DELETE", "old/").status, 204u);

  // What the run can reach goes; the file whose name opens nothing keeps the folder (the
  // tree shows it without content, for the same reason).
  prompt_.Expect(ChoiceQuestion::kDeletedOnServer, "old", answer::kDeleteLocally);
  ASSERT_EQ(Sync(), 0u);
  const Tree kept = {{"old/", ""}, {std::string("old/") + kSmileAsReported, ""}};
  EXPECT_EQ(LocalTree(), kept);
  EXPECT_EQ(DiskTree(), Tree{});
  EXPECT_EQ(RecordTree(), "old/\n");
  // Still recorded, the folder comes up again; uploading it again puts both sides in step.
  prompt_.Expect(ChoiceQuestion::kDeletedOnServer, "old", answer::kUploadAgain);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalTree(), kept);
  EXPECT_EQ(DiskTree(), (Tree{{"old/", ""}}));
  EXPECT_FALSE(HasWork());
}

}  // namespace
}  // namespace qbrk::test
