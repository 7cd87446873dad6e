#pragma once

#include <utility>

/** One element of a KTDLList with its neighbours; the list's sentinel is a node as well. */
template <typename T>
class KTDLListNode {
 public:
  KTDLListNode* prev = this;
  KTDLListNode* next = this;
  T value{};

  KTDLListNode() = default;
  explicit KTDLListNode(T v) : value(std::move(v)) {}
  KTDLListNode(const KTDLListNode&) = delete;
  KTDLListNode& operator=(const KTDLListNode&) = delete;
  virtual ~KTDLListNode() = default;
};
