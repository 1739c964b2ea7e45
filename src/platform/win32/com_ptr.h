// RAII for COM: an owning interface pointer that releases on every path, and a scope that
// balances CoInitialize with CoUninitialize when (and only when) the initialisation counted.
#pragma once

#include <objbase.h>

#include <utility>

namespace qbrk {

template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    if (this != &other) {
      reset();
      pointer_ = std::exchange(other.pointer_, nullptr);
    }
    return *this;
  }
  ~ComPtr() { reset(); }

  Interface* get() const { return pointer_; }
  Interface* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }
  void reset() {
    if (pointer_) std::exchange(pointer_, nullptr)->Release();
  }
  // For CoCreateInstance and QueryInterface, which hand the pointer back as void**.
  void** put_void() {
    reset();
    return reinterpret_cast<void**>(&pointer_);
  }

  // QueryInterface for `Other`; empty on failure, with the HRESULT in `*result`.
  template <typename Other>
  ComPtr<Other> As(REFIID iid, HRESULT* result) const {
    ComPtr<Other> other;
    *result = pointer_ ? pointer_->QueryInterface(iid, other.put_void()) : E_POINTER;
    return other;
  }

 private:
  Interface* pointer_ = nullptr;
};

// CoInitialize for the current thread for the scope's life. A thread already initialised
// in another apartment model (RPC_E_CHANGED_MODE) keeps working and is not uninitialised.
class ComScope {
 public:
  ComScope() : result_(CoInitialize(nullptr)) {}
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;
  ~ComScope() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  // False only when COM cannot be used on this thread at all.
  bool usable() const { return SUCCEEDED(result_) || result_ == RPC_E_CHANGED_MODE; }

 private:
  HRESULT result_;
};

}  // namespace qbrk
