// RAII owners of Win32 handles: one template parameterised by a traits type that names the
// handle's invalid value and its close function, with an alias per handle kind. Closing
// keeps GetLastError() intact, so a failure can be read after its handles are gone.
#pragma once

#include <windows.h>
#include <wininet.h>

#include <utility>

namespace qbrk {

template <typename Traits>
class UniqueHandle {
 public:
  using Type = typename Traits::Type;

  UniqueHandle() = default;
  explicit UniqueHandle(Type value) : value_(value) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  UniqueHandle(UniqueHandle&& other) noexcept : value_(other.release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~UniqueHandle() { reset(); }

  Type get() const { return value_; }
  explicit operator bool() const { return value_ != Traits::Invalid(); }
  Type release() { return std::exchange(value_, Traits::Invalid()); }
  void reset(Type value = Traits::Invalid()) {
    if (value_ != Traits::Invalid()) {
      const DWORD saved = GetLastError();
      Traits::Close(value_);
      SetLastError(saved);
    }
    value_ = value;
  }
  // For APIs that hand the handle back through a pointer.
  Type* put() {
    reset();
    return &value_;
  }

 private:
  Type value_ = Traits::Invalid();
};

namespace handle_traits {
template <typename T, T (*InvalidValue)(), void (*CloseFunction)(T)>
struct Basic {
  using Type = T;
  static Type Invalid() { return InvalidValue(); }
  static void Close(Type value) { CloseFunction(value); }
};
inline HANDLE NullHandle() { return nullptr; }
inline HANDLE InvalidHandle() { return INVALID_HANDLE_VALUE; }
inline void CloseKernel(HANDLE h) { CloseHandle(h); }
inline void CloseFind(HANDLE h) { FindClose(h); }
inline HKEY NullKey() { return nullptr; }
inline void CloseKey(HKEY k) { RegCloseKey(k); }
inline HINTERNET NullInternet() { return nullptr; }
inline void CloseInternet(HINTERNET h) { InternetCloseHandle(h); }
inline HMODULE NullModule() { return nullptr; }
inline void ReleaseModule(HMODULE m) { FreeLibrary(m); }
inline HICON NullIcon() { return nullptr; }
inline void CloseIcon(HICON i) { DestroyIcon(i); }
inline HGDIOBJ NullGdiObject() { return nullptr; }
inline void CloseGdiObject(HGDIOBJ o) { DeleteObject(o); }
}  // namespace handle_traits

using UniqueFile = UniqueHandle<
    handle_traits::Basic<HANDLE, handle_traits::InvalidHandle, handle_traits::CloseKernel>>;
using UniqueKernelHandle = UniqueHandle<
    handle_traits::Basic<HANDLE, handle_traits::NullHandle, handle_traits::CloseKernel>>;
using UniqueEvent = UniqueKernelHandle;
using UniqueMutex = UniqueKernelHandle;
using UniqueThread = UniqueKernelHandle;
using UniqueProcess = UniqueKernelHandle;
using UniqueFind = UniqueHandle<
    handle_traits::Basic<HANDLE, handle_traits::InvalidHandle, handle_traits::CloseFind>>;
using UniqueKey =
    UniqueHandle<handle_traits::Basic<HKEY, handle_traits::NullKey, handle_traits::CloseKey>>;
using UniqueInternet = UniqueHandle<
    handle_traits::Basic<HINTERNET, handle_traits::NullInternet, handle_traits::CloseInternet>>;
using UniqueModule = UniqueHandle<
    handle_traits::Basic<HMODULE, handle_traits::NullModule, handle_traits::ReleaseModule>>;
using UniqueIcon =
    UniqueHandle<handle_traits::Basic<HICON, handle_traits::NullIcon, handle_traits::CloseIcon>>;
using UniqueGdiObject = UniqueHandle<
    handle_traits::Basic<HGDIOBJ, handle_traits::NullGdiObject, handle_traits::CloseGdiObject>>;

}  // namespace qbrk
