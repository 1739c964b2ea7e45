#include "upload_staging.h"

#include <unistd.h>

#include "core/disk_path.h"

namespace qbrk::emulator {

UploadStaging::~UploadStaging() {
  for (const StagedUpload& u : uploads_)
    ::unlink(u.file.c_str());
}

StagedUpload* UploadStaging::Find(std::string_view token, std::string_view user,
                                  std::string_view rel) {
  for (StagedUpload& u : uploads_) {
    if (u.token == token && u.user == user && u.rel == rel) return &u;
  }
  return nullptr;
}

StagedUpload& UploadStaging::Start(StagedUpload upload) {
  if (StagedUpload* old = Find(upload.token, upload.user, upload.rel)) Forget(old, true);
  uploads_.push_back(std::move(upload));
  return uploads_.back();
}

void UploadStaging::Forget(const StagedUpload* upload, bool delete_file) {
  for (auto it = uploads_.begin(); it != uploads_.end(); ++it) {
    if (&*it != upload) continue;
    if (delete_file) ::unlink(it->file.c_str());
    uploads_.erase(it);
    return;
  }
}

void UploadStaging::DropToken(std::string_view token) {
  std::erase_if(uploads_, [&](const StagedUpload& u) {
    if (u.token != token) return false;
    ::unlink(u.file.c_str());
    return true;
  });
}

void UploadStaging::DropInside(std::string_view user, std::string_view rel) {
  std::erase_if(uploads_, [&](const StagedUpload& u) {
    if (u.user != user || !IsWithin(u.rel, rel)) return false;
    ::unlink(u.file.c_str());
    return true;
  });
}

}  // namespace qbrk::emulator
