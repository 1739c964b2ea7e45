#include "platform/win32/ras_dial_up.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/win32/unique_handle.h"

namespace qbrk {

namespace {

// The oldest layouts of RASCONNA and RASCONNSTATUSA: every version of the service accepts
// them, and the library needs no field added later.
struct RasConnEntry {
  DWORD dwSize;
  HANDLE hrasconn;
  char szEntryName[257];
  char szDeviceType[17];
  char szDeviceName[129];
};
struct RasConnStatus {
  DWORD dwSize;
  DWORD rasconnstate;
  DWORD dwError;
  char szDeviceType[17];
  char szDeviceName[129];
};

// The sizes the 32-bit service checks in dwSize.
static_assert(sizeof(void*) != 4 || sizeof(RasConnEntry) == 412);
static_assert(sizeof(RasConnStatus) == 160);

using EnumConnectionsFn = DWORD(WINAPI*)(RasConnEntry*, DWORD*, DWORD*);
using HangUpFn = DWORD(WINAPI*)(HANDLE);
using GetConnectStatusFn = DWORD(WINAPI*)(HANDLE, RasConnStatus*);

constexpr DWORD kBufferTooSmall = 603;
// No machine has this many dial-up connections; a larger size is a broken answer.
constexpr DWORD kMostEntries = 256;

template <typename Fn>
Fn Entry(HMODULE module, const char* name) {
  return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

class RasDialUp final : public DialUp {
 public:
  RasDialUp(UniqueModule module, EnumConnectionsFn enumerate, HangUpFn hang_up,
            GetConnectStatusFn status)
      : module_(std::move(module)), enumerate_(enumerate), hang_up_(hang_up), status_(status) {}

  SysError Enumerate(std::vector<DialUpEntry>* entries) override {
    entries->clear();
    std::vector<RasConnEntry> buffer(1);
    DWORD bytes = sizeof(RasConnEntry);
    DWORD count = 0;
    buffer[0].dwSize = sizeof(RasConnEntry);
    DWORD result = enumerate_(buffer.data(), &bytes, &count);
    if (result == kBufferTooSmall || result == ERROR_NOT_ENOUGH_MEMORY) {
      const DWORD wanted = std::clamp<DWORD>(
          (bytes + sizeof(RasConnEntry) - 1) / sizeof(RasConnEntry), 1, kMostEntries);
      buffer.assign(wanted, RasConnEntry{});
      for (RasConnEntry& entry : buffer)
        entry.dwSize = sizeof(RasConnEntry);
      bytes = static_cast<DWORD>(wanted * sizeof(RasConnEntry));
      count = 0;
      result = enumerate_(buffer.data(), &bytes, &count);
    }
    if (result != 0) return result;
    count = std::min<DWORD>(count, static_cast<DWORD>(buffer.size()));
    for (DWORD i = 0; i < count; ++i) {
      const RasConnEntry& entry = buffer[i];
      const size_t length = strnlen(entry.szEntryName, sizeof(entry.szEntryName));
      entries->push_back(
          {reinterpret_cast<uintptr_t>(entry.hrasconn), std::string(entry.szEntryName, length)});
    }
    return 0;
  }

  SysError HangUp(uintptr_t handle) override { return hang_up_(reinterpret_cast<HANDLE>(handle)); }

  SysError ConnectStatus(uintptr_t handle) override {
    RasConnStatus status{};
    status.dwSize = sizeof(status);
    return status_(reinterpret_cast<HANDLE>(handle), &status);
  }

 private:
  UniqueModule module_;
  EnumConnectionsFn enumerate_;
  HangUpFn hang_up_;
  GetConnectStatusFn status_;
};

}  // namespace

std::unique_ptr<DialUp> RasDialUpLoader::Load() {
  // No "insert a disk" or "file not found" box may interrupt a job when the library is absent.
  const UINT previous = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  UniqueModule module(LoadLibraryA("rasapi32.dll"));
  SetErrorMode(previous);
  if (!module) return nullptr;
  const auto enumerate = Entry<EnumConnectionsFn>(module.get(), "RasEnumConnectionsA");
  const auto hang_up = Entry<HangUpFn>(module.get(), "RasHangUpA");
  const auto status = Entry<GetConnectStatusFn>(module.get(), "RasGetConnectStatusA");
  if (enumerate == nullptr || hang_up == nullptr || status == nullptr) return nullptr;
  return std::make_unique<RasDialUp>(std::move(module), enumerate, hang_up, status);
}

}  // namespace qbrk
