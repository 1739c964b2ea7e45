// An ordered list of pointers whose nodes come from blocks of ten, so that a folder of many
// entries costs one allocation per ten entries. A position is a node: it stays valid until
// its own removal, which lets an entry find its successor without a search.
#pragma once

#include <cstddef>
#include <new>

namespace qbrk {

template <typename T>
class PtrList {
 public:
  struct Node {
    Node* prev;
    Node* next;
    T* item;
  };
  using Position = Node*;

  PtrList() = default;
  ~PtrList() { RemoveAll(); }
  PtrList(const PtrList&) = delete;
  PtrList& operator=(const PtrList&) = delete;

  // Appends `item`; the new position, or null when no node could be allocated.
  Position AddTail(T* item) noexcept {
    Node* node = NewNode();
    if (!node) return nullptr;
    node->item = item;
    node->prev = tail_;
    node->next = nullptr;
    (tail_ ? tail_->next : head_) = node;
    tail_ = node;
    ++count_;
    return node;
  }

  // Unlinks the node; the item itself is the caller's.
  void RemoveAt(Position node) noexcept {
    (node->prev ? node->prev->next : head_) = node->next;
    (node->next ? node->next->prev : tail_) = node->prev;
    node->next = free_;
    free_ = node;
    --count_;
  }

  // Forgets every node and releases the blocks.
  void RemoveAll() noexcept {
    while (blocks_) {
      Block* next = blocks_->next;
      delete blocks_;
      blocks_ = next;
    }
    head_ = tail_ = free_ = nullptr;
    count_ = 0;
  }

  Position head() const { return head_; }
  static Position Next(Position node) { return node ? node->next : nullptr; }
  size_t size() const { return count_; }
  bool empty() const { return count_ == 0; }

 private:
  static constexpr int kBlockNodes = 10;
  struct Block {
    Block* next;
    Node nodes[kBlockNodes];
  };

  Node* NewNode() noexcept {
    if (!free_) {
      Block* block = new (std::nothrow) Block;
      if (!block) return nullptr;
      block->next = blocks_;
      blocks_ = block;
      for (int i = kBlockNodes - 1; i >= 0; --i) {
        block->nodes[i].next = free_;
        free_ = &block->nodes[i];
      }
    }
    Node* node = free_;
    free_ = node->next;
    return node;
  }

  Node* head_ = nullptr;
  Node* tail_ = nullptr;
  Node* free_ = nullptr;
  Block* blocks_ = nullptr;
  size_t count_ = 0;
};

}  // namespace qbrk
