// The file system the library relies on: error numbers of each failure, share modes,
// searches, attributes, times, Shift_JIS names and temporary files.
#include "platform/file_system.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "common/mbcs.h"
#include "contract_param.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_file_system.h"

#ifdef _WIN32
#include <windows.h>

#include "platform/win32/win32_file_system.h"
#endif

namespace qbrk {
namespace {

namespace e = sys_error;

constexpr uint32_t kR = file_access::kRead;
constexpr uint32_t kW = file_access::kWrite;
constexpr uint32_t kShareR = file_share::kRead;
constexpr uint32_t kShareRW = file_share::kRead | file_share::kWrite;

// "ソ" (0x83 0x5C) and "表" (0x95 0x5C): trail bytes that equal a backslash.
const std::string kSo = "\x83\x5C";
const std::string kHyo = "\x95\x5C";
// Full-width "Ａ" and "ａ".
const std::string kWideUpperA = "\x82\x60";
const std::string kWideLowerA = "\x82\x81";

class FileSystemUnderTest {
 public:
  virtual ~FileSystemUnderTest() = default;
  virtual FileSystem& files() = 0;
  // An empty folder for the test, without a trailing backslash.
  virtual const std::string& root() const = 0;
};

// Removes a folder and everything below it through the seam itself.
void RemoveTree(FileSystem& files, const std::string& folder) {
  std::unique_ptr<FindHandle> find;
  FindData data;
  std::vector<FindData> entries;
  if (files.FindFirst(folder + "\\*", &find, &data) == e::kSuccess) {
    for (int i = 0; i < 100000; ++i) {
      entries.push_back(data);
      if (find->Next(&data) != e::kSuccess) break;
    }
  }
  find.reset();
  for (const FindData& entry : entries) {
    if (entry.name == "." || entry.name == "..") continue;
    const std::string path = folder + "\\" + entry.name;
    files.SetAttributes(path, file_attr::kNormal);
    if (entry.attributes & file_attr::kDirectory)
      RemoveTree(files, path);
    else
      files.RemoveFile(path);
  }
  files.RemoveEmptyDirectory(folder);
}

class TwinFileSystem final : public FileSystemUnderTest {
 public:
  TwinFileSystem() { files_.MakeDirectory(root_); }
  FileSystem& files() override { return files_; }
  const std::string& root() const override { return root_; }

 private:
  FakeClock clock_;
  MemoryFileSystem files_{clock_};
  std::string root_ = "C:\\contract";
};

#ifdef _WIN32
class Win32FileSystemUnderTest final : public FileSystemUnderTest {
 public:
  Win32FileSystemUnderTest() {
    std::string temp;
    files_.TempFolder(&temp);
    root_ = temp + "qbrk-fs-contract-" + std::to_string(GetCurrentProcessId());
    RemoveTree(files_, root_);  // a leftover of an earlier, killed run
    files_.MakeDirectory(root_);
  }
  ~Win32FileSystemUnderTest() override { RemoveTree(files_, root_); }
  FileSystem& files() override { return files_; }
  const std::string& root() const override { return root_; }

 private:
  Win32FileSystem files_;
  std::string root_;
};
#endif

class FileSystemContract : public testing::TestWithParam<Implementation<FileSystemUnderTest>> {
 protected:
  void SetUp() override {
    under_test_ = GetParam().make();
    uint32_t attributes = 0;
    ASSERT_EQ(fs().GetAttributes(root(), &attributes), e::kSuccess) << root();
  }

  FileSystem& fs() { return under_test_->files(); }
  const std::string& root() const { return under_test_->root(); }
  std::string At(const std::string& relative) const { return root() + "\\" + relative; }

  SysError Open(const std::string& path, uint32_t access, uint32_t share, Disposition disposition,
                std::unique_ptr<File>* file) {
    return fs().OpenFile(path, access, share, disposition, file);
  }
  SysError OpenError(const std::string& path, uint32_t access, uint32_t share,
                     Disposition disposition) {
    std::unique_ptr<File> file;
    return Open(path, access, share, disposition, &file);
  }

  void Write(const std::string& path, const std::string& content) {
    std::unique_ptr<File> file;
    ASSERT_EQ(Open(path, kW, file_share::kNone, Disposition::kCreateAlways, &file), e::kSuccess)
        << path;
    ASSERT_EQ(file->Write(content.data(), static_cast<uint32_t>(content.size())), e::kSuccess);
  }

  std::string Read(const std::string& path) {
    std::unique_ptr<File> file;
    if (Open(path, kR, kShareR, Disposition::kOpenExisting, &file)) return "<unreadable>";
    std::string content;
    char buffer[256];
    uint32_t got = 0;
    for (int i = 0; i < 1000 && file->Read(buffer, sizeof buffer, &got) == e::kSuccess && got; ++i)
      content.append(buffer, got);
    return content;
  }

  uint32_t Attributes(const std::string& path) {
    uint32_t attributes = file_attr::kInvalid;
    fs().GetAttributes(path, &attributes);
    return attributes;
  }

  // Every name a search returns, in order, with the error that ended it.
  std::vector<std::string> Search(const std::string& pattern, SysError* end = nullptr) {
    std::vector<std::string> names;
    std::unique_ptr<FindHandle> find;
    FindData data;
    SysError error = fs().FindFirst(pattern, &find, &data);
    for (int i = 0; error == e::kSuccess && i < 10000; ++i) {
      names.push_back(data.name);
      error = find->Next(&data);
    }
    if (end) *end = error;
    return names;
  }

  FindData FindOne(const std::string& path) {
    std::unique_ptr<FindHandle> find;
    FindData data;
    EXPECT_EQ(fs().FindFirst(path, &find, &data), e::kSuccess) << path;
    return data;
  }

 private:
  std::unique_ptr<FileSystemUnderTest> under_test_;
};

TEST_P(FileSystemContract, MissingFileAndMissingFolderGiveTwoAndThree) {
  const std::string file = At("none.txt");
  const std::string deep = At("nofolder\\none.txt");
  EXPECT_EQ(OpenError(file, kR, kShareR, Disposition::kOpenExisting), e::kFileNotFound);
  EXPECT_EQ(OpenError(deep, kR, kShareR, Disposition::kOpenExisting), e::kPathNotFound);
  EXPECT_EQ(OpenError(file, kW, 0, Disposition::kTruncateExisting), e::kFileNotFound);
  EXPECT_EQ(OpenError(deep, kW, 0, Disposition::kCreateAlways), e::kPathNotFound);
  uint32_t attributes = 0;
  EXPECT_EQ(fs().GetAttributes(file, &attributes), e::kFileNotFound);
  EXPECT_EQ(fs().GetAttributes(deep, &attributes), e::kPathNotFound);
  EXPECT_EQ(fs().SetAttributes(file, file_attr::kNormal), e::kFileNotFound);
  EXPECT_EQ(fs().RemoveFile(file), e::kFileNotFound);
  EXPECT_EQ(fs().RemoveFile(deep), e::kPathNotFound);
  EXPECT_EQ(fs().RemoveEmptyDirectory(file), e::kFileNotFound);
  EXPECT_EQ(fs().RemoveEmptyDirectory(deep), e::kPathNotFound);
  EXPECT_EQ(fs().MakeDirectory(At("nofolder\\sub")), e::kPathNotFound);
  EXPECT_EQ(fs().Rename(file, At("other.txt")), e::kFileNotFound);
  // A file used as a folder is a missing path.
  Write(At("plain.txt"), "x");
  EXPECT_EQ(OpenError(At("plain.txt\\inner"), kR, 0, Disposition::kOpenExisting), e::kPathNotFound);
  EXPECT_EQ(fs().GetAttributes(At("plain.txt\\inner"), &attributes), e::kPathNotFound);
}

TEST_P(FileSystemContract, FolderOperationsReportExistingNonEmptyAndWrongKind) {
  ASSERT_EQ(fs().MakeDirectory(At("dir")), e::kSuccess);
  EXPECT_EQ(Attributes(At("dir")), file_attr::kDirectory);
  EXPECT_EQ(fs().MakeDirectory(At("dir")), e::kAlreadyExists);
  EXPECT_EQ(fs().MakeDirectory(At("DIR")), e::kAlreadyExists);
  Write(At("dir\\inside.txt"), "x");
  EXPECT_EQ(fs().RemoveEmptyDirectory(At("dir")), e::kDirNotEmpty);
  // A file where a folder is expected, and the other way round.
  EXPECT_EQ(fs().MakeDirectory(At("dir\\inside.txt")), e::kAlreadyExists);
  EXPECT_EQ(fs().RemoveEmptyDirectory(At("dir\\inside.txt")), e::kDirectoryInvalid);
  EXPECT_EQ(fs().RemoveFile(At("dir")), e::kAccessDenied);
  EXPECT_EQ(OpenError(At("dir"), kR, kShareR, Disposition::kOpenExisting), e::kAccessDenied);
  ASSERT_EQ(fs().RemoveFile(At("dir\\inside.txt")), e::kSuccess);
  EXPECT_EQ(fs().RemoveEmptyDirectory(At("dir")), e::kSuccess);
  EXPECT_EQ(Attributes(At("dir")), file_attr::kInvalid);
}

TEST_P(FileSystemContract, DispositionsCreateKeepOrTruncate) {
  const std::string path = At("d.txt");
  EXPECT_EQ(OpenError(path, kW, 0, Disposition::kOpenExisting), e::kFileNotFound);
  Write(path, "hello");
  EXPECT_EQ(OpenError(path, kW, 0, Disposition::kCreateNew), e::kFileExists);
  EXPECT_EQ(Read(path), "hello");
  EXPECT_EQ(OpenError(path, kW, 0, Disposition::kOpenAlways), e::kSuccess);
  EXPECT_EQ(Read(path), "hello");
  EXPECT_EQ(OpenError(path, kW, 0, Disposition::kTruncateExisting), e::kSuccess);
  EXPECT_EQ(Read(path), "");
  Write(path, "again");
  EXPECT_EQ(OpenError(path, kW, 0, Disposition::kCreateAlways), e::kSuccess);
  EXPECT_EQ(Read(path), "");
  EXPECT_EQ(OpenError(At("new.txt"), kW, 0, Disposition::kOpenAlways), e::kSuccess);
  EXPECT_EQ(Attributes(At("new.txt")) & file_attr::kDirectory, 0u);
}

TEST_P(FileSystemContract, ReadWriteSeekAndSetEnd) {
  std::unique_ptr<File> file;
  ASSERT_EQ(Open(At("rw.bin"), kR | kW, 0, Disposition::kCreateNew, &file), e::kSuccess);
  ASSERT_EQ(file->Write("0123456789", 10), e::kSuccess);
  uint64_t size = 0, position = 99;
  EXPECT_EQ(file->GetSize(&size), e::kSuccess);
  EXPECT_EQ(size, 10u);
  char buffer[16] = {};
  uint32_t got = 99;
  EXPECT_EQ(file->Read(buffer, sizeof buffer, &got), e::kSuccess);
  EXPECT_EQ(got, 0u) << "reading at the end gives nothing, without an error";
  EXPECT_EQ(file->Seek(-4, SeekOrigin::kEnd, &position), e::kSuccess);
  EXPECT_EQ(position, 6u);
  EXPECT_EQ(file->Read(buffer, 3, &got), e::kSuccess);
  EXPECT_EQ(std::string(buffer, got), "678");
  EXPECT_EQ(file->Seek(-2, SeekOrigin::kCurrent, &position), e::kSuccess);
  EXPECT_EQ(position, 7u);
  EXPECT_EQ(file->Seek(-1, SeekOrigin::kBegin, &position), e::kNegativeSeek);
  EXPECT_EQ(file->Seek(4, SeekOrigin::kBegin, nullptr), e::kSuccess);
  EXPECT_EQ(file->SetEnd(), e::kSuccess);
  EXPECT_EQ(file->GetSize(&size), e::kSuccess);
  EXPECT_EQ(size, 4u);
  // Past the end: SetEnd extends the file.
  EXPECT_EQ(file->Seek(8, SeekOrigin::kBegin, nullptr), e::kSuccess);
  EXPECT_EQ(file->SetEnd(), e::kSuccess);
  EXPECT_EQ(file->GetSize(&size), e::kSuccess);
  EXPECT_EQ(size, 8u);
  file.reset();
  EXPECT_EQ(Read(At("rw.bin")).substr(0, 4), "0123");
}

TEST_P(FileSystemContract, HandlesRefuseWhatTheirAccessDoesNotAllow) {
  Write(At("a.bin"), "abc");
  std::unique_ptr<File> reader, writer;
  ASSERT_EQ(Open(At("a.bin"), kR, kShareRW, Disposition::kOpenExisting, &reader), e::kSuccess);
  EXPECT_EQ(reader->Write("x", 1), e::kAccessDenied);
  // Windows answers 5 here and Wine 87: the library only needs the failure.
  EXPECT_NE(reader->SetEnd(), e::kSuccess);
  ASSERT_EQ(Open(At("a.bin"), kW, kShareRW, Disposition::kOpenExisting, &writer), e::kSuccess);
  char buffer[4];
  uint32_t got = 0;
  EXPECT_EQ(writer->Read(buffer, sizeof buffer, &got), e::kAccessDenied);
  EXPECT_EQ(got, 0u);
}

// The access and sharing pairs the library opens files with: uploads (read, sharing read,
// then read and write), the table file (read sharing nothing; write sharing read),
// downloads and logs (write), and read-write handles.
struct OpenMode {
  uint32_t access;
  uint32_t share;
};
const OpenMode kModes[] = {
    {kR, kShareR},           {kR, kShareRW}, {kR, file_share::kNone},      {kW, kShareR},
    {kW, file_share::kNone}, {kW, kShareRW}, {kR | kW, file_share::kNone}, {kR | kW, kShareRW},
};

// Two handles coexist when each one's sharing allows the other's access.
bool Compatible(const OpenMode& first, const OpenMode& second) {
  auto allows = [](uint32_t share, uint32_t access) {
    return (!(access & kR) || (share & file_share::kRead)) &&
           (!(access & kW) || (share & file_share::kWrite));
  };
  return allows(first.share, second.access) && allows(second.share, first.access);
}

TEST_P(FileSystemContract, SharingViolationsOfEveryModePair) {
  const std::string path = At("shared.bin");
  Write(path, "data");
  for (const OpenMode& first : kModes) {
    for (const OpenMode& second : kModes) {
      std::unique_ptr<File> held;
      ASSERT_EQ(Open(path, first.access, first.share, Disposition::kOpenExisting, &held),
                e::kSuccess);
      const SysError expected = Compatible(first, second) ? e::kSuccess : e::kSharingViolation;
      EXPECT_EQ(OpenError(path, second.access, second.share, Disposition::kOpenExisting), expected)
          << "first " << std::hex << first.access << "/" << first.share << ", second "
          << second.access << "/" << second.share;
    }
  }
  // Replacing the table file while an upload reads it with both sharings.
  std::unique_ptr<File> upload;
  ASSERT_EQ(Open(path, kR, kShareRW, Disposition::kOpenExisting, &upload), e::kSuccess);
  EXPECT_EQ(OpenError(path, kW, kShareR, Disposition::kCreateAlways), e::kSuccess);
}

TEST_P(FileSystemContract, DeleteAndRenameOfAnOpenOrReadOnlyFile) {
  const std::string path = At("busy.txt");
  Write(path, "x");
  {
    std::unique_ptr<File> held;
    ASSERT_EQ(Open(path, kR, kShareRW, Disposition::kOpenExisting, &held), e::kSuccess);
    EXPECT_EQ(fs().RemoveFile(path), e::kSharingViolation);
    EXPECT_EQ(fs().Rename(path, At("moved.txt")), e::kSharingViolation);
  }
  ASSERT_EQ(fs().SetAttributes(path, file_attr::kReadOnly), e::kSuccess);
  EXPECT_EQ(fs().RemoveFile(path), e::kAccessDenied);
  EXPECT_EQ(Read(path), "x");
  // Running as root, Wine still opens a read-only file for writing, so that is not tested.
  ASSERT_EQ(fs().SetAttributes(path, file_attr::kNormal), e::kSuccess);
  EXPECT_EQ(fs().RemoveFile(path), e::kSuccess);
  EXPECT_EQ(Attributes(path), file_attr::kInvalid);
}

TEST_P(FileSystemContract, RenameRefusesAnExistingTargetAndMovesAcrossFolders) {
  Write(At("from.txt"), "from");
  Write(At("to.txt"), "to");
  ASSERT_EQ(fs().MakeDirectory(At("sub")), e::kSuccess);
  EXPECT_EQ(fs().Rename(At("from.txt"), At("to.txt")), e::kAlreadyExists);
  EXPECT_EQ(fs().Rename(At("from.txt"), At("TO.TXT")), e::kAlreadyExists);
  EXPECT_EQ(fs().Rename(At("sub"), At("to.txt")), e::kAlreadyExists);
  EXPECT_EQ(fs().Rename(At("from.txt"), At("missing\\x.txt")), e::kPathNotFound);
  EXPECT_EQ(Read(At("to.txt")), "to");
  ASSERT_EQ(fs().Rename(At("from.txt"), At("sub\\moved.txt")), e::kSuccess);
  EXPECT_EQ(Read(At("sub\\moved.txt")), "from");
  EXPECT_EQ(Attributes(At("from.txt")), file_attr::kInvalid);
  ASSERT_EQ(fs().Rename(At("sub"), At("sub2")), e::kSuccess);
  EXPECT_EQ(Read(At("sub2\\moved.txt")), "from");
  // A rename that only changes case keeps the old spelling under Wine; not tested.
}

TEST_P(FileSystemContract, RenameReplacingPutsTheNewFileInPlaceOrLeavesTheOldOne) {
  Write(At("new.txt"), "new");
  Write(At("old.txt"), "old");
  ASSERT_EQ(fs().RenameReplacing(At("new.txt"), At("old.txt")), e::kSuccess);
  EXPECT_EQ(Read(At("old.txt")), "new");
  EXPECT_EQ(Attributes(At("new.txt")), file_attr::kInvalid);
  // Into a free name it is a plain move.
  ASSERT_EQ(fs().RenameReplacing(At("old.txt"), At("free.txt")), e::kSuccess);
  EXPECT_EQ(Read(At("free.txt")), "new");

  EXPECT_EQ(fs().RenameReplacing(At("none.txt"), At("free.txt")), e::kFileNotFound);
  EXPECT_EQ(fs().RenameReplacing(At("free.txt"), At("missing\\x.txt")), e::kPathNotFound);
  // A folder is never replaced. (Nor is a read-only file on Windows; Wine running as root
  // replaces it, so callers clear the attribute first and that is not tested here.)
  Write(At("next.txt"), "next");
  ASSERT_EQ(fs().MakeDirectory(At("dir")), e::kSuccess);
  EXPECT_EQ(fs().RenameReplacing(At("next.txt"), At("dir")), e::kAccessDenied);
  EXPECT_EQ(Read(At("next.txt")), "next");
  // A source held open without delete sharing cannot move.
  std::unique_ptr<File> held;
  ASSERT_EQ(Open(At("next.txt"), kR, kShareRW, Disposition::kOpenExisting, &held), e::kSuccess);
  EXPECT_EQ(fs().RenameReplacing(At("next.txt"), At("free.txt")), e::kSharingViolation);
  held.reset();
  // The attributes travel with the moved file.
  ASSERT_EQ(fs().SetAttributes(At("next.txt"), file_attr::kHidden | file_attr::kSystem),
            e::kSuccess);
  ASSERT_EQ(fs().RenameReplacing(At("next.txt"), At("free.txt")), e::kSuccess);
  // (Wine adds the archive bit on the way; the rest travels as set.)
  EXPECT_EQ(Attributes(At("free.txt")) & ~file_attr::kArchive,
            file_attr::kHidden | file_attr::kSystem);
  EXPECT_EQ(Read(At("free.txt")), "next");
}

TEST_P(FileSystemContract, FlushNeedsWriteAccess) {
  const std::string path = At("flushed.txt");
  Write(path, "x");
  std::unique_ptr<File> file;
  ASSERT_EQ(Open(path, kW, file_share::kNone, Disposition::kOpenExisting, &file), e::kSuccess);
  ASSERT_EQ(file->Write("yz", 2), e::kSuccess);
  EXPECT_EQ(file->Flush(), e::kSuccess);
  file.reset();
  ASSERT_EQ(Open(path, kR, kShareR, Disposition::kOpenExisting, &file), e::kSuccess);
  EXPECT_EQ(file->Flush(), e::kAccessDenied);
  file.reset();
  EXPECT_EQ(Read(path), "yz");
}

TEST_P(FileSystemContract, SearchesListDotEntriesAndMatchMasks) {
  for (const char* name : {"a", "ab", "a.txt", "b.TXT", "noext", "x.txt.bak", "c.tx"})
    Write(At(name), "");
  ASSERT_EQ(fs().MakeDirectory(At("folder")), e::kSuccess);
  using Names = std::set<std::string>;
  const Names all = {".",     "..",    "a",         "ab",   "a.txt",
                     "b.TXT", "noext", "x.txt.bak", "c.tx", "folder"};
  SysError end = 0;
  const std::vector<std::string> listed = Search(At("*"), &end);
  EXPECT_EQ(end, e::kNoMoreFiles);
  ASSERT_GE(listed.size(), 2u);
  EXPECT_EQ(listed[0], ".");
  EXPECT_EQ(listed[1], "..");
  EXPECT_EQ(Names(listed.begin(), listed.end()), all);
  const auto star_dot_star = Search(At("*.*"));
  EXPECT_EQ(Names(star_dot_star.begin(), star_dot_star.end()), all);
  const auto txt = Search(At("*.txt"));
  EXPECT_EQ(Names(txt.begin(), txt.end()), Names({"a.txt", "b.TXT"}));
  const auto one = Search(At("?"));
  EXPECT_EQ(Names(one.begin(), one.end()), Names({".", "a"}));
  const auto prefix = Search(At("A*"));
  EXPECT_EQ(Names(prefix.begin(), prefix.end()), Names({"a", "ab", "a.txt"}));
  // "*." differs: Windows matches names without an extension, Wine every name.

  EXPECT_EQ(Search(At("*.zzz"), &end).size(), 0u);
  EXPECT_EQ(end, e::kFileNotFound);
  EXPECT_EQ(Search(At("missing\\*"), &end).size(), 0u);
  EXPECT_EQ(end, e::kPathNotFound);

  // The dot entries are folders; a search for a name finds that entry alone.
  std::unique_ptr<FindHandle> find;
  FindData data;
  ASSERT_EQ(fs().FindFirst(At("*"), &find, &data), e::kSuccess);
  EXPECT_EQ(data.attributes & file_attr::kDirectory, file_attr::kDirectory);
  EXPECT_EQ(Search(At("folder")), std::vector<std::string>{"folder"});
  EXPECT_EQ(FindOne(At("folder")).attributes, file_attr::kDirectory);
  EXPECT_EQ(Search(root()).size(), 1u);
  // Once finished, a search stays finished.
  std::unique_ptr<FindHandle> single;
  ASSERT_EQ(fs().FindFirst(At("ab"), &single, &data), e::kSuccess);
  EXPECT_EQ(single->Next(&data), e::kNoMoreFiles);
  EXPECT_EQ(single->Next(&data), e::kNoMoreFiles);
}

TEST_P(FileSystemContract, AttributesOfNewFilesAndTheirRoundTrip) {
  const std::string path = At("attr.txt");
  Write(path, "abc");
  EXPECT_EQ(Attributes(path), file_attr::kArchive);
  FindData found = FindOne(path);
  EXPECT_EQ(found.attributes, file_attr::kArchive);
  EXPECT_EQ(found.size, 3u);
  EXPECT_EQ(found.name, "attr.txt");
  // Wine keeps reporting the archive bit whatever is set; Windows reports exactly what was
  // set (and 0x80 for none). The library only reads the other bits back.
  constexpr uint32_t kKept =
      file_attr::kReadOnly | file_attr::kHidden | file_attr::kSystem | file_attr::kDirectory;
  for (uint32_t set :
       {file_attr::kReadOnly, file_attr::kHidden, file_attr::kSystem,
        file_attr::kReadOnly | file_attr::kHidden | file_attr::kSystem, file_attr::kNormal}) {
    ASSERT_EQ(fs().SetAttributes(path, set), e::kSuccess);
    EXPECT_EQ(Attributes(path) & kKept, set & kKept) << std::hex << set;
    EXPECT_EQ(FindOne(path).attributes & kKept, set & kKept) << std::hex << set;
  }
  // A folder's read-only bit is not reported back by Wine; only its kind is checked.
  ASSERT_EQ(fs().MakeDirectory(At("dir")), e::kSuccess);
  ASSERT_EQ(fs().SetAttributes(At("dir"), file_attr::kHidden), e::kSuccess);
  EXPECT_EQ(Attributes(At("dir")) & (file_attr::kDirectory | file_attr::kHidden),
            file_attr::kDirectory | file_attr::kHidden);
}

TEST_P(FileSystemContract, TimesRoundTripThroughHandlesAndSearches) {
  const std::string path = At("time.txt");
  Write(path, "t");
  // 2002-03-05 09:07:03.1234567 UTC and a day later: 100 ns precision must survive.
  const uint64_t write_time = 126597928231234567ULL;
  const uint64_t access_time = write_time + 864000000000ULL;
  {
    std::unique_ptr<File> file;
    ASSERT_EQ(Open(path, kW, 0, Disposition::kOpenExisting, &file), e::kSuccess);
    ASSERT_EQ(file->SetTimes(nullptr, &access_time, &write_time), e::kSuccess);
  }
  std::unique_ptr<File> file;
  ASSERT_EQ(Open(path, kR, kShareR, Disposition::kOpenExisting, &file), e::kSuccess);
  uint64_t got_write = 0, got_access = 0;
  ASSERT_EQ(file->GetTimes(nullptr, &got_access, &got_write), e::kSuccess);
  EXPECT_EQ(got_write, write_time);
  EXPECT_EQ(got_access, access_time);
  const FindData found = FindOne(path);
  EXPECT_EQ(found.last_write_time, write_time);
  EXPECT_EQ(found.last_access_time, access_time);
  file.reset();
  // Only the given time changes.
  const uint64_t later = write_time + 10000000ULL;
  {
    std::unique_ptr<File> writer;
    ASSERT_EQ(Open(path, kW, 0, Disposition::kOpenExisting, &writer), e::kSuccess);
    ASSERT_EQ(writer->SetTimes(nullptr, nullptr, &later), e::kSuccess);
  }
  EXPECT_EQ(FindOne(path).last_write_time, later);
  EXPECT_EQ(FindOne(path).last_access_time, access_time);
  // Wine does not store a creation time that is set, and lets a read-only handle set times;
  // neither is tested.
}

TEST_P(FileSystemContract, ShiftJisNamesKeepTrailBytesAndIgnoreCase) {
  const std::string folder = At(kHyo);  // its trail byte is 0x5C
  ASSERT_EQ(fs().MakeDirectory(folder), e::kSuccess);
  const std::string name = kSo + "\x83\x74\x83\x67.txt";  // "ソフト.txt"
  Write(folder + "\\" + name, "sjis");
  EXPECT_EQ(Read(folder + "\\" + name), "sjis");
  EXPECT_EQ(Search(folder + "\\*.txt"), std::vector<std::string>{name});
  EXPECT_EQ(Search(folder + "\\" + kSo + "*"), std::vector<std::string>{name});
  EXPECT_EQ(Search(At("*" + kHyo)), std::vector<std::string>{kHyo});
  EXPECT_EQ(Attributes(folder), file_attr::kDirectory);

  // ASCII letters match in either case, and a search reports the name as written.
  Write(At("MiXeD.TxT"), "m");
  EXPECT_EQ(Read(At("mixed.txt")), "m");
  EXPECT_EQ(Search(At("MIXED.TXT")), std::vector<std::string>{"MiXeD.TxT"});
  EXPECT_EQ(OpenError(At("MIXED.txt"), kW, 0, Disposition::kCreateNew), e::kFileExists);
  // So do full-width letters.
  Write(At(kWideUpperA + ".txt"), "w");
  EXPECT_EQ(Read(At(kWideLowerA + ".txt")), "w");
  EXPECT_EQ(Search(At(kWideLowerA + "*")), std::vector<std::string>{kWideUpperA + ".txt"});
  // A trail byte that looks like an ASCII letter is not folded: "ア" (83 41) is not "ャ"
  // (83 61).
  Write(At("\x83\x41"), "a");
  EXPECT_EQ(Attributes(At("\x83\x61")), file_attr::kInvalid);
}

TEST_P(FileSystemContract, PathsLongerThan260CharactersGive206) {
  // Counted in characters: a double-byte character is one.
  auto path_of = [&](size_t characters, const std::string& unit) {
    std::string path = At("");
    size_t count = path.size();
    while (count < characters) {
      path += unit;
      ++count;
    }
    return path;
  };
  const std::string longest = path_of(260, "a");
  const std::string too_long = path_of(261, "a");
  uint32_t attributes = 0;
  EXPECT_EQ(fs().GetAttributes(longest, &attributes), e::kFileNotFound);
  EXPECT_EQ(fs().GetAttributes(too_long, &attributes), e::kFilenameTooLong);
  EXPECT_EQ(OpenError(too_long, kW, 0, Disposition::kCreateAlways), e::kFilenameTooLong);
  EXPECT_EQ(fs().MakeDirectory(too_long), e::kFilenameTooLong);
  EXPECT_EQ(fs().RemoveFile(too_long), e::kFilenameTooLong);
  std::unique_ptr<FindHandle> find;
  FindData data;
  EXPECT_EQ(fs().FindFirst(too_long, &find, &data), e::kFilenameTooLong);
  EXPECT_EQ(fs().GetAttributes(path_of(300, "a"), &attributes), e::kFilenameTooLong);
  // 230 characters but 400 bytes and more: still short enough.
  const std::string wide = path_of(230, kSo);
  ASSERT_GT(wide.size(), 400u);
  EXPECT_EQ(fs().GetAttributes(wide, &attributes), e::kFileNotFound);
  EXPECT_EQ(fs().GetAttributes(path_of(261, kSo), &attributes), e::kFilenameTooLong);
}

TEST_P(FileSystemContract, TempFolderAndTempFileNames) {
  std::string temp;
  ASSERT_EQ(fs().TempFolder(&temp), e::kSuccess);
  ASSERT_FALSE(temp.empty());
  EXPECT_EQ(temp.back(), '\\');
  EXPECT_EQ(Attributes(temp) & file_attr::kDirectory, file_attr::kDirectory);

  std::set<std::string> names;
  for (int i = 0; i < 3; ++i) {
    std::string path;
    ASSERT_EQ(fs().MakeTempFile(root(), "qbkextra", &path), e::kSuccess);
    names.insert(path);
    // folder\ + the prefix's first three characters + hex digits + ".tmp" (Windows writes
    // the digits in upper case, Wine in lower case).
    const std::string head = root() + "\\qbk";
    ASSERT_EQ(path.compare(0, head.size(), head), 0) << path;
    const std::string tail = path.substr(head.size());
    ASSERT_GT(tail.size(), 4u);
    ASSERT_LE(tail.size(), 8u);
    EXPECT_TRUE(EqualsIgnoringAsciiCase(tail.substr(tail.size() - 4), ".tmp")) << path;
    EXPECT_EQ(tail.find_first_not_of("0123456789abcdefABCDEF"), tail.size() - 4) << path;
    const FindData found = FindOne(path);
    EXPECT_EQ(found.size, 0u);
    EXPECT_EQ(found.attributes & file_attr::kDirectory, 0u);
  }
  EXPECT_EQ(names.size(), 3u);
  std::string path;
  EXPECT_EQ(fs().MakeTempFile(At("missing"), "qbk", &path), e::kDirectoryInvalid);
  Write(At("file"), "");
  EXPECT_EQ(fs().MakeTempFile(At("file"), "qbk", &path), e::kDirectoryInvalid);
  EXPECT_EQ(fs().MakeTempFile(At(std::string(300, 'd')), "qbk", &path), e::kFilenameTooLong);
}

QBRK_CONTRACT_FOR(Twin, FileSystemContract, FileSystemUnderTest, TwinFileSystem);
#ifdef _WIN32
QBRK_CONTRACT_FOR(Win32, FileSystemContract, FileSystemUnderTest, Win32FileSystemUnderTest);
#endif

}  // namespace
}  // namespace qbrk
