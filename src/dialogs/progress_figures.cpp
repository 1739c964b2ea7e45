#include "dialogs/progress_figures.h"

#include <cinttypes>
#include <cstdio>

namespace qbrk {

namespace {

constexpr uint32_t kCounterLimit = 9999;
constexpr int64_t kRedrawStepPercent = 5;
constexpr uint32_t kRedrawIntervalMs = 1000;

// Byte counts far beyond any disk stay modular rather than undefined.
int64_t Signed(uint64_t value) {
  return static_cast<int64_t>(value);
}

}  // namespace

std::string RateText(int64_t rate) {
  if (rate <= 0) return "--KB/秒";
  char text[64];
  if (rate < 1024) {
    std::snprintf(text, sizeof text, "%" PRId64 "Byte/秒", rate);
    return text;
  }
  const int64_t remainder = rate % 1024;
  int64_t whole = rate / 1024;
  int64_t first = 0;
  int64_t second = 0;
  if (remainder < 1000) {
    const int64_t hundredths = (remainder + 5) / 10;
    first = hundredths < 100 ? hundredths / 10 : 9;
    second = hundredths < 100 ? hundredths % 10 : 9;
  } else {
    whole = (rate + 24) / 1024;
  }
  std::snprintf(text, sizeof text, "%" PRId64 ".%" PRId64 "%" PRId64 "KB/秒", whole, first, second);
  return text;
}

std::optional<std::string> RemainingText(uint64_t total, uint64_t transferred, int64_t rate) {
  const int64_t remaining = rate > 0 ? Signed(total - transferred) / rate : 0;
  if (remaining < 0) return std::nullopt;
  const int64_t minutes = remaining / 60;
  const int64_t seconds = remaining % 60;
  char text[64];
  if (minutes != 0)
    std::snprintf(text, sizeof text, "%" PRId64 "分%" PRId64 "秒", minutes, seconds);
  else
    std::snprintf(text, sizeof text, "%" PRId64 "秒", seconds);
  return std::string(text);
}

std::string CopiedLine(uint64_t total, uint64_t transferred) {
  char text[96];
  std::snprintf(text, sizeof text, "(%" PRIu64 "KB 中 %" PRIu64 "KB コピーしました。)",
                (total + 512) / 1024, (transferred + 512) / 1024);
  return text;
}

CounterTexts CountersOf(const SyncStatistics& totals) {
  // c0..c7 in the order the record keeps them.
  const uint32_t c[8] = {totals.localFileDeletes,
                         totals.serverFileDeletes,
                         totals.localFolderDeletes,
                         totals.serverFolderDeletes,
                         totals.localFolderCreates,
                         totals.serverFolderCreates,
                         totals.uploads,
                         totals.downloads};
  CounterTexts texts;
  if (c[6] <= kCounterLimit) {
    texts.uploads = std::to_string(c[5] + c[6]);
    texts.downloads = std::to_string(c[7] + c[4]);
  }
  const uint32_t deletions = c[0] + c[1] + c[2] + c[3];
  if (deletions <= kCounterLimit) texts.deletions = std::to_string(deletions);
  return texts;
}

void ProgressEngine::BeginTransfer(uint32_t now) {
  start_tick_ = last_tick_ = now;
}

void ProgressEngine::RestartIfWrapped(uint32_t now) {
  if (now < last_tick_) start_tick_ = last_tick_ = now;
}

std::optional<ProgressDisplay> ProgressEngine::AddProgress(uint64_t bytes, uint32_t now) {
  transferred_ += bytes;
  RestartIfWrapped(now);
  if (total_at_least_one_ && total_ == 0) total_ = 1;
  if (now == last_tick_) return std::nullopt;
  const int64_t step = total_ == 0 ? 0 : Signed((transferred_ - shown_) * 100) / Signed(total_);
  if (step < kRedrawStepPercent && now - last_tick_ < kRedrawIntervalMs) return std::nullopt;
  last_tick_ = now;
  shown_ = transferred_;
  const uint32_t elapsed = last_tick_ - start_tick_;
  const int64_t rate = elapsed == 0 ? 0 : Signed(transferred_ * 1000) / elapsed;
  if (total_ == 0) return std::nullopt;
  ProgressDisplay display = Texts(rate);
  display.bar_position = static_cast<int>(transferred_ * 100 / total_);
  return display;
}

ProgressDisplay ProgressEngine::Finish(uint32_t now) {
  RestartIfWrapped(now);
  const uint32_t elapsed = last_tick_ - start_tick_;
  const int64_t rate = elapsed == 0 ? 0 : Signed(total_ * 1000) / elapsed;
  transferred_ = total_;
  ProgressDisplay display = Texts(rate);
  display.bar_position = 0;
  return display;
}

ProgressDisplay ProgressEngine::Texts(int64_t rate) const {
  ProgressDisplay display;
  display.remaining = RemainingText(total_, transferred_, rate);
  display.copied = CopiedLine(total_, transferred_);
  display.rate = RateText(rate);
  return display;
}

}  // namespace qbrk
