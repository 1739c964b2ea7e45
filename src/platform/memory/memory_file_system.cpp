#include "platform/memory/memory_file_system.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "common/mbcs.h"

namespace qbrk {

struct MemoryFileSystem::Opened {
  uint32_t access;
  uint32_t share;
};

struct MemoryFileSystem::Node {
  bool directory = false;
  std::string name;
  uint32_t attributes = 0;
  uint64_t creation_time = 0;
  uint64_t last_access_time = 0;
  uint64_t last_write_time = 0;
  std::vector<uint8_t> data;
  std::map<std::string, std::shared_ptr<Node>> children;  // folded name -> node
  std::vector<const Opened*> opens;
};

namespace {

using NodePtr = std::shared_ptr<MemoryFileSystem::Node>;

// The ANSI calls convert a path to UTF-16 in a buffer of this many characters (a
// double-byte character counts once); a longer path fails with 206.
constexpr size_t kMaxPathCharacters = 260;

size_t CountCharacters(const std::string& text) {
  size_t count = 0;
  for (size_t i = 0; i < text.size(); ++i, ++count)
    if (IsLeadByte(static_cast<unsigned char>(text[i]))) ++i;
  return count;
}

// The file system's case-insensitive form of a name.
std::string FoldName(const std::string& name) { return FoldCase(name); }

// A name cut into its characters (one or two bytes each).
std::vector<std::string> Characters(const std::string& text) {
  std::vector<std::string> out;
  for (size_t i = 0; i < text.size(); ++i) {
    const size_t width = IsLeadByte(static_cast<unsigned char>(text[i])) && i + 1 < text.size()
                             ? 2 : 1;
    out.push_back(text.substr(i, width));
    i += width - 1;
  }
  return out;
}

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

bool HasInvalidCharacter(const std::string& name, bool allow_wildcards) {
  for (size_t i = 0; i < name.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    if (IsLeadByte(c)) {
      ++i;
      continue;
    }
    if (c < 0x20 || std::strchr("<>:\"|", c)) return true;
    if (!allow_wildcards && (c == '*' || c == '?')) return true;
  }
  return false;
}

// Splits an absolute path into its drive letter and normalised components, the way Win32
// does: either slash separates, "." and ".." are resolved, trailing dots and blanks of each
// component are dropped. A trail byte of 0x5C is part of its character, not a separator.
SysError SplitPath(const std::string& path, char* drive, std::vector<std::string>* parts) {
  if (CountCharacters(path) > kMaxPathCharacters) return sys_error::kFilenameTooLong;
  if (path.size() < 2 || path[1] != ':' || !std::isalpha(static_cast<unsigned char>(path[0])))
    return sys_error::kPathNotFound;
  if (path.size() > 2 && !IsSeparator(path[2])) return sys_error::kPathNotFound;
  *drive = static_cast<char>(std::toupper(static_cast<unsigned char>(path[0])));
  parts->clear();
  std::string current;
  auto flush = [&] {
    while (!current.empty() && (current.back() == '.' || current.back() == ' ')) {
      if (current == "." || current == "..") break;
      current.pop_back();
    }
    if (current == "..") {
      if (!parts->empty()) parts->pop_back();
    } else if (!current.empty() && current != ".") {
      parts->push_back(current);
    }
    current.clear();
  };
  for (size_t i = 3; i < path.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(path[i]);
    if (IsLeadByte(c) && i + 1 < path.size()) {
      current += path[i];
      current += path[++i];
    } else if (IsSeparator(path[i])) {
      flush();
    } else {
      current += path[i];
    }
  }
  flush();
  return sys_error::kSuccess;
}

// Wildcard match of a name against a mask with * and ?, ignoring case as names do; "*.*"
// is "*". A ? stands for one character, single- or double-byte.
bool MaskMatches(const std::string& mask, const std::string& name) {
  if (mask == "*" || mask == "*.*") return true;  // every scan's mask: spare the work per name
  const std::vector<std::string> m = Characters(mask == "*.*" ? std::string("*") : FoldName(mask));
  const std::vector<std::string> n = Characters(FoldName(name));
  size_t mi = 0, ni = 0, star = std::string::npos, resume = 0;
  while (ni < n.size()) {
    if (mi < m.size() && (m[mi] == "?" || m[mi] == n[ni])) {
      ++mi;
      ++ni;
    } else if (mi < m.size() && m[mi] == "*") {
      star = mi++;
      resume = ni;
    } else if (star != std::string::npos) {
      mi = star + 1;
      ni = ++resume;
    } else {
      return false;
    }
  }
  while (mi < m.size() && m[mi] == "*") ++mi;
  return mi == m.size();
}

FindData ToFindData(const MemoryFileSystem::Node& node, const std::string& name) {
  FindData data;
  data.attributes = node.attributes;
  data.creation_time = node.creation_time;
  data.last_access_time = node.last_access_time;
  data.last_write_time = node.last_write_time;
  data.size = node.directory ? 0 : node.data.size();
  data.name = name;
  return data;
}

SysError CheckSharing(const MemoryFileSystem::Node& node, uint32_t access, uint32_t share) {
  for (const auto* other : node.opens) {
    if ((access & file_access::kRead) && !(other->share & file_share::kRead))
      return sys_error::kSharingViolation;
    if ((access & file_access::kWrite) && !(other->share & file_share::kWrite))
      return sys_error::kSharingViolation;
    if ((other->access & file_access::kRead) && !(share & file_share::kRead))
      return sys_error::kSharingViolation;
    if ((other->access & file_access::kWrite) && !(share & file_share::kWrite))
      return sys_error::kSharingViolation;
  }
  return sys_error::kSuccess;
}

bool BlocksDeletion(const MemoryFileSystem::Node& node) {
  return std::any_of(node.opens.begin(), node.opens.end(),
                     [](const auto* other) { return !(other->share & file_share::kDelete); });
}

}  // namespace

class MemoryFileSystem::OpenFileImpl final : public File {
 public:
  OpenFileImpl(MemoryFileSystem& fs, NodePtr node, uint32_t access, uint32_t share)
      : fs_(fs), node_(std::move(node)), opened_{access, share} {
    node_->opens.push_back(&opened_);
  }
  ~OpenFileImpl() override {
    auto& opens = node_->opens;
    opens.erase(std::remove(opens.begin(), opens.end(), &opened_), opens.end());
  }

  SysError Read(void* buffer, uint32_t size, uint32_t* read) override {
    *read = 0;
    if (!(opened_.access & file_access::kRead)) return sys_error::kAccessDenied;
    if (SysError e = fs_.InjectedFault(Op::kRead, node_->name)) return e;
    if (position_ < node_->data.size()) {
      const uint64_t available = node_->data.size() - position_;
      *read = static_cast<uint32_t>(std::min<uint64_t>(available, size));
      std::memcpy(buffer, node_->data.data() + position_, *read);
      position_ += *read;
    }
    return sys_error::kSuccess;
  }

  SysError Write(const void* data, uint32_t size) override {
    if (!(opened_.access & file_access::kWrite)) return sys_error::kAccessDenied;
    if (SysError e = fs_.InjectedFault(Op::kWrite, node_->name)) return e;
    const uint64_t end = position_ + size;
    if (end > node_->data.size()) {
      // Without a capacity nothing can be full: the walk over every file is spared.
      if (fs_.capacity_ != UINT64_MAX &&
          fs_.UsedBytes() + (end - node_->data.size()) > fs_.capacity_)
        return sys_error::kDiskFull;
      if (SysError e = Resize(end)) return e;
    }
    if (size) std::memcpy(node_->data.data() + static_cast<size_t>(position_), data, size);
    position_ = end;
    node_->last_write_time = fs_.clock_.Now();
    return sys_error::kSuccess;
  }

  SysError Seek(int64_t offset, SeekOrigin origin, uint64_t* position) override {
    int64_t base = 0;
    if (origin == SeekOrigin::kCurrent) base = static_cast<int64_t>(position_);
    if (origin == SeekOrigin::kEnd) base = static_cast<int64_t>(node_->data.size());
    if (base + offset < 0) return sys_error::kNegativeSeek;
    position_ = static_cast<uint64_t>(base + offset);
    if (position) *position = position_;
    return sys_error::kSuccess;
  }

  SysError GetSize(uint64_t* size) override {
    *size = node_->data.size();
    return sys_error::kSuccess;
  }

  SysError SetTimes(const uint64_t* creation, const uint64_t* last_access,
                    const uint64_t* last_write) override {
    if (!(opened_.access & file_access::kWrite)) return sys_error::kAccessDenied;
    if (SysError e = fs_.InjectedFault(Op::kSetTimes, node_->name)) return e;
    if (creation) node_->creation_time = *creation;
    if (last_access) node_->last_access_time = *last_access;
    if (last_write) node_->last_write_time = *last_write;
    return sys_error::kSuccess;
  }

  SysError GetTimes(uint64_t* creation, uint64_t* last_access, uint64_t* last_write) override {
    if (creation) *creation = node_->creation_time;
    if (last_access) *last_access = node_->last_access_time;
    if (last_write) *last_write = node_->last_write_time;
    return sys_error::kSuccess;
  }

  SysError SetEnd() override {
    if (!(opened_.access & file_access::kWrite)) return sys_error::kAccessDenied;
    return Resize(position_);
  }

  SysError Flush() override {
    if (!(opened_.access & file_access::kWrite)) return sys_error::kAccessDenied;
    return fs_.InjectedFault(Op::kFlush, node_->name);
  }

 private:
  // The content lives in this process's memory: an end past what it can hold (2 GiB in a
  // 32-bit build) is a full disk, never a size cut down to its low bits.
  SysError Resize(uint64_t end) {
    if (end > node_->data.max_size()) return sys_error::kDiskFull;
    node_->data.resize(static_cast<size_t>(end));
    return sys_error::kSuccess;
  }

  MemoryFileSystem& fs_;
  NodePtr node_;
  Opened opened_;
  uint64_t position_ = 0;
};

class MemoryFileSystem::FindImpl final : public FindHandle {
 public:
  // `matches` from the second on are still to come.
  explicit FindImpl(std::vector<FindData> matches) : matches_(std::move(matches)) {}
  SysError Next(FindData* data) override {
    if (next_ >= matches_.size()) return sys_error::kNoMoreFiles;
    *data = std::move(matches_[next_++]);
    return sys_error::kSuccess;
  }

 private:
  std::vector<FindData> matches_;
  size_t next_ = 1;
};

MemoryFileSystem::MemoryFileSystem(Clock& clock) : clock_(clock) {
  AddDrive('C');
  MakeDirectory("C:\\TEMP");
}

MemoryFileSystem::~MemoryFileSystem() = default;

void MemoryFileSystem::AddDrive(char letter) {
  auto root = std::make_shared<Node>();
  root->directory = true;
  root->attributes = file_attr::kDirectory;
  drives_[static_cast<char>(std::toupper(static_cast<unsigned char>(letter)))] = root;
}

SysError MemoryFileSystem::InjectedFault(Op op, const std::string& path) const {
  return fault_ ? fault_(op, path) : sys_error::kSuccess;
}

std::shared_ptr<MemoryFileSystem::Node> MemoryFileSystem::Resolve(const std::string& path,
                                                                  SysError* error) const {
  char drive = 0;
  std::vector<std::string> parts;
  if ((*error = SplitPath(path, &drive, &parts))) return nullptr;
  auto it = drives_.find(drive);
  if (it == drives_.end()) {
    *error = sys_error::kPathNotFound;
    return nullptr;
  }
  NodePtr node = it->second;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (!node->directory) {
      *error = sys_error::kPathNotFound;
      return nullptr;
    }
    auto child = node->children.find(FoldName(parts[i]));
    if (child == node->children.end()) {
      *error = i + 1 == parts.size() ? sys_error::kFileNotFound : sys_error::kPathNotFound;
      return nullptr;
    }
    node = child->second;
  }
  return node;
}

std::shared_ptr<MemoryFileSystem::Node> MemoryFileSystem::ResolveParent(
    const std::string& path, std::string* name, SysError* error) const {
  char drive = 0;
  std::vector<std::string> parts;
  if ((*error = SplitPath(path, &drive, &parts))) return nullptr;
  if (parts.empty()) {
    *error = sys_error::kAccessDenied;  // the drive root itself
    return nullptr;
  }
  *name = parts.back();
  if (HasInvalidCharacter(*name, false)) {
    *error = sys_error::kInvalidName;
    return nullptr;
  }
  std::string parent = std::string(1, drive) + ":\\";
  for (size_t i = 0; i + 1 < parts.size(); ++i) parent += parts[i] + "\\";
  NodePtr node = Resolve(parent, error);
  if (!node) {
    *error = sys_error::kPathNotFound;
    return nullptr;
  }
  if (!node->directory) {
    *error = sys_error::kPathNotFound;
    return nullptr;
  }
  return node;
}

uint64_t MemoryFileSystem::UsedBytes() const {
  uint64_t total = 0;
  std::vector<NodePtr> pending;
  for (const auto& [letter, root] : drives_) pending.push_back(root);
  while (!pending.empty()) {
    NodePtr node = pending.back();
    pending.pop_back();
    total += node->data.size();
    for (const auto& [name, child] : node->children) pending.push_back(child);
  }
  return total;
}

SysError MemoryFileSystem::OpenFile(const std::string& path, uint32_t access, uint32_t share,
                                    Disposition disposition, std::unique_ptr<File>* file) {
  if (SysError e = InjectedFault(Op::kOpen, path)) return e;
  std::string name;
  SysError error = 0;
  NodePtr parent = ResolveParent(path, &name, &error);
  if (!parent) return error;
  const std::string key = FoldName(name);
  auto found = parent->children.find(key);
  NodePtr node = found == parent->children.end() ? nullptr : found->second;

  if (node) {
    if (node->directory) return sys_error::kAccessDenied;
    if (disposition == Disposition::kCreateNew) return sys_error::kFileExists;
    const bool truncates =
        disposition == Disposition::kCreateAlways || disposition == Disposition::kTruncateExisting;
    if ((node->attributes & file_attr::kReadOnly) && ((access & file_access::kWrite) || truncates))
      return sys_error::kAccessDenied;
    if (SysError e = CheckSharing(*node, access, share)) return e;
    if (truncates) {
      node->data.clear();
      node->last_write_time = clock_.Now();
    }
  } else {
    if (disposition == Disposition::kOpenExisting ||
        disposition == Disposition::kTruncateExisting)
      return sys_error::kFileNotFound;
    node = std::make_shared<Node>();
    node->name = name;
    node->attributes = file_attr::kArchive;
    node->creation_time = node->last_access_time = node->last_write_time = clock_.Now();
    parent->children[key] = node;
  }
  *file = std::make_unique<OpenFileImpl>(*this, node, access, share);
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::FindFirst(const std::string& pattern,
                                     std::unique_ptr<FindHandle>* find, FindData* first) {
  if (SysError e = InjectedFault(Op::kFind, pattern)) return e;
  if (CountCharacters(pattern) > kMaxPathCharacters) return sys_error::kFilenameTooLong;
  size_t cut = FindLastSingleByte(pattern, '\\');
  const size_t slash = FindLastSingleByte(pattern, '/');
  if (slash != std::string::npos && (cut == std::string::npos || slash > cut)) cut = slash;
  if (cut == std::string::npos) return sys_error::kPathNotFound;
  const std::string folder = pattern.substr(0, cut + 1);
  const std::string mask = pattern.substr(cut + 1);
  SysError error = 0;
  NodePtr dir = Resolve(folder, &error);
  if (!dir || !dir->directory) return sys_error::kPathNotFound;
  if (mask.empty() || HasInvalidCharacter(mask, true)) return sys_error::kFileNotFound;

  std::vector<FindData> matches;
  matches.reserve(dir->children.size() + 2);
  const bool is_root = folder.size() <= 3;
  if (!is_root) {
    if (MaskMatches(mask, ".")) matches.push_back(ToFindData(*dir, "."));
    if (MaskMatches(mask, "..")) matches.push_back(ToFindData(*dir, ".."));
  }
  for (const auto& [key, child] : dir->children)
    if (MaskMatches(mask, child->name)) matches.push_back(ToFindData(*child, child->name));
  if (matches.empty()) return sys_error::kFileNotFound;
  *first = std::move(matches.front());
  *find = std::make_unique<FindImpl>(std::move(matches));
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::GetAttributes(const std::string& path, uint32_t* attributes) {
  if (SysError e = InjectedFault(Op::kGetAttributes, path)) return e;
  SysError error = 0;
  NodePtr node = Resolve(path, &error);
  if (!node) return error;
  *attributes = node->attributes;
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::SetAttributes(const std::string& path, uint32_t attributes) {
  if (SysError e = InjectedFault(Op::kSetAttributes, path)) return e;
  SysError error = 0;
  NodePtr node = Resolve(path, &error);
  if (!node) return error;
  constexpr uint32_t kSettable =
      file_attr::kReadOnly | file_attr::kHidden | file_attr::kSystem | file_attr::kArchive;
  uint32_t kept = attributes & kSettable;
  if (node->directory) {
    kept |= file_attr::kDirectory;
  } else if (kept == 0) {
    kept = file_attr::kArchive;  // what the platform reports for a plain file
  }
  node->attributes = kept;
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::MakeDirectory(const std::string& path) {
  if (SysError e = InjectedFault(Op::kMakeDirectory, path)) return e;
  std::string name;
  SysError error = 0;
  NodePtr parent = ResolveParent(path, &name, &error);
  if (!parent) return error == sys_error::kAccessDenied ? sys_error::kAlreadyExists : error;
  const std::string key = FoldName(name);
  if (parent->children.count(key)) return sys_error::kAlreadyExists;
  auto node = std::make_shared<Node>();
  node->directory = true;
  node->name = name;
  node->attributes = file_attr::kDirectory;
  node->creation_time = node->last_access_time = node->last_write_time = clock_.Now();
  parent->children[key] = node;
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::RemoveEmptyDirectory(const std::string& path) {
  if (SysError e = InjectedFault(Op::kRemoveDirectory, path)) return e;
  std::string name;
  SysError error = 0;
  NodePtr parent = ResolveParent(path, &name, &error);
  if (!parent) return error;
  auto it = parent->children.find(FoldName(name));
  if (it == parent->children.end()) return sys_error::kFileNotFound;
  if (!it->second->directory) return sys_error::kDirectoryInvalid;
  if (!it->second->children.empty()) return sys_error::kDirNotEmpty;
  parent->children.erase(it);
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::RemoveFile(const std::string& path) {
  if (SysError e = InjectedFault(Op::kRemoveFile, path)) return e;
  std::string name;
  SysError error = 0;
  NodePtr parent = ResolveParent(path, &name, &error);
  if (!parent) return error;
  auto it = parent->children.find(FoldName(name));
  if (it == parent->children.end()) return sys_error::kFileNotFound;
  const Node& node = *it->second;
  if (node.directory || (node.attributes & file_attr::kReadOnly)) return sys_error::kAccessDenied;
  if (BlocksDeletion(node)) return sys_error::kSharingViolation;
  parent->children.erase(it);
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::Rename(const std::string& from, const std::string& to) {
  if (SysError e = InjectedFault(Op::kRename, from)) return e;
  return MoveNode(from, to, /*replacing=*/false);
}

SysError MemoryFileSystem::RenameReplacing(const std::string& from, const std::string& to) {
  if (SysError e = InjectedFault(Op::kRenameReplacing, from)) return e;
  return MoveNode(from, to, /*replacing=*/true);
}

SysError MemoryFileSystem::MoveNode(const std::string& from, const std::string& to,
                                    bool replacing) {
  std::string from_name, to_name;
  SysError error = 0;
  NodePtr from_parent = ResolveParent(from, &from_name, &error);
  if (!from_parent) return error;
  auto it = from_parent->children.find(FoldName(from_name));
  if (it == from_parent->children.end()) return sys_error::kFileNotFound;
  NodePtr node = it->second;
  if (BlocksDeletion(*node)) return sys_error::kSharingViolation;
  NodePtr to_parent = ResolveParent(to, &to_name, &error);
  if (!to_parent) return error;
  const std::string to_key = FoldName(to_name);
  auto existing = to_parent->children.find(to_key);
  // Renaming to another case of the same name is allowed; any other existing target only
  // when replacing, and then only a file that is neither read-only nor held open.
  if (existing != to_parent->children.end() && existing->second != node) {
    if (!replacing) return sys_error::kAlreadyExists;
    const Node& target = *existing->second;
    if (target.directory || node->directory || (target.attributes & file_attr::kReadOnly))
      return sys_error::kAccessDenied;
    if (BlocksDeletion(target)) return sys_error::kAccessDenied;
  }
  from_parent->children.erase(it);
  node->name = to_name;
  to_parent->children[to_key] = node;
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::TempFolder(std::string* path) {
  if (SysError e = InjectedFault(Op::kTempFolder, temp_folder_)) return e;
  *path = temp_folder_;
  return sys_error::kSuccess;
}

SysError MemoryFileSystem::MakeTempFile(const std::string& folder, const std::string& prefix,
                                        std::string* path) {
  if (SysError e = InjectedFault(Op::kMakeTempFile, folder)) return e;
  // A folder that is missing or is a file gives 267 (not 2 or 3).
  SysError error = 0;
  NodePtr dir = Resolve(folder, &error);
  if (error == sys_error::kFilenameTooLong) return error;
  if (!dir || !dir->directory) return sys_error::kDirectoryInvalid;
  std::string base = folder;
  if (!EndsWithSingleByte(base, '\\')) base += '\\';
  base += prefix.substr(0, 3);
  for (uint32_t attempts = 0; attempts < 0xFFFF; ++attempts) {
    const uint32_t number = next_temp_number_;
    next_temp_number_ = next_temp_number_ % 0xFFFF + 1;
    char hex[8];
    std::snprintf(hex, sizeof hex, "%x", number);
    const std::string candidate = base + hex + ".tmp";
    std::unique_ptr<File> file;
    error = OpenFile(candidate, file_access::kWrite, file_share::kNone,
                              Disposition::kCreateNew, &file);
    if (error == sys_error::kSuccess) {
      *path = candidate;
      return sys_error::kSuccess;
    }
    if (error != sys_error::kFileExists) return error;
  }
  return sys_error::kFileExists;
}

bool MemoryFileSystem::WriteWholeFile(const std::string& path, const std::string& content) {
  char drive = 0;
  std::vector<std::string> parts;
  if (SplitPath(path, &drive, &parts) || parts.empty()) return false;
  std::string folder = std::string(1, drive) + ":";
  for (size_t i = 0; i + 1 < parts.size(); ++i) {
    folder += "\\" + parts[i];
    SysError made = MakeDirectory(folder);
    if (made && made != sys_error::kAlreadyExists) return false;
  }
  std::unique_ptr<File> file;
  if (OpenFile(path, file_access::kWrite, file_share::kNone, Disposition::kCreateAlways, &file))
    return false;
  return file->Write(content.data(), static_cast<uint32_t>(content.size())) == 0;
}

bool MemoryFileSystem::AddUnrepresentableFile(const std::string& folder,
                                              const std::string& reported_name,
                                              const std::string& content) {
  SysError error = 0;
  NodePtr dir = Resolve(folder, &error);
  if (!dir || !dir->directory) return false;
  auto node = std::make_shared<Node>();
  node->name = reported_name;
  node->attributes = file_attr::kArchive;
  node->data.assign(content.begin(), content.end());
  node->creation_time = node->last_access_time = node->last_write_time = clock_.Now();
  // A key no lookup by a usable name can produce: the true name is not expressible.
  dir->children[std::string(1, '\0') + reported_name] = node;
  return true;
}

bool MemoryFileSystem::ReadWholeFile(const std::string& path, std::string* content) const {
  SysError error = 0;
  NodePtr node = Resolve(path, &error);
  if (!node || node->directory) return false;
  content->assign(node->data.begin(), node->data.end());
  return true;
}

bool MemoryFileSystem::Exists(const std::string& path) const {
  SysError error = 0;
  return Resolve(path, &error) != nullptr;
}

std::vector<std::string> MemoryFileSystem::List(const std::string& folder) const {
  std::vector<std::string> out;
  SysError error = 0;
  NodePtr start = Resolve(folder, &error);
  if (!start) return out;
  std::string base = folder;
  if (!EndsWithSingleByte(base, '\\')) base += '\\';
  std::vector<std::pair<std::string, NodePtr>> pending{{base, start}};
  while (!pending.empty()) {
    auto [prefix, node] = pending.back();
    pending.pop_back();
    for (const auto& [key, child] : node->children) {
      const std::string path = prefix + child->name + (child->directory ? "\\" : "");
      out.push_back(path);
      if (child->directory) pending.emplace_back(path, child);
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace qbrk
