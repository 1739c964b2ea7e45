// The two scans: which local entries take part and in which form, the depth limit and the
// codes of a failing enumeration; and the server scan's treatment of listings it must not
// trust.
#include <gtest/gtest.h>

#include <string>

#include "diag/error_log.h"
#include "protocol/protocol_test_support.h"
#include "sync/name_rules.h"
#include "sync/sync_table.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::FileProps;
using testing::Multistatus;

std::string Describe(const FolderNode& folder, const std::string& prefix = "") {
  std::string out;
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f))
    out += prefix + std::string(f->name()) + " ";
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c))
    out += prefix + c->name() + "/ " + Describe(*c, prefix + c->name() + "/");
  return out;
}

class LocalScanTest : public testing::ProtocolTest {
 protected:
  LocalScanTest() { files_.MakeDirectory("C:\\m"); }
  ResultCode Scan(SyncTable& table) { return table.ScanLocalFolder("C:\\m", ""); }
};

TEST_F(LocalScanTest, NamesAreLowerCasedInAsciiOnlyAndRulesSkipEntries) {
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\Data\\ReadMe.TXT", "r"));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\\x82\x60.txt", "full-width A stays"));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\.hidden", "dot"));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\.git\\config", "dot folder"));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\old.$$$\\inside.txt", "excluded folder"));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\x.$$$", "excluded file"));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\system.txt", "scanned like any other"));
  ASSERT_EQ(files_.SetAttributes("C:\\m\\system.txt", 0x6), 0u);
  ASSERT_EQ(files_.MakeDirectory("C:\\m\\Empty"), 0u);
  SyncTable table(env_);
  ASSERT_EQ(Scan(table), 0u);
  EXPECT_EQ(Describe(*table.root()), "system.txt \x82\x60.txt data/ data/readme.txt empty/ ");
  const FileRecord& record = table.root()->FindFile("system.txt")->record();
  EXPECT_EQ(record.attributes(), 0x6u);
  EXPECT_EQ(record.size(), 22u);
  EXPECT_EQ(record.server_time(), 0u);
  EXPECT_NE(record.local_time(), 0u);
}

TEST_F(LocalScanTest, AnEmptyMirrorIsAnEmptyRoot) {
  SyncTable table(env_);
  ASSERT_EQ(Scan(table), 0u);
  ASSERT_NE(table.root(), nullptr);
  EXPECT_TRUE(table.root()->empty());
  EXPECT_EQ(table.ScanLocalFolder("C:\\missing", ""), 500u);
  EXPECT_EQ(table.root(), nullptr);
}

TEST_F(LocalScanTest, APathLongerThanTheSystemTakesGives92) {
  // Through the ANSI calls a path holds 260 characters, which 128 levels of one-letter
  // folders already exceed: the path, not the depth limit, stops a local scan.
  std::string path = "C:\\m";
  for (int i = 0; i < 120; ++i) path += "\\d";
  ASSERT_TRUE(files_.WriteWholeFile(path + "\\f", "deep"));
  SyncTable table(env_);
  EXPECT_EQ(Scan(table), 0u);
  for (int i = 0; i < 7; ++i) path += "\\d";  // 258 characters: its search pattern is too long
  ASSERT_TRUE(files_.WriteWholeFile(path + "\\f", "x"));
  EXPECT_EQ(Scan(table), 92u);
  EXPECT_EQ(table.root(), nullptr);
}

TEST_F(LocalScanTest, EnumerationFailuresHaveTheirCodes) {
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\sub\\a.txt", "a"));
  SyncTable table(env_);
  using Op = MemoryFileSystem::Op;
  struct Case {
    SysError error;
    ResultCode code;
  };
  for (const Case& c : {Case{sys_error::kFilenameTooLong, 92}, Case{sys_error::kAccessDenied, 500}}) {
    files_.set_fault([&](Op op, const std::string& path) -> SysError {
      return op == Op::kFind && path.find("sub") != std::string::npos ? c.error : 0;
    });
    EXPECT_EQ(Scan(table), c.code) << c.error;
    EXPECT_EQ(table.root(), nullptr);
  }
  files_.set_fault(nullptr);
}

TEST_F(LocalScanTest, UnrepresentableNamesAreLeftOutAndLogged) {
  StartLog();
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\ok.txt", "ok"));
  ASSERT_TRUE(files_.AddUnrepresentableFile("C:\\m", "a?b.txt", "x"));
  SyncTable table(env_);
  ASSERT_EQ(Scan(table), 0u);
  EXPECT_EQ(Describe(*table.root()), "ok.txt ");
  EXPECT_EQ(LogText(), "\"5/Mar/2002:9:7:3 +0900\" \"SKIPPED\" \"C:\\m\\a?b.txt\"\r\n");
}

class ServerScanTest : public testing::ProtocolTest {
 protected:
  ResultCode Scan(SyncTable& table) { return table.ScanServerFolder("", ""); }
  std::string Root() const { return testing::kRoot; }
};

TEST_F(ServerScanTest, ListsEveryFolderOnceAndKeepsServerCase) {
  ServerSession& session = Session();
  http_.Script(207, "", Multistatus(DavResponse(Root(), "") + DavResponse(Root() + "a.txt", FileProps(3)) +
                                    DavResponse(Root() + "sub/", FileProps(0)) +
                                    DavResponse(Root() + "\x82\x60.txt", FileProps(1))));
  http_.Script(207, "", Multistatus(DavResponse(Root() + "sub/", "") +
                                    DavResponse(Root() + "sub/b", FileProps(1))));
  SyncTable table(env_, &session);
  ASSERT_EQ(Scan(table), 0u);
  EXPECT_EQ(Describe(*table.root()), "a.txt \x82\x60.txt sub/ sub/b ");
  EXPECT_EQ(table.root()->FindFile("a.txt")->record().server_time(), testing::kDateTime);
  EXPECT_EQ(table.root()->FindFile("a.txt")->record().local_time(), 0u);
  ASSERT_EQ(http_.requests().size(), 2u);
  EXPECT_EQ(http_.requests()[1].path, Root() + "sub/");
}

TEST_F(ServerScanTest, NamesThatCannotBeLocalNamesAreLeftOutAndLogged) {
  ServerSession& session = Session();
  StartLog();
  const std::vector<std::string> hostile = {"con.txt",  "lpt1.x",  "nul",   "a:b", "x*",
                                            "q?",       "\"q",     "<",     ">",   "|p",
                                            "a\\b",     "t.",      "t ",    "..",  "\x81\x20",
                                            std::string(260, 'n'), std::string(256, 'n')};
  std::string responses = DavResponse(Root(), "");
  for (const std::string& name : hostile) {
    std::string escaped;  // as the text of an XML element
    for (char c : name) {
      escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    responses += DavResponse(Root() + escaped, FileProps(1));
  }
  responses += DavResponse(Root() + "ok\x83\x5C", FileProps(1));        // "ソ"
  responses += DavResponse(Root() + std::string(255, 'k'), FileProps(1));  // the longest
  responses += DavResponse(Root() + "\x83\x7C", FileProps(1));           // "ポ"
  http_.Script(207, "", Multistatus(responses));
  SyncTable table(env_, &session);
  ASSERT_EQ(Scan(table), 0u);
  EXPECT_EQ(Describe(*table.root()), "ok\x83\x5C " + std::string(255, 'k') + " \x83\x7C ");
  // ".." is a dot-name, skipped like every other without a word; the rest are logged.
  const std::string log = LogText();
  size_t lines = 0;
  for (size_t at = log.find("SKIPPED"); at != std::string::npos; at = log.find("SKIPPED", at + 1))
    ++lines;
  EXPECT_EQ(lines, hostile.size() - 1);
  EXPECT_NE(log.find("\"SKIPPED\" \"" + Root() + "%22q\""), std::string::npos);
  EXPECT_EQ(table.root()->left_out().size(), hostile.size() - 1);
}

TEST_F(ServerScanTest, NamesOnlyCaseTellsApartAreAllLeftOutAndRepeatsCountOnce) {
  ServerSession& session = Session();
  const std::string upper_a = "\x82\x60", lower_a = "\x82\x81";  // full-width A and a
  const std::string upper_psi = "\x83\xB5", lower_psi = "\x83\xD5";
  http_.Script(207, "", Multistatus(DavResponse(Root(), "") +
                                    DavResponse(Root() + upper_a, FileProps(1)) +
                                    DavResponse(Root() + "same", FileProps(1)) +
                                    DavResponse(Root() + lower_a + "/", FileProps(0)) +
                                    DavResponse(Root() + "same", FileProps(2)) +
                                    DavResponse(Root() + upper_psi, FileProps(1)) +
                                    DavResponse(Root() + lower_psi + "x", FileProps(1))));
  SyncTable table(env_, &session);
  ASSERT_EQ(Scan(table), 0u);
  EXPECT_EQ(Describe(*table.root()), "same " + upper_psi + " " + lower_psi + "x ");
  EXPECT_EQ(table.root()->FindFile("same")->record().size(), 1u);
  EXPECT_EQ(table.root()->left_out(), (std::vector<std::string>{upper_a, lower_a}));
}

TEST_F(ServerScanTest, ArgumentsDepthAndListingFailures) {
  ServerSession& session = Session();
  SyncTable table(env_, &session);
  EXPECT_EQ(table.ScanServerFolder(nullptr, ""), 3u);
  EXPECT_EQ(table.ScanServerFolder("", nullptr), 3u);
  SyncTable unconnected(env_);
  EXPECT_EQ(unconnected.ScanServerFolder("", ""), 500u);
  http_.Script(404);
  EXPECT_EQ(Scan(table), 73u);
  // Folders 128 deep fail the whole scan; the nodes made so far stay for the job to drop.
  std::string path = Root();
  for (int i = 0; i < 128; ++i) {
    http_.Script(207, "", Multistatus(DavResponse(path, "") + DavResponse(path + "d/", FileProps(0))));
    path += "d/";
  }
  EXPECT_EQ(Scan(table), 500u);
  ASSERT_NE(table.root(), nullptr);
  EXPECT_EQ(http_.pending_replies(), 0u);
}

TEST(NameRulesTest, WindowsNamesAndTheirProblems) {
  EXPECT_EQ(CheckLocalName(""), NameProblem::kEmpty);
  EXPECT_EQ(CheckLocalName("."), NameProblem::kDotName);
  EXPECT_EQ(CheckLocalName("CONIN$"), NameProblem::kDeviceName);
  EXPECT_EQ(CheckLocalName("com0"), NameProblem::kNone);
  EXPECT_EQ(CheckLocalName("console"), NameProblem::kNone);
  EXPECT_EQ(CheckLocalName("aux .x"), NameProblem::kDeviceName);
  EXPECT_EQ(CheckLocalName("\x81"), NameProblem::kBadEncoding);
  EXPECT_EQ(CheckLocalName("\x81\x7F"), NameProblem::kBadEncoding);
  EXPECT_EQ(CheckLocalName("\x95\x5C"), NameProblem::kNone);  // "表"
  EXPECT_EQ(CheckLocalName("\x95\x5C."), NameProblem::kTrailingDotOrBlank);
  // 255 characters is the limit, and 259 bytes.
  std::string kanji;
  for (int i = 0; i < 129; ++i) kanji += "\x88\x9F";
  EXPECT_EQ(CheckLocalName(kanji.substr(0, 258)), NameProblem::kNone);
  EXPECT_EQ(CheckLocalName(kanji + "\x88\x9F"), NameProblem::kTooLong);
  EXPECT_EQ(CheckLocalName("c\x01"), NameProblem::kControlByte);
  EXPECT_EQ(CheckLocalName(std::string(255, 'a')), NameProblem::kNone);
  EXPECT_EQ(CheckLocalName(std::string(256, 'a')), NameProblem::kTooLong);
  EXPECT_TRUE(HasSubstitutedCharacter("a?"));
  EXPECT_FALSE(HasSubstitutedCharacter("\x83\x3F"));  // a trail byte 0x3F is no "?"
  EXPECT_EQ(LowerCaseLocalName("ABC\x82\x60Z\x83\x5A"), "abc\x82\x60z\x83\x5A");
}

}  // namespace
}  // namespace qbrk
