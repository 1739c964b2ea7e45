// The publishing servlet: short text commands sent by POST that make folders of the user's
// disk public as web pages. `path` is the folder's server path as the caller gives it.
// Each command's unmapped failures give its own code (111 to 117); a 2xx answer other than
// the command's success status gives 0 and leaves the answer untouched.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "protocol/publishing_answers.h"
#include "protocol/server_session.h"

namespace qbrk {

ResultCode Publish(ServerSession& session, const std::string& path);    // PUBT, 204
ResultCode Unpublish(ServerSession& session, const std::string& path);  // PUBF, 204
// PUBQ, 200: published when the body holds "true".
ResultCode QueryPublished(ServerSession& session, const std::string& path, bool* published);
// PTIM, 200: the body is an HTTP date; an unreadable one gives 114.
ResultCode QueryPublishedSince(ServerSession& session, const std::string& path,
                               uint64_t* file_time);
// PURL, 200: the whole body is the public address.
ResultCode QueryPublicAddress(ServerSession& session, const std::string& path,
                              std::string* address);
// PSDS, 204.
ResultCode SetDisplaySetting(ServerSession& session, const std::string& path,
                             const DisplaySetting& setting);
// PGDS, 200: "mail" or "custom" and the name after the last line feed; another body gives 117.
ResultCode QueryDisplaySetting(ServerSession& session, const std::string& path,
                               DisplaySetting* setting);

}  // namespace qbrk
