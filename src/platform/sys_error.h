// Win32 error numbers: the common language of every platform seam.
#pragma once

#include <cstdint>

namespace qbrk {

// A GetLastError() value; 0 is success.
using SysError = uint32_t;

namespace sys_error {
inline constexpr SysError kSuccess = 0;
inline constexpr SysError kFileNotFound = 2;
inline constexpr SysError kPathNotFound = 3;
inline constexpr SysError kAccessDenied = 5;
inline constexpr SysError kInvalidHandle = 6;
inline constexpr SysError kNotEnoughMemory = 8;
inline constexpr SysError kNoMoreFiles = 18;
inline constexpr SysError kSharingViolation = 32;
inline constexpr SysError kHandleEof = 38;
inline constexpr SysError kFileExists = 80;
inline constexpr SysError kInvalidParameter = 87;
inline constexpr SysError kDiskFull = 112;
inline constexpr SysError kInsufficientBuffer = 122;
inline constexpr SysError kInvalidName = 123;
inline constexpr SysError kDirNotEmpty = 145;
inline constexpr SysError kDirectoryInvalid = 267;
inline constexpr SysError kNegativeSeek = 131;
inline constexpr SysError kBadPathname = 161;
inline constexpr SysError kAlreadyExists = 183;
inline constexpr SysError kFilenameTooLong = 206;
inline constexpr SysError kMoreData = 234;
inline constexpr SysError kNoMoreItems = 259;
}  // namespace sys_error

}  // namespace qbrk
