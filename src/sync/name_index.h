// A hash index beside a folder's ordered list, so that finding a name does not walk a large
// folder. Names match byte for byte (case-sensitive), as the list's own search does, and a
// find answers the first item of that name in list order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qbrk {

// Hash of a name's bytes (FNV-1a).
uint64_t HashName(std::string_view name);

// Open addressing with linear probing over item pointers; `Key` gives an item's name.
// An item whose name is already indexed is not indexed again (the earlier one is the answer
// of a find); removing the indexed one then makes the index stale, and the owner rebuilds it.
template <typename T, std::string_view (*Key)(const T*)>
class NameIndex {
 public:
  NameIndex() = default;
  ~NameIndex() { delete[] slots_; }
  NameIndex(const NameIndex&) = delete;
  NameIndex& operator=(const NameIndex&) = delete;

  bool active() const { return slots_ != nullptr; }
  bool stale() const { return stale_; }

  // Drops the index; the owner falls back to its list until it builds one again.
  void Clear() noexcept {
    delete[] slots_;
    slots_ = nullptr;
    capacity_ = count_ = 0;
    shadowed_ = 0;
    stale_ = false;
  }

  // Prepares room for `expected` items; false when memory ran out (the index is then off).
  bool Reserve(size_t expected) noexcept {
    Clear();
    size_t capacity = 16;
    while (capacity < expected * 2) capacity *= 2;
    slots_ = new (std::nothrow) T*[capacity]();
    if (!slots_) return false;
    capacity_ = capacity;
    return true;
  }

  // Adds an item appended to the list; false when the index had to be dropped.
  bool Insert(T* item) noexcept {
    if (!slots_) return false;
    if ((count_ + 1) * 2 > capacity_ && !Grow()) return false;
    const std::string_view name = Key(item);
    size_t i = HashName(name) & (capacity_ - 1);
    while (slots_[i]) {
      if (Key(slots_[i]) == name) {
        ++shadowed_;  // a later item of the same name: the first stays the answer
        return true;
      }
      i = (i + 1) & (capacity_ - 1);
    }
    slots_[i] = item;
    ++count_;
    return true;
  }

  // Forgets an item that leaves the list.
  void Erase(const T* item) noexcept {
    if (!slots_) return;
    size_t i = HashName(Key(item)) & (capacity_ - 1);
    while (slots_[i] && slots_[i] != item) i = (i + 1) & (capacity_ - 1);
    if (!slots_[i]) {
      if (shadowed_ > 0) --shadowed_;  // it was a shadowed duplicate
      return;
    }
    if (shadowed_ > 0) stale_ = true;  // a duplicate behind it must become the answer
    // Backward-shift deletion keeps every probe chain whole without tombstones.
    size_t hole = i;
    for (size_t j = (i + 1) & (capacity_ - 1); slots_[j]; j = (j + 1) & (capacity_ - 1)) {
      const size_t home = HashName(Key(slots_[j])) & (capacity_ - 1);
      const bool movable = hole <= j ? (home <= hole || home > j) : (home <= hole && home > j);
      if (movable) {
        slots_[hole] = slots_[j];
        hole = j;
      }
    }
    slots_[hole] = nullptr;
    --count_;
  }

  T* Find(std::string_view name) const {
    size_t i = HashName(name) & (capacity_ - 1);
    for (; slots_[i]; i = (i + 1) & (capacity_ - 1))
      if (Key(slots_[i]) == name) return slots_[i];
    return nullptr;
  }

 private:
  bool Grow() noexcept {
    T** old = slots_;
    const size_t old_capacity = capacity_;
    T** grown = new (std::nothrow) T*[old_capacity * 2]();
    if (!grown) {
      Clear();
      return false;
    }
    slots_ = grown;
    capacity_ = old_capacity * 2;
    count_ = 0;
    for (size_t k = 0; k < old_capacity; ++k) {
      if (!old[k]) continue;
      size_t i = HashName(Key(old[k])) & (capacity_ - 1);
      while (slots_[i]) i = (i + 1) & (capacity_ - 1);
      slots_[i] = old[k];
      ++count_;
    }
    delete[] old;
    return true;
  }

  T** slots_ = nullptr;
  size_t capacity_ = 0;
  size_t count_ = 0;
  size_t shadowed_ = 0;
  bool stale_ = false;
};

}  // namespace qbrk
