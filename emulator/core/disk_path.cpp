#include "disk_path.h"

#include "percent_encoding.h"
#include "shift_jis.h"

namespace qbrk::emulator {

namespace {

constexpr std::string_view kDiskSegment = "file";

Refusal CheckName(std::string_view name) {
  if (name == "." || name == "..") return {403, "dot segments are not allowed"};
  if (name.find('/') != std::string_view::npos) return {403, "an escaped slash is not allowed"};
  if (name.find('\0') != std::string_view::npos) return {400, "NUL in a name"};
  if (ContainsSingleByte(name, '\\')) return {403, "a backslash is not allowed"};
  if (name.size() > kMaxNameBytes) return {414, "name too long"};
  return {};
}

}  // namespace

Checked<RelativePath> ParseRelativePath(std::string_view text, bool decode) {
  RelativePath out;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('/', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view raw = text.substr(start, end - start);
    const bool last = end == text.size();
    if (raw.empty()) {
      if (last && start > 0) out.trailing_slash = true;
      if (!last) return Refusal{400, "empty path segment"};
      break;
    }
    std::string name(raw);
    if (decode) {
      auto decoded = PercentDecode(raw);
      if (!decoded) return Refusal{400, "bad percent escape"};
      name = std::move(*decoded);
    }
    if (Refusal r = CheckName(name); r.status != 0) return r;
    if (!out.rel.empty()) out.rel += '/';
    out.rel += name;
    if (out.rel.size() > kMaxPathBytes) return Refusal{414, "path too long"};
    start = end + 1;
  }
  return out;
}

Checked<DiskTarget> ParseDiskTarget(std::string_view target, bool decode) {
  if (target.substr(0, 2) != "/~") return Refusal{404, "not a disk path"};
  const size_t user_end = target.find('/', 2);
  DiskTarget out;
  std::string_view user =
      target.substr(2, user_end == std::string_view::npos ? target.npos : user_end - 2);
  if (decode) {
    auto decoded = PercentDecode(user);
    if (!decoded) return Refusal{400, "bad percent escape"};
    out.user = std::move(*decoded);
  } else {
    out.user = std::string(user);
  }
  if (out.user.empty() || user_end == std::string_view::npos)
    return Refusal{404, "not a disk path"};
  std::string_view rest = target.substr(user_end + 1);
  if (rest.substr(0, kDiskSegment.size()) != kDiskSegment) return Refusal{404, "not a disk path"};
  rest.remove_prefix(kDiskSegment.size());
  if (rest.empty()) return out;  // "/~user/file": the root without its slash
  if (rest.front() != '/') return Refusal{404, "not a disk path"};
  rest.remove_prefix(1);
  auto path = ParseRelativePath(rest, decode);
  if (!path.ok()) return path.refusal();
  out.path = std::move(path.value());
  if (out.path.rel.empty()) out.path.trailing_slash = true;
  return out;
}

std::string_view AddressPath(std::string_view address) {
  const size_t scheme = address.find("://");
  if (scheme == std::string_view::npos) return address;
  const size_t path = address.find('/', scheme + 3);
  return path == std::string_view::npos ? std::string_view("/") : address.substr(path);
}

std::string DiskRootHref(std::string_view user) {
  return "/~" + std::string(user) + "/" + std::string(kDiskSegment) + "/";
}

bool IsCreatableName(std::string_view name) {
  for (const char c : name) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F) return false;
  }
  return !name.empty();
}

std::string ParentOf(std::string_view rel) {
  const size_t slash = rel.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(rel.substr(0, slash));
}

std::string NameOf(std::string_view rel) {
  const size_t slash = rel.rfind('/');
  return std::string(slash == std::string_view::npos ? rel : rel.substr(slash + 1));
}

std::string ChildOf(std::string_view rel, std::string_view name) {
  return rel.empty() ? std::string(name) : std::string(rel) + "/" + std::string(name);
}

bool IsWithin(std::string_view rel, std::string_view ancestor) {
  if (ancestor.empty()) return true;
  if (rel.size() < ancestor.size() || rel.substr(0, ancestor.size()) != ancestor) return false;
  return rel.size() == ancestor.size() || rel[ancestor.size()] == '/';
}

}  // namespace qbrk::emulator
