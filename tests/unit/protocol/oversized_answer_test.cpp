// An XML answer is spooled to a file and read back whole: one larger than this process can
// hold fails the operation with its own code, whatever the build's pointer width.
#include "protocol/listing.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::FileProps;
using testing::Multistatus;

// A file that says it is `size` bytes long, whatever it holds.
class OverstatedFile final : public File {
 public:
  OverstatedFile(std::unique_ptr<File> file, uint64_t size) : file_(std::move(file)), size_(size) {}
  SysError Read(void* buffer, uint32_t size, uint32_t* read) override {
    return file_->Read(buffer, size, read);
  }
  SysError Write(const void* data, uint32_t size) override { return file_->Write(data, size); }
  SysError Seek(int64_t offset, SeekOrigin origin, uint64_t* position) override {
    return file_->Seek(offset, origin, position);
  }
  SysError GetSize(uint64_t* size) override {
    *size = size_;
    return sys_error::kSuccess;
  }
  SysError SetTimes(const uint64_t* creation, const uint64_t* last_access,
                    const uint64_t* last_write) override {
    return file_->SetTimes(creation, last_access, last_write);
  }
  SysError GetTimes(uint64_t* creation, uint64_t* last_access, uint64_t* last_write) override {
    return file_->GetTimes(creation, last_access, last_write);
  }
  SysError SetEnd() override { return file_->SetEnd(); }

 private:
  std::unique_ptr<File> file_;
  uint64_t size_;
};

// The twin, except that every file it opens claims `size` bytes.
class OverstatingFileSystem final : public FileSystem {
 public:
  OverstatingFileSystem(FileSystem& files, uint64_t size) : files_(files), size_(size) {}
  SysError OpenFile(const std::string& path, uint32_t access, uint32_t share,
                    Disposition disposition, std::unique_ptr<File>* file) override {
    const SysError e = files_.OpenFile(path, access, share, disposition, file);
    if (e == sys_error::kSuccess) *file = std::make_unique<OverstatedFile>(std::move(*file), size_);
    return e;
  }
  SysError FindFirst(const std::string& pattern, std::unique_ptr<FindHandle>* find,
                     FindData* first) override {
    return files_.FindFirst(pattern, find, first);
  }
  SysError GetAttributes(const std::string& path, uint32_t* attributes) override {
    return files_.GetAttributes(path, attributes);
  }
  SysError SetAttributes(const std::string& path, uint32_t attributes) override {
    return files_.SetAttributes(path, attributes);
  }
  SysError MakeDirectory(const std::string& path) override { return files_.MakeDirectory(path); }
  SysError RemoveEmptyDirectory(const std::string& path) override {
    return files_.RemoveEmptyDirectory(path);
  }
  SysError RemoveFile(const std::string& path) override { return files_.RemoveFile(path); }
  SysError Rename(const std::string& from, const std::string& to) override {
    return files_.Rename(from, to);
  }
  SysError TempFolder(std::string* path) override { return files_.TempFolder(path); }
  SysError MakeTempFile(const std::string& folder, const std::string& prefix,
                        std::string* path) override {
    return files_.MakeTempFile(folder, prefix, path);
  }

 private:
  FileSystem& files_;
  uint64_t size_;
};

class OversizedAnswerTest : public testing::ProtocolTest {};

TEST_F(OversizedAnswerTest, AListingTooBigToHoldIsTheListingsFailure) {
  // 4 GiB is the reader's own limit; a string holds less than that in a 32-bit build, where
  // the size used to reach resize and throw.
  const uint64_t past_a_string = uint64_t{std::string().max_size()} + 1;
  for (uint64_t claimed : {uint64_t{UINT32_MAX}, past_a_string}) {
    SCOPED_TRACE(claimed);
    OverstatingFileSystem files(files_, claimed);
    Env env{files, registry_, clock_, host_, shell_, strings_};
    ServerSession session(env, http_, &link_, {});
    ASSERT_EQ(session.OpenSession(testing::kHost, 80, testing::kUser, testing::kPassword), 0u);
    http_.Script(207, "", Multistatus(DavResponse("/r/", "") + DavResponse("/r/a", FileProps(3))));
    const Listing* listing = nullptr;
    EXPECT_EQ(ListFolder(session, "/r/", &listing), 53u);
    EXPECT_EQ(listing, nullptr);
    EXPECT_EQ(files_.List("C:\\TEMP").size(), 0u) << "the spooled answer is removed";
  }
}

}  // namespace
}  // namespace qbrk
