// The first synchronization of a mirror folder and a disk, and the runs after it: new files
// and folders both ways, Japanese names, files on both sides of the upload unit, and the
// record that makes the next run find nothing to do.
#include "scenario.h"

namespace qbrk::testing {
namespace {

// "ソ" "表" "能" "十" end in the byte 0x5C, which is a backslash on its own.
const std::string kSo = "\x83\x5C";
const std::string kHyo = "\x95\x5C";
const std::string kNou = "\x94\x5C";
const std::string kJu = "\x8F\x5C";

class FirstSyncTest : public SyncScenario {};

TEST_P(FirstSyncTest, NewOnEachSideMeetsInTheMiddle) {
  LocalFile("Report.TXT", "local report");
  LocalFile(kSo + kHyo + "/" + kNou + ".txt", "sjis");
  LocalFolder("empty-local");
  LocalFile("big.bin", std::string(2500, 'b'));  // three ranges of the 1000-byte unit
  LocalFile("zero.txt", "");
  ServerFile("from-server/" + kJu + ".txt", "server file", kBaseSeconds - 3600);
  server().MakeFolder("empty-server");

  ASSERT_EQ(Sync(), 0u) << error_name_;
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(stats_.uploads, 4u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_EQ(stats_.serverFolderCreates, 2u);
  EXPECT_EQ(stats_.localFolderCreates, 2u);
  EXPECT_EQ(stats_.uploadBytes, 12u + 4 + 2500 + 0);

  const std::string big = ServerTreeText().substr(0, ServerTreeText().find('\n'));
  EXPECT_EQ(big.substr(0, 19), "big.bin=<2500 bytes");
  EXPECT_EQ(ServerTreeText(),
            big + "\n" +  //
                "empty-local/\n"
                "empty-server/\n"
                "from-server/\n"
                "from-server/" + kJu + ".txt=server file\n"
                "report.txt=local report\n"
                "zero.txt=\n" +
                kSo + kHyo + "/\n" + kSo + kHyo + "/" + kNou + ".txt=sjis\n");
  EXPECT_EQ(LocalContent("from-server/" + kJu + ".txt"), "server file");
  // The download carries the server's time; the upload the local one, in whole seconds.
  EXPECT_EQ(LocalFind("from-server/" + kJu + ".txt").last_write_time,
            FileTimeOf(kBaseSeconds - 3600));
  EXPECT_EQ(server().Tree()["report.txt"].modified, kBaseSeconds);
  EXPECT_EQ(RecordTree(),
            "big.bin 2500\nempty-local/\nempty-server/\nfrom-server/\nfrom-server/" + kJu +
                ".txt 11\nreport.txt 12\nzero.txt 0\n" + kSo + kHyo + "/\n" + kSo + kHyo + "/" +
                kNou + ".txt 4\n");
  ExpectInStep();
}

TEST_P(FirstSyncTest, UploadTimeIsCutToWholeSecondsOnTheServerOnly) {
  LocalFile("noon.txt", "x", FileTimeOf(kBaseSeconds) + 7 * kSecond / 10);
  ASSERT_EQ(Sync(), 0u);
  const FileRecord record = RecordOf("noon.txt");
  ASSERT_TRUE(record);
  EXPECT_EQ(record.server_time(), FileTimeOf(kBaseSeconds));
  EXPECT_EQ(record.local_time(), FileTimeOf(kBaseSeconds) + 7 * kSecond / 10);
  EXPECT_EQ(record.attributes(), 128u);
  ExpectInStep();
}

TEST_P(FirstSyncTest, AHundredNanosecondsOrOneByteIsAChange) {
  LocalFile("a.txt", "one");
  LocalFile("b.txt", "two");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_FALSE(HasWork());
  LocalFile("a.txt", "one", FileTimeOf(kBaseSeconds) + 1);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.uploads, 1u);
  ServerFile("b.txt", "twO", kBaseSeconds);  // same time, same size, other bytes: unseen
  ServerFile("c.txt", "new", kBaseSeconds);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_EQ(LocalContent("b.txt"), "two");
  ServerFile("b.txt", "two!", kBaseSeconds);  // one byte longer
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalContent("b.txt"), "two!");
  ExpectInStep();
}

TEST_P(FirstSyncTest, DotNamesAndExcludedExtensionsStayOnTheirSide) {
  LocalFile(".hidden", "h");
  LocalFile("temp.$$$", "t");
  LocalFile("old.$$$/inside.txt", "i");
  LocalFile(".git/config", "c");
  LocalFile("kept.txt", "k");
  ServerFile(".server-dot", "s");
  ServerFile("server.$$$", "s");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(), ".server-dot=s\nkept.txt=k\nserver.$$$=s\n");
  EXPECT_EQ(LocalContent(".server-dot"), "<missing>");
  EXPECT_EQ(RecordTree(), "kept.txt 1\n");
  EXPECT_FALSE(HasWork());
}

QBRK_SCENARIOS_ON_EVERY_SERVER(FirstSyncTest);

}  // namespace
}  // namespace qbrk::testing
