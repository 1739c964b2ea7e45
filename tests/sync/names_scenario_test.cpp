// Names that must never reach the local disk: a server listing is untrusted input. Names
// whose trail byte is a backslash or a bar are ordinary; names that only case tells apart
// cannot both be local files; a local name the code page cannot hold is left out.
#include "diag/error_log.h"
#include "scenario.h"

namespace qbrk::testing {
namespace {

constexpr char kLog[] = "C:\\TEMP\\HVQbrook00.log";

class NamesScenarioTest : public SyncScenario {
 protected:
  NamesScenarioTest() {
    SetLoggingLevel(5);
    files_.WriteWholeFile(kLog, "");  // as a job's rotation leaves it
  }
  ~NamesScenarioTest() override { SetLoggingLevel(0); }

  std::vector<std::string> SkippedPaths() {
    std::string log;
    files_.ReadWholeFile(kLog, &log);
    std::vector<std::string> paths;
    const std::string mark = "\" \"SKIPPED\" \"";
    for (size_t at = log.find(mark); at != std::string::npos; at = log.find(mark, at + 1)) {
      const size_t start = at + mark.size();
      paths.push_back(log.substr(start, log.find("\"\r\n", start) - start));
    }
    return paths;
  }
};

TEST_P(NamesScenarioTest, HostileServerNamesAreLeftOutLoggedAndNeverPlanned) {
  const std::vector<std::string> hostile = {
      "con.txt", "nul", "aux.tar.gz", "com1.log", "lpt9",     "prn .txt",  "a:b.txt",
      "star*.txt", "q?.txt", "quote\".txt", "lt<.txt", "gt>.txt", "pipe|.txt", "back\\slash.txt",
      "trail.", "trail "};
  for (const std::string& name : hostile) ServerFile(name, "hostile");
  ServerFile("con/inside.txt", "hostile folder");  // a folder with its whole content
  // Ordinary names whose second byte is 0x5C or 0x7C: "ソ" "表" "能" "十" "ポ".
  const std::vector<std::string> fine = {"\x83\x5C", "\x95\x5C.txt", "\x94\x5C", "\x8F\x5C.doc",
                                         "\x83\x7C.txt", std::string(240, 'm')};
  for (const std::string& name : fine) ServerFile(name, "fine");

  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.downloads, fine.size());
  std::string expected;
  for (const std::string& name : fine) EXPECT_EQ(LocalContent(name), "fine") << name;
  EXPECT_EQ(files_.List(kMirror).size(), fine.size());

  std::vector<std::string> logged = SkippedPaths();
  std::sort(logged.begin(), logged.end());
  std::vector<std::string> wanted;
  for (const std::string& name : hostile) wanted.push_back(kDiskRoot + QuoteLoggedPath(name));
  wanted.push_back(std::string(kDiskRoot) + "con");
  std::sort(wanted.begin(), wanted.end());
  EXPECT_EQ(logged, wanted);

  // Nothing is ever planned for them: not now, not after the others are in step.
  EXPECT_FALSE(HasWork());
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.downloads + stats_.uploads + stats_.localFileDeletes + stats_.serverFileDeletes,
            0u);
  EXPECT_EQ(server().Tree().size(), hostile.size() + 2 + fine.size());
}

TEST_P(NamesScenarioTest, NamesOnlyCaseTellsApartStayWhereTheyAre) {
  const std::string upper = "\x82\x60.txt";  // full-width "Ａ"
  const std::string lower = "\x82\x81.txt";  // full-width "ａ"
  LocalFile(upper, "synchronized before");
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(ServerTreeText(), upper + "=synchronized before\n");
  // Another computer adds the same name in the other case; this one edits its file.
  ServerFile(lower, "from elsewhere");
  LocalFile(upper, "edited here", FileTimeOf(kBaseSeconds + 60));
  ASSERT_EQ(Sync(), 0u);
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(LocalContent(upper), "edited here");
  EXPECT_EQ(ServerTreeText(), upper + "=synchronized before\n" + lower + "=from elsewhere\n");
  EXPECT_EQ(SkippedPaths().size(), 2u);
  EXPECT_FALSE(HasWork());
  // Once the other name is gone, the edit travels.
  server().Remove(lower);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(), upper + "=edited here\n");
  ExpectInStep();
}

TEST_P(NamesScenarioTest, NamesNewOnEachSideThatOnlyCaseTellsApartStayApart) {
  const std::string upper = "\x82\x60.txt";
  const std::string lower = "\x82\x81.txt";
  LocalFile(upper, "mine");
  ServerFile(lower, "theirs");
  // Found by the simulation (seed 1184): two new folders, "Ａポ" here and "ａポ" there. Made
  // on the server, the local one would have joined its twin; made locally, the server's
  // would have landed in the local one.
  LocalFolder("\x82\x60\x83\x7C");
  server().MakeFolder("\x82\x81\x83\x7C");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalTree(), upper + "=mine\n\x82\x60\x83\x7C/\n");
  EXPECT_EQ(ServerTreeText(), lower + "=theirs\n\x82\x81\x83\x7C/\n");
  EXPECT_EQ(SkippedPaths().size(), 4u);
  EXPECT_EQ(RecordTree(), "");
  EXPECT_FALSE(HasWork());
}

TEST_P(NamesScenarioTest, ALocalNameTheCodePageCannotHoldIsLeftOut) {
  LocalFile("fine.txt", "fine");
  ASSERT_TRUE(files_.AddUnrepresentableFile(kMirror, "smile?.txt", "cannot be opened"));
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(), "fine.txt=fine\n");
  EXPECT_EQ(SkippedPaths(), std::vector<std::string>{std::string(kMirror) + "\\smile?.txt"});
  EXPECT_FALSE(HasWork());
}

TEST_P(NamesScenarioTest, AFolderDeletedOnTheServerStaysWhileItHoldsANameTheCodePageCannotHold) {
  LocalFile("old/a.txt", "a");
  ASSERT_EQ(Sync(), 0u);
  ASSERT_TRUE(files_.AddUnrepresentableFile(LocalPath("old"), "smile?.txt", "never synchronized"));
  server().Remove("old");
  // Deleting the folder here too removes what the run can reach; the file no call can open
  // keeps it, and the run succeeds.
  prompt_.answers = {answer::kDeleteLocally};
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalContent("old/a.txt"), "<missing>");
  EXPECT_EQ(files_.List(LocalPath("old")).size(), 1u);
  EXPECT_EQ(ServerTreeText(), "");
  EXPECT_EQ(RecordTree(), "old/\n");
  // The folder is still recorded, so the next run asks again; uploading it again brings the
  // two sides in step.
  prompt_.answers = {answer::kUploadAgain};
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(), "old/\n");
  EXPECT_FALSE(HasWork());
}

TEST_P(NamesScenarioTest, LocalNamesMeetTheServerInLowerCaseAsciiOnly) {
  LocalFile("Data/ReadMe.TXT", "r");
  LocalFile("\x82\x60\x82\x61.txt", "full-width AB keeps its case");
  ServerFile("UPPER.txt", "not listed");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(),
            "UPPER.txt=not listed\ndata/\ndata/readme.txt=r\n"
            "\x82\x60\x82\x61.txt=full-width AB keeps its case\n");
  EXPECT_EQ(LocalContent("upper.txt"), "<missing>");
  EXPECT_FALSE(HasWork());
}

QBRK_SCENARIOS_ON_EVERY_SERVER(NamesScenarioTest);

}  // namespace
}  // namespace qbrk::testing
