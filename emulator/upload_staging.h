// Files uploaded in pieces ("Content-Range") while they are incomplete.
//
// The pieces of one upload are gathered in a staging file of the data folder, not in the
// resource: until the last piece arrives, everyone keeps seeing the resource as it was
// (or nothing, for a new one). Each upload belongs to the lock token it was sent under;
// when that lock is released or expires, or the resource is deleted, the unfinished
// upload is thrown away. A first piece (offset 0) always starts afresh, which is how the
// client retries an upload that failed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk::emulator {

struct StagedUpload {
  std::string token;
  std::string user;
  std::string rel;
  uint64_t total = 0;
  uint64_t received = 0;  // the next piece must start here
  std::string file;       // the staging file
  bool busy = false;      // a piece is being written into it now
};

class UploadStaging {
 public:
  UploadStaging() = default;
  UploadStaging(const UploadStaging&) = delete;
  UploadStaging& operator=(const UploadStaging&) = delete;
  ~UploadStaging();

  StagedUpload* Find(std::string_view token, std::string_view user, std::string_view rel);
  // Records a new upload whose first piece is in file, replacing an earlier one.
  StagedUpload& Start(StagedUpload upload);
  // Forgets the upload; its staging file is deleted unless it was installed.
  void Forget(const StagedUpload* upload, bool delete_file);
  void DropToken(std::string_view token);
  void DropInside(std::string_view user, std::string_view rel);
  size_t size() const { return uploads_.size(); }

 private:
  std::vector<StagedUpload> uploads_;
};

}  // namespace qbrk::emulator
