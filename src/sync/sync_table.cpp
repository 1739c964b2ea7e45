#include "sync/sync_table.h"

#include <new>

#include "common/mbcs.h"
#include "settings/settings.h"

namespace qbrk {

namespace {
// The exclusion list is read into a 64-byte buffer.
constexpr size_t kSuffixBuffer = 64;
}  // namespace

SyncTable::SyncTable(Env& env, ServerSession* connection)
    : env_(env), connection_(connection) {
  Settings settings(env.registry);
  suffixes_ = LowerAscii(settings.ReadSuffix(kSuffixBuffer));
}

SyncTable::~SyncTable() = default;

void SyncTable::ReplaceRoot(std::unique_ptr<FolderNode> root) { root_ = std::move(root); }

FolderNode* SyncTable::EnsureRoot() {
  if (!root_) root_.reset(new (std::nothrow) FolderNode());
  return root_.get();
}

bool SyncTable::IsExcludedSuffix(std::string_view name) const {
  const size_t dot = FindLastSingleByte(name, '.');
  if (dot == std::string_view::npos) return false;
  const std::string_view extension = name.substr(dot + 1);
  // A needle longer than the list is never in it (and most extensions are not): the scans
  // ask for every name, so the needle is built only when it could match, in reused storage.
  if (extension.size() + 2 > suffixes_.size()) return false;
  needle_.assign(1, '"');
  needle_.append(extension);
  LowerAsciiInPlace(&needle_);
  needle_ += '"';
  // The needle starts with a quote, which is never a trail byte, so a plain search cannot
  // match inside a double-byte character.
  return suffixes_.find(needle_) != std::string::npos;
}

uint32_t SyncTable::AddSight(const LocalSight& sight) {
  if (sights_.empty()) sights_.push_back({});  // index 0 means "nothing kept"
  sights_.push_back(sight);
  return static_cast<uint32_t>(sights_.size() - 1);
}

const LocalSight* SyncTable::sight(uint32_t index) const {
  return index != 0 && index < sights_.size() ? &sights_[index] : nullptr;
}

}  // namespace qbrk
