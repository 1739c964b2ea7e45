// The entry table's tree: folder nodes owning ordered lists of file entries (linked through
// the entries themselves, a large disk's many small objects) and of child folders. Lists keep insertion order (the order of the enumeration, listing or table file
// that built them); lookups compare names byte for byte, case-sensitive, and answer the
// first match in list order. A hash index beside each large list keeps lookups from walking
// it, so planning stays linear in the size of a folder.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sync/file_record.h"
#include "sync/name_index.h"
#include "sync/ptr_list.h"

namespace qbrk {

class FileEntry;
class FolderNode;

// Bits of CompareLocal and CompareServer.
namespace compare {
inline constexpr uint32_t kNoRecord = 0x80000000;  // the other entry has no record
inline constexpr uint32_t kName = 0x1;
inline constexpr uint32_t kTimeLow = 0x10;   // local: this is older; server: this is newer
inline constexpr uint32_t kTimeHigh = 0x20;  // local: this is newer; server: this is older
inline constexpr uint32_t kLarger = 0x200;
inline constexpr uint32_t kSmaller = 0x100;
}  // namespace compare

class FileEntry {
 public:
  explicit FileEntry(FileRecord record) : record_(std::move(record)) {}
  FileEntry(const FileEntry&) = delete;
  FileEntry& operator=(const FileEntry&) = delete;

  // An entry holding a copy of `record` in the same allocation, so that an entry costs one
  // block instead of two and its name lies next to it; null when memory ran out. Freed with
  // delete like any entry.
  static FileEntry* New(const FileRecord& record);
  // Every entry's memory, one block or two, goes back the way it came.
  static void operator delete(void* entry) { ::operator delete(entry); }

  FileRecord& record() { return record_; }
  const FileRecord& record() const { return record_; }
  std::string_view name() const { return record_.name(); }

  uint32_t marks = 0;
  // Index of what the local scan saw of this name, kept by a plan tree (0: nothing kept).
  uint32_t sight = 0;

  // How this entry differs from `other` by name, local time and size (0: alike).
  uint32_t CompareLocal(const FileEntry* other) const;
  // The same by name, server time and size; the time bits have the opposite sense.
  uint32_t CompareServer(const FileEntry* other) const;

 private:
  friend class FolderNode;
  // Copies `from` into `storage`, the rest of this entry's allocation.
  FileEntry(const FileRecord& from, uint8_t* storage) : record_(FileRecord::Embed(from, storage)) {}

  FileRecord record_;
  // The folder's file list runs through its entries, so that an entry costs no list node.
  FileEntry* previous_ = nullptr;
  FileEntry* next_ = nullptr;
};

class FolderNode {
 public:
  FolderNode() = default;
  explicit FolderNode(std::string name) : name_(std::move(name)) {}
  ~FolderNode() { Destroy(); }
  FolderNode(const FolderNode&) = delete;
  FolderNode& operator=(const FolderNode&) = delete;

  // Frees every file entry and child folder (recursively) and empties both lists.
  void Destroy();
  // Frees the file entries only; the child folders stay.
  void DestroyFiles();

  // Appends and takes ownership; the entry (null for null).
  FileEntry* AddFile(FileEntry* entry);
  // The same for a child folder; null when it is null or no list node could be had (the
  // child is then freed).
  FolderNode* AddFolder(FolderNode* child);

  // With a null name the first entry; else the first whose name equals `name` exactly.
  FileEntry* FindFile(const char* name) const;
  FileEntry* FindFile(std::string_view name) const;
  FolderNode* FindFolder(const char* name) const;
  FolderNode* FindFolder(std::string_view name) const;
  // The entry after `entry` in its folder's list, or null at the end (or for null).
  static FileEntry* NextFile(const FileEntry* entry);
  static FolderNode* NextFolder(const FolderNode* node);

  // Takes an entry or child out of its list, handing its ownership back.
  std::unique_ptr<FileEntry> RemoveFile(FileEntry* entry);
  std::unique_ptr<FolderNode> RemoveFolder(FolderNode* child);

  const std::string& name() const { return name_; }
  size_t file_count() const { return file_count_; }
  size_t folder_count() const { return folders_.size(); }
  bool empty() const { return file_count_ == 0 && folders_.empty(); }

  uint32_t marks = 0;

  // Members of this server folder that synchronization leaves out: names that cannot be a
  // local name, and names that only case tells apart (one local file would stand for both).
  // Planning acts on no name that folds to one of these; they are never saved.
  const std::vector<std::string>& left_out() const;
  void AddLeftOut(std::string name);

 private:
  static std::string_view FileKey(const FileEntry* entry) { return entry->name(); }
  static std::string_view FolderKey(const FolderNode* node) { return node->name_; }
  // Builds the index of a list that has grown large, or rebuilds a stale one; the list
  // holds `count` items from `first` on.
  template <typename Index, typename Item>
  static void Refresh(Index& index, size_t count, Item* first, Item* (*next)(const Item*));
  FolderNode* first_folder() const { return folders_.empty() ? nullptr : folders_.head()->item; }

  FileEntry* first_file_ = nullptr;
  FileEntry* last_file_ = nullptr;
  size_t file_count_ = 0;
  PtrList<FolderNode> folders_;
  // Built on demand by the finds, which are otherwise read-only.
  mutable NameIndex<FileEntry, &FolderNode::FileKey> file_index_;
  mutable NameIndex<FolderNode, &FolderNode::FolderKey> folder_index_;
  std::string name_;
  PtrList<FolderNode>::Position position_ = nullptr;
  std::unique_ptr<std::vector<std::string>> left_out_;
};

// Iteration in list order: for (FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f)).

}  // namespace qbrk
