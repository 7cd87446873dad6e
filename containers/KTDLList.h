#pragma once

#include <utility>

#include "containers/KTDLListNode.h"

/**
 * A doubly linked list around a sentinel node: head.next is the first element's node, head.prev the
 * last one's, and both are the sentinel itself in an empty list.
 *
 * Owns: its nodes and the values in them.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
template <typename T>
class KTDLList {
 public:
  using Node = KTDLListNode<T>;

  /** Walks the values from the first to the last; valid while its node stays in the list. */
  template <typename N, typename V>
  class Walk {
   public:
    explicit Walk(N* node) : node_(node) {}
    V& operator*() const { return node_->value; }
    Walk& operator++() {
      node_ = node_->next;
      return *this;
    }
    bool operator!=(const Walk& other) const { return node_ != other.node_; }

   private:
    N* node_;
  };

  Node head;               // sentinel; its value is never handed out
  unsigned int count = 0;  // element nodes

  KTDLList() = default;
  KTDLList(const KTDLList& other) { appendAll(other); }
  KTDLList& operator=(const KTDLList& other) {
    if (this != &other) {
      clear();
      appendAll(other);
    }
    return *this;
  }
  virtual ~KTDLList() { clear(); }

  /** Adds a copy at the tail and returns its node. */
  Node* append(T value) { return link(new Node(std::move(value)), &head); }
  /** Adds a copy at the head and returns its node. */
  Node* prepend(T value) { return link(new Node(std::move(value)), head.next); }
  /** Unlinks and frees a node of this list. */
  void remove(Node* node) {
    node->prev->next = node->next;
    node->next->prev = node->prev;
    --count;
    delete node;
  }
  void clear() {
    while (count != 0) remove(head.next);
  }

  [[nodiscard]] bool empty() const { return count == 0; }
  [[nodiscard]] auto begin() { return Walk<Node, T>(head.next); }
  [[nodiscard]] auto end() { return Walk<Node, T>(&head); }
  [[nodiscard]] auto begin() const { return Walk<const Node, const T>(head.next); }
  [[nodiscard]] auto end() const { return Walk<const Node, const T>(&head); }

 private:
  Node* link(Node* node, Node* before) {
    node->prev = before->prev;
    node->next = before;
    before->prev->next = node;
    before->prev = node;
    ++count;
    return node;
  }

  void appendAll(const KTDLList& other) {
    for (const T& value : other) append(value);
  }
};
