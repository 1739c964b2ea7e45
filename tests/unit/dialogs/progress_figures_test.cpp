#include "dialogs/progress_figures.h"

#include <gtest/gtest.h>

#include "dialogs/progress_status.h"

namespace qbrk {
namespace {

TEST(ProgressTextTest, RateReadsTheRemainderAsThousandthsRoundedToHundredths) {
  const struct {
    int64_t rate;
    const char* text;
  } cases[] = {
      {-5, "--KB/秒"},
      {0, "--KB/秒"},
      {1, "1Byte/秒"},
      {1023, "1023Byte/秒"},
      {1024, "1.00KB/秒"},
      {1034, "1.01KB/秒"},
      {1536, "1.51KB/秒"},
      {2042, "2.00KB/秒"},
      {2047, "2.00KB/秒"},
      {1024 + 994, "1.99KB/秒"},
      // Remainders of 995 to 999 round to 100 hundredths, which show as .99.
      {1024 + 995, "1.99KB/秒"},
      {1024 + 999, "1.99KB/秒"},
      {1000 * 1024 + 4, "1000.00KB/秒"},
      {1000 * 1024 + 5, "1000.01KB/秒"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(RateText(c.rate), c.text) << c.rate;
}

TEST(ProgressTextTest, RemainingTimeInMinutesAndSeconds) {
  EXPECT_EQ(RemainingText(1000, 0, 10), "1分40秒");
  EXPECT_EQ(RemainingText(1000, 500, 10), "50秒");
  EXPECT_EQ(RemainingText(1200, 0, 10), "2分0秒");
  EXPECT_EQ(RemainingText(1000, 999, 10), "0秒");
  // No rate: nothing left to estimate.
  EXPECT_EQ(RemainingText(1000, 0, 0), "0秒");
  // More moved than planned: the label keeps its old text.
  EXPECT_EQ(RemainingText(1000, 2000, 10), std::nullopt);
}

TEST(ProgressTextTest, CopiedLineRoundsToTheNearestKilobyteTotalFirst) {
  EXPECT_EQ(CopiedLine(0, 0), "(0KB 中 0KB コピーしました。)");
  EXPECT_EQ(CopiedLine(2048, 511), "(2KB 中 0KB コピーしました。)");
  EXPECT_EQ(CopiedLine(2048, 512), "(2KB 中 1KB コピーしました。)");
  EXPECT_EQ(CopiedLine(5ull << 32, 1535), "(20971520KB 中 1KB コピーしました。)");
}

TEST(ProgressTextTest, CountersSumTheirKindsBehindTheGate) {
  SyncStatistics totals;
  totals.localFileDeletes = 1;     // c0
  totals.serverFileDeletes = 2;    // c1
  totals.localFolderDeletes = 3;   // c2
  totals.serverFolderDeletes = 4;  // c3
  totals.localFolderCreates = 5;   // c4
  totals.serverFolderCreates = 6;  // c5
  totals.uploads = 7;              // c6
  totals.downloads = 8;            // c7
  CounterTexts texts = CountersOf(totals);
  EXPECT_EQ(texts.uploads, "13");
  EXPECT_EQ(texts.downloads, "13");
  EXPECT_EQ(texts.deletions, "10");

  totals.uploads = 9999;
  texts = CountersOf(totals);
  EXPECT_EQ(texts.uploads, "10005");  // the gate is the upload count, not the sum
  EXPECT_EQ(texts.downloads, "13");

  // An upload count of 10000 freezes both transfer counters, even the download one.
  totals.uploads = 10000;
  texts = CountersOf(totals);
  EXPECT_EQ(texts.uploads, std::nullopt);
  EXPECT_EQ(texts.downloads, std::nullopt);
  EXPECT_EQ(texts.deletions, "10");

  totals.localFileDeletes = 9999 - 9;
  EXPECT_EQ(CountersOf(totals).deletions, "9999");
  totals.localFileDeletes = 10000 - 9;
  EXPECT_EQ(CountersOf(totals).deletions, std::nullopt);
}

TEST(ProgressEngineTest, RedrawsAtFivePercentOrAfterASecond) {
  ProgressEngine engine(true);
  engine.SetTotal(1000);
  engine.BeginTransfer(10000);
  EXPECT_EQ(engine.AddProgress(49, 10100), std::nullopt);  // 4.9 %, 100 ms
  auto display = engine.AddProgress(1, 10200);             // 5 %
  ASSERT_TRUE(display);
  EXPECT_EQ(display->bar_position, 5);
  EXPECT_EQ(display->rate, "250Byte/秒");  // 50 bytes in 200 ms
  EXPECT_EQ(display->remaining, "3秒");    // 950 bytes at 250 B/s
  EXPECT_EQ(display->copied, "(1KB 中 0KB コピーしました。)");
  // Less than five percent more: a redraw only once a second has passed.
  EXPECT_EQ(engine.AddProgress(10, 11199), std::nullopt);
  display = engine.AddProgress(10, 11200);
  ASSERT_TRUE(display);
  EXPECT_EQ(display->bar_position, 7);
  EXPECT_EQ(engine.transferred(), 70u);
}

TEST(ProgressEngineTest, NeverRedrawsTwiceInOneMillisecond) {
  ProgressEngine engine(true);
  engine.SetTotal(100);
  engine.BeginTransfer(500);
  ASSERT_TRUE(engine.AddProgress(50, 600));
  EXPECT_EQ(engine.AddProgress(50, 600), std::nullopt);
  EXPECT_EQ(engine.transferred(), 100u);
}

TEST(ProgressEngineTest, AWrappedTickCounterRestartsTheMeasurement) {
  ProgressEngine engine(true);
  engine.SetTotal(1000);
  engine.BeginTransfer(0xFFFFFF00u);
  // The counter wrapped: the measurement restarts at the new tick and this call does not draw.
  EXPECT_EQ(engine.AddProgress(100, 50), std::nullopt);
  const auto display = engine.AddProgress(100, 250);
  ASSERT_TRUE(display);
  EXPECT_EQ(display->rate, "1000Byte/秒");  // 200 bytes over the 200 ms since the restart
  EXPECT_EQ(display->bar_position, 20);
}

TEST(ProgressEngineTest, ATotalOfZero) {
  // The synchronization dialog counts it as one byte and divides by that.
  ProgressEngine sync(true);
  sync.BeginTransfer(100);
  const auto shown = sync.AddProgress(0, 1200);
  ASSERT_TRUE(shown);
  EXPECT_EQ(sync.total(), 1u);
  EXPECT_EQ(shown->bar_position, 0);
  // The transfer dialog skips the redraw instead.
  ProgressEngine transfer(false);
  transfer.BeginTransfer(100);
  EXPECT_EQ(transfer.AddProgress(10, 1200), std::nullopt);
  EXPECT_EQ(transfer.total(), 0u);
  const ProgressDisplay end = transfer.Finish(1300);
  EXPECT_EQ(end.copied, "(0KB 中 0KB コピーしました。)");
}

TEST(ProgressEngineTest, TheFinalFormShowsTheAverageAndAnEmptyBar) {
  ProgressEngine engine(true);
  engine.SetTotal(3072);
  engine.BeginTransfer(1000);
  ASSERT_TRUE(engine.AddProgress(1024, 2000));
  const ProgressDisplay end = engine.Finish(2500);
  EXPECT_EQ(end.bar_position, 0);
  EXPECT_EQ(end.rate, "3.00KB/秒");  // the whole total over the measured second
  EXPECT_EQ(end.remaining, "0秒");
  EXPECT_EQ(end.copied, "(3KB 中 3KB コピーしました。)");
  EXPECT_EQ(engine.transferred(), 3072u);
}

TEST(ProgressEngineTest, WithoutProgressTheEndShowsNoRate) {
  ProgressEngine engine(true);
  engine.SetTotal(4096);
  engine.BeginTransfer(1000);
  const ProgressDisplay end = engine.Finish(9000);
  EXPECT_EQ(end.rate, "--KB/秒");
  EXPECT_EQ(end.remaining, "0秒");
  EXPECT_EQ(end.copied, "(4KB 中 4KB コピーしました。)");
}

TEST(ProgressStatusTest, EachDialogHasItsOwnCollectingAndTransferringLines) {
  EXPECT_EQ(StatusStringId(ProgressKind::kSynchronize, 0), 143u);
  EXPECT_EQ(StatusStringId(ProgressKind::kSynchronize, 1), 144u);
  EXPECT_EQ(StatusStringId(ProgressKind::kSynchronize, 2), 145u);
  EXPECT_EQ(StatusStringId(ProgressKind::kSynchronize, 3), 146u);
  EXPECT_EQ(StatusStringId(ProgressKind::kTransfer, 2), 167u);
  EXPECT_EQ(StatusStringId(ProgressKind::kTransfer, 3), 173u);
  EXPECT_EQ(StatusStringId(ProgressKind::kTransfer, 7), 143u);
}

}  // namespace
}  // namespace qbrk
