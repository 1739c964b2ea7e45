// The arithmetic behind the progress dialogs: when to redraw, and the texts of the rate, the
// remaining time, the copied line and the three counters. Kept apart from the window so it
// can be tested without one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sync/sync_statistics.h"

namespace qbrk {

// "--KB/秒" for no rate, "%dByte/秒" below 1 KB, else the kilobytes with two decimals read
// from the remainder in bytes as thousandths (so 1536 B/s is "1.51KB/秒", and a remainder of
// 1000 or more rounds up to the next whole kilobyte with ".00").
std::string RateText(int64_t bytes_per_second);

// "%d分%d秒", or "%d秒" under a minute; nothing when the time would be negative.
std::optional<std::string> RemainingText(uint64_t total, uint64_t transferred,
                                         int64_t bytes_per_second);

// "(%sKB 中 %sKB コピーしました。)": the total first, both rounded to the nearest kilobyte.
std::string CopiedLine(uint64_t total, uint64_t transferred);

// The three counters of a totals block; a counter whose gate exceeds 9999 keeps its old text.
// Both transfer counters are gated by the upload count alone: the dialogs always did that.
struct CounterTexts {
  std::optional<std::string> uploads;
  std::optional<std::string> downloads;
  std::optional<std::string> deletions;
};
CounterTexts CountersOf(const SyncStatistics& totals);

// What one redraw changes. The bar's range is always 0 to 100.
struct ProgressDisplay {
  int bar_position = 0;
  std::optional<std::string> remaining;  // absent: leave the label as it is
  std::string copied;
  std::string rate;
};

// The progress state of one dialog. Ticks are the system's 32-bit millisecond counter, which
// wraps after 49.7 days.
class ProgressEngine {
 public:
  // `total_at_least_one`: the synchronization dialog treats a total of 0 as 1 once progress
  // arrives, so it never divides by zero; the transfer dialog then skips its redraws instead.
  explicit ProgressEngine(bool total_at_least_one) : total_at_least_one_(total_at_least_one) {}

  // The transfer phase begins: the rate is measured from now.
  void BeginTransfer(uint32_t now);
  // The job's byte total (upload bytes + download bytes).
  void SetTotal(uint64_t total) { total_ = total; }
  // Bytes just moved. A redraw when five more percent are done or a second has passed since
  // the last one, and never twice in the same millisecond.
  std::optional<ProgressDisplay> AddProgress(uint64_t bytes, uint32_t now);
  // The job is done: the average rate over the transfer phase, an empty bar, everything
  // counted as copied.
  ProgressDisplay Finish(uint32_t now);

  uint64_t transferred() const { return transferred_; }
  uint64_t total() const { return total_; }

 private:
  void RestartIfWrapped(uint32_t now);
  ProgressDisplay Texts(int64_t rate) const;

  bool total_at_least_one_;
  uint64_t transferred_ = 0;
  uint64_t shown_ = 0;
  uint64_t total_ = 0;
  uint32_t start_tick_ = 0;
  uint32_t last_tick_ = 0;
};

}  // namespace qbrk
