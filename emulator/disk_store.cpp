#include "disk_store.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "core/disk_path.h"

namespace qbrk::emulator {

namespace {

Node NodeFromStat(const struct stat& st) {
  Node node;
  if (S_ISREG(st.st_mode)) {
    node.kind = Node::Kind::kFile;
    node.size = static_cast<uint64_t>(st.st_size);
  } else if (S_ISDIR(st.st_mode)) {
    node.kind = Node::Kind::kFolder;
  } else {
    node.kind = Node::Kind::kOther;
  }
  node.modified = st.st_mtim.tv_sec;
  node.modified_ns = static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
  node.inode = st.st_ino;
  return node;
}

int CopyFileContent(const std::string& from, const std::string& to) {
  UniqueFd in(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!in.valid()) return errno;
  UniqueFd out(::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (!out.valid()) return errno;
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const ssize_t n = ::read(in.get(), buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (n == 0) break;
    if (int err = WriteAll(out.get(), buffer.data(), static_cast<size_t>(n)); err != 0) return err;
  }
  struct stat st {};
  if (::fstat(in.get(), &st) == 0) {
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    ::futimens(out.get(), times);
  }
  return 0;
}

}  // namespace

std::string Node::ETag() const {
  char text[80];
  std::snprintf(text, sizeof text, "\"%llx-%llx-%llx\"", static_cast<unsigned long long>(inode),
                static_cast<unsigned long long>(size),
                static_cast<unsigned long long>(modified_ns));
  return text;
}

std::string DiskStore::FsPath(std::string_view rel) const {
  return rel.empty() ? root_ : root_ + "/" + std::string(rel);
}

Node DiskStore::Stat(std::string_view rel) const {
  struct stat st {};
  if (::lstat(FsPath(rel).c_str(), &st) != 0) return Node{};
  return NodeFromStat(st);
}

std::vector<std::string> DiskStore::Children(std::string_view rel) const {
  std::vector<std::string> names;
  DIR* dir = ::opendir(FsPath(rel).c_str());
  if (dir == nullptr) return names;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    names.emplace_back(name);
  }
  ::closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

int DiskStore::MakeFolder(std::string_view rel) const {
  return ::mkdir(FsPath(rel).c_str(), 0755) == 0 ? 0 : errno;
}

int DiskStore::SetModified(std::string_view rel, time_t when) const {
  const struct timespec times[2] = {{0, UTIME_OMIT}, {when, 0}};
  return ::utimensat(AT_FDCWD, FsPath(rel).c_str(), times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int DiskStore::RemoveTree(std::string_view rel) const {
  const Node node = Stat(rel);
  if (node.is_folder()) {
    for (const std::string& name : Children(rel)) {
      if (int err = RemoveTree(ChildOf(rel, name)); err != 0) return err;
    }
    return ::rmdir(FsPath(rel).c_str()) == 0 ? 0 : errno;
  }
  return ::unlink(FsPath(rel).c_str()) == 0 ? 0 : errno;
}

int DiskStore::CopyTree(std::string_view from, std::string_view to) const {
  const Node node = Stat(from);
  if (node.is_file()) return CopyFileContent(FsPath(from), FsPath(to));
  if (!node.is_folder()) return ENOENT;
  if (int err = MakeFolder(to); err != 0) return err;
  for (const std::string& name : Children(from)) {
    const std::string child = ChildOf(from, name);
    if (!Stat(child).exists()) continue;  // links and special files are not resources
    if (int err = CopyTree(child, ChildOf(to, name)); err != 0) return err;
  }
  return SetModified(to, node.modified);
}

int DiskStore::Rename(std::string_view from, std::string_view to) const {
  return ::rename(FsPath(from).c_str(), FsPath(to).c_str()) == 0 ? 0 : errno;
}

int DiskStore::Install(const std::string& temp_path, std::string_view rel) const {
  return ::rename(temp_path.c_str(), FsPath(rel).c_str()) == 0 ? 0 : errno;
}

uint64_t DiskStore::TreeBytes(std::string_view rel) const {
  const Node node = Stat(rel);
  if (node.is_file()) return node.size;
  if (!node.is_folder()) return 0;
  uint64_t total = 0;
  for (const std::string& name : Children(rel))
    total += TreeBytes(ChildOf(rel, name));
  return total;
}

UniqueFd DiskStore::OpenForReading(std::string_view rel) const {
  return UniqueFd(::open(FsPath(rel).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
}

UniqueFd CreateTempFile(const std::string& dir, std::string* path) {
  std::string pattern = dir + "/upload-XXXXXX";
  UniqueFd fd(::mkstemp(pattern.data()));
  if (fd.valid()) {
    ::fchmod(fd.get(), 0644);
    *path = pattern;
  }
  return fd;
}

int WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return 0;
}

int MakeFolders(const std::string& dir) {
  for (size_t slash = dir.find('/', 1);; slash = dir.find('/', slash + 1)) {
    const std::string part = dir.substr(0, slash);
    if (::mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return errno;
    if (slash == std::string::npos) break;
  }
  struct stat st {};
  if (::stat(dir.c_str(), &st) != 0) return errno;
  return S_ISDIR(st.st_mode) ? 0 : ENOTDIR;
}

}  // namespace qbrk::emulator
