#include "sync/folder_node.h"

#include <cstring>
#include <new>

namespace qbrk {

namespace {

// Lists up to this size are searched directly; an index costs more than it saves there.
constexpr size_t kIndexThreshold = 16;

uint32_t CompareTimes(uint64_t mine, uint64_t theirs, uint32_t earlier, uint32_t later) {
  if (mine < theirs) return earlier;
  if (mine > theirs) return later;
  return 0;
}

uint32_t CompareSizes(const FileRecord& mine, const FileRecord& theirs) {
  // The high halves first, then the low halves, both unsigned: the record's own order.
  if (mine.size() > theirs.size()) return compare::kLarger;
  if (mine.size() < theirs.size()) return compare::kSmaller;
  return 0;
}

}  // namespace

uint64_t HashName(std::string_view name) {
  uint64_t hash = 14695981039346656037ULL;
  for (unsigned char c : name) {
    hash ^= c;
    hash *= 1099511628211ULL;
  }
  return hash ^ (hash >> 29);
}

FileEntry* FileEntry::New(const FileRecord& record) {
  if (!record) return new (std::nothrow) FileEntry(FileRecord());
  void* memory = ::operator new(sizeof(FileEntry) + record.block_size(), std::nothrow);
  if (!memory) return nullptr;
  uint8_t* storage = static_cast<uint8_t*>(memory) + sizeof(FileEntry);
  return new (memory) FileEntry(record, storage);
}

uint32_t FileEntry::CompareLocal(const FileEntry* other) const {
  if (!other || !other->record_ || !record_) return compare::kNoRecord;
  uint32_t bits = name() == other->name() ? 0 : compare::kName;
  bits |= CompareTimes(record_.local_time(), other->record_.local_time(), compare::kTimeLow,
                       compare::kTimeHigh);
  return bits | CompareSizes(record_, other->record_);
}

uint32_t FileEntry::CompareServer(const FileEntry* other) const {
  if (!other || !other->record_ || !record_) return compare::kNoRecord;
  uint32_t bits = name() == other->name() ? 0 : compare::kName;
  bits |= CompareTimes(record_.server_time(), other->record_.server_time(), compare::kTimeHigh,
                       compare::kTimeLow);
  return bits | CompareSizes(record_, other->record_);
}

void FolderNode::Destroy() {
  DestroyFiles();
  folder_index_.Clear();
  for (auto* node = folders_.head(); node; node = node->next) delete node->item;
  folders_.RemoveAll();
}

void FolderNode::DestroyFiles() {
  file_index_.Clear();
  for (FileEntry* entry = first_file_; entry;) {
    FileEntry* next = entry->next_;
    delete entry;
    entry = next;
  }
  first_file_ = last_file_ = nullptr;
  file_count_ = 0;
}

FileEntry* FolderNode::AddFile(FileEntry* entry) {
  if (!entry) return nullptr;
  entry->previous_ = last_file_;
  entry->next_ = nullptr;
  (last_file_ ? last_file_->next_ : first_file_) = entry;
  last_file_ = entry;
  ++file_count_;
  if (file_index_.active()) file_index_.Insert(entry);
  return entry;
}

FolderNode* FolderNode::AddFolder(FolderNode* child) {
  if (!child) return nullptr;
  child->position_ = folders_.AddTail(child);
  if (!child->position_) {
    delete child;
    return nullptr;
  }
  if (folder_index_.active()) folder_index_.Insert(child);
  return child;
}

template <typename Index, typename Item>
void FolderNode::Refresh(Index& index, size_t count, Item* first, Item* (*next)(const Item*)) {
  if (index.active() && !index.stale()) return;
  if (count <= kIndexThreshold) {
    index.Clear();  // a stale index must not answer; the short list is searched instead
    return;
  }
  if (!index.Reserve(count)) return;
  for (Item* item = first; item; item = next(item)) {
    if (!index.Insert(item)) return;
  }
}

FileEntry* FolderNode::FindFile(const char* name) const {
  if (!name) return first_file_;
  return FindFile(std::string_view(name, std::strlen(name)));
}

FileEntry* FolderNode::FindFile(std::string_view name) const {
  Refresh(file_index_, file_count_, first_file_, &FolderNode::NextFile);
  if (file_index_.active()) return file_index_.Find(name);
  for (FileEntry* entry = first_file_; entry; entry = entry->next_)
    if (entry->name() == name) return entry;
  return nullptr;
}

FolderNode* FolderNode::FindFolder(const char* name) const {
  if (!name) return first_folder();
  return FindFolder(std::string_view(name, std::strlen(name)));
}

FolderNode* FolderNode::FindFolder(std::string_view name) const {
  Refresh(folder_index_, folders_.size(), first_folder(), &FolderNode::NextFolder);
  if (folder_index_.active()) return folder_index_.Find(name);
  for (auto* node = folders_.head(); node; node = node->next)
    if (node->item->name_ == name) return node->item;
  return nullptr;
}

FileEntry* FolderNode::NextFile(const FileEntry* entry) {
  if (!entry || !entry->next_) return nullptr;
  // Walks visit every entry in turn: fetch the one after this early.
  if (entry->next_->next_) __builtin_prefetch(entry->next_->next_);
  return entry->next_;
}

FolderNode* FolderNode::NextFolder(const FolderNode* node) {
  if (!node || !node->position_ || !node->position_->next) return nullptr;
  return node->position_->next->item;
}

const std::vector<std::string>& FolderNode::left_out() const {
  static const std::vector<std::string> kNone;
  return left_out_ ? *left_out_ : kNone;
}

void FolderNode::AddLeftOut(std::string name) {
  if (!left_out_) left_out_ = std::make_unique<std::vector<std::string>>();
  left_out_->push_back(std::move(name));
}

std::unique_ptr<FileEntry> FolderNode::RemoveFile(FileEntry* entry) {
  // An entry in no list has no neighbours and is no list's first.
  if (!entry || (!entry->previous_ && first_file_ != entry)) return nullptr;
  file_index_.Erase(entry);
  (entry->previous_ ? entry->previous_->next_ : first_file_) = entry->next_;
  (entry->next_ ? entry->next_->previous_ : last_file_) = entry->previous_;
  entry->previous_ = entry->next_ = nullptr;
  --file_count_;
  return std::unique_ptr<FileEntry>(entry);
}

std::unique_ptr<FolderNode> FolderNode::RemoveFolder(FolderNode* child) {
  if (!child || !child->position_) return nullptr;
  folder_index_.Erase(child);
  folders_.RemoveAt(child->position_);
  child->position_ = nullptr;
  return std::unique_ptr<FolderNode>(child);
}

}  // namespace qbrk
