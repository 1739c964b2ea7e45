// The library's result codes: 0 success, 1 stopped by the user (never shown), the rest
// failures. Every operation that can fail returns one; the error reporter turns them into
// messages.
#pragma once

#include <cstdint>

namespace qbrk {

using ResultCode = uint32_t;

namespace result {
inline constexpr ResultCode kSuccess = 0;
inline constexpr ResultCode kCancelled = 1;
inline constexpr ResultCode kNoMemory = 2;
inline constexpr ResultCode kMisuse = 3;  // no request open, missing tree or argument

// Local removals and creations during execution.
inline constexpr ResultCode kLocalFolderNotRemoved = 21;
inline constexpr ResultCode kLocalFileNotDeleted = 22;
inline constexpr ResultCode kLocalFolderNotCreated = 23;

// Each protocol operation's own failure, replacing the general 500.
inline constexpr ResultCode kDeleteFailed = 41;
inline constexpr ResultCode kMkcolFailed = 42;
inline constexpr ResultCode kUploadFailed = 43;
inline constexpr ResultCode kDownloadFailed = 44;
inline constexpr ResultCode kSetTimeFailed = 45;
inline constexpr ResultCode kHeadNotSent = 46;
inline constexpr ResultCode kEmptyFolderFailed = 47;
inline constexpr ResultCode kLockFailed = 48;
inline constexpr ResultCode kUnlockFailed = 49;
inline constexpr ResultCode kServerCheckFailed = 50;
inline constexpr ResultCode kUploadNotSent = 51;
inline constexpr ResultCode kDownloadNotSent = 52;
inline constexpr ResultCode kListingFailed = 53;
inline constexpr ResultCode kQuotaFailed = 54;
inline constexpr ResultCode kLockDiscoveryFailed = 55;
inline constexpr ResultCode kSizeFailed = 56;
inline constexpr ResultCode kDiskLockDiscoveryFailed = 57;

// HTTP statuses and network failures.
inline constexpr ResultCode kServerDiskFull = 71;      // 507
inline constexpr ResultCode kNameTooLong = 72;         // 414
inline constexpr ResultCode kNotFound = 73;            // 404, 409
inline constexpr ResultCode kCannotConnect = 74;       // 12007, 12029
inline constexpr ResultCode kAuthFailed = 75;          // 401
inline constexpr ResultCode kVersionMismatch = 76;     // X-HV-VFS-Version
inline constexpr ResultCode kLockedByOther = 77;       // 423
inline constexpr ResultCode kConnectionBroken = 78;    // 12030, 12031
inline constexpr ResultCode kTimeout = 79;             // 12002
inline constexpr ResultCode kServerBusy = 80;          // 503
inline constexpr ResultCode kProxyAuthRequired = 81;   // 407 at connect

// Local file system.
inline constexpr ResultCode kLocalPathTooLong = 91;    // 206, 3
inline constexpr ResultCode kLocalNameTooLong = 92;
inline constexpr ResultCode kLocalDiskFull = 93;       // 112
inline constexpr ResultCode kLocalFileInUse = 94;      // 32, 5
inline constexpr ResultCode kFolderUnusable = 95;
inline constexpr ResultCode kMirrorOrCredentialsMissing = 96;
inline constexpr ResultCode kSignInNeeded = 97;
inline constexpr ResultCode kOldCopyNotDeleted = 98;
inline constexpr ResultCode kFileBlocksFolder = 99;

// Publishing commands (PUBT, PUBF, PUBQ, PTIM, PURL, PSDS, PGDS).
inline constexpr ResultCode kPubtFailed = 111;
inline constexpr ResultCode kPubfFailed = 112;
inline constexpr ResultCode kPubqFailed = 113;
inline constexpr ResultCode kPtimFailed = 114;
inline constexpr ResultCode kPurlFailed = 115;
inline constexpr ResultCode kPsdsFailed = 116;
inline constexpr ResultCode kPgdsFailed = 117;

// Publishing job.
inline constexpr ResultCode kAlreadyPublished = 131;
inline constexpr ResultCode kPublishFailed = 132;
inline constexpr ResultCode kUnpublishFailed = 133;
inline constexpr ResultCode kDisplayNameFailed = 134;
inline constexpr ResultCode kPublishNeedsSync = 135;
inline constexpr ResultCode kUnpublishNeedsSync = 136;
inline constexpr ResultCode kFileAddressNeedsSync = 137;

// The local table file.
inline constexpr ResultCode kTableOpenFailed = 151;
inline constexpr ResultCode kTableReadFailed = 152;
inline constexpr ResultCode kTableUnrecognised = 153;
inline constexpr ResultCode kTableWriteFailed = 154;
inline constexpr ResultCode kTableResetFailed = 155;

inline constexpr ResultCode kGeneralFailure = 500;
}  // namespace result

}  // namespace qbrk
