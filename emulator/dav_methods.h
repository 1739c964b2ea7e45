// The WebDAV methods on an account's disk. Each runs with the state's mutex held, after
// the request body has arrived; PUT streams its body and is an exchange of its own.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/dav_headers.h"
#include "core/folder_page.h"
#include "dav_request.h"
#include "exchange.h"

namespace qbrk::emulator {

Response DavOptions(DavRequest& request, std::string body);
Response DavGet(DavRequest& request, std::string body);
Response DavPropfind(DavRequest& request, std::string body);
Response DavProppatch(DavRequest& request, std::string body);
Response DavMkcol(DavRequest& request, std::string body);
Response DavDelete(DavRequest& request, std::string body);
Response DavCopy(DavRequest& request, std::string body);
Response DavMove(DavRequest& request, std::string body);
Response DavLock(DavRequest& request, std::string body);
Response DavUnlock(DavRequest& request, std::string body);

// Takes state.mu itself.
std::unique_ptr<Exchange> BeginPut(std::shared_ptr<DavRequest> request);

// The members of a folder for its HTML index (core/folder_page.h), by name.
std::vector<FolderPageEntry> FolderPageEntries(const DiskStore& disk, std::string_view rel);

}  // namespace qbrk::emulator
