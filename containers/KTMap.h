#pragma once

#include "containers/KTDLList.h"
#include "containers/KTMapPair.h"

/**
 * An association list: pairs in the order of their insertion, every lookup a walk from the first.
 *
 * Owns: its pairs.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: a read-only lookup of a missing key answers the empty value.
 */
template <typename K, typename V>
class KTMap {
 public:
  using Node = KTDLListNode<KTMapPair<K, V>>;

  KTDLList<KTMapPair<K, V>> list;
  const Node* end = &list.head;  // end of every walk

  KTMap() = default;
  KTMap(const KTMap& other) : list(other.list) {}
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the list looks for itself
  KTMap& operator=(const KTMap& other) {
    list = other.list;
    return *this;
  }
  virtual ~KTMap() = default;

  /** What a read-only lookup answers for a missing key. */
  [[nodiscard]] static const V& emptyValue() {
    static const V empty{};
    return empty;
  }

  /** The value of the first pair with this key; a missing key is added at the tail. */
  [[nodiscard]] V& operator[](const K& key) {
    if (Node* node = find(key)) return node->value.second;
    return list.append(KTMapPair<K, V>(key, V{}))->value.second;
  }

  /** The value of the first pair with this key, or the empty value. Never inserts. */
  [[nodiscard]] const V& operator[](const K& key) const {
    const Node* node = const_cast<KTMap*>(this)->find(key);
    return node == nullptr ? emptyValue() : node->value.second;
  }

  [[nodiscard]] bool contains(const K& key) const {
    return const_cast<KTMap*>(this)->find(key) != nullptr;
  }

  [[nodiscard]] unsigned int count() const { return list.count; }

  /** Removes every pair with this key. */
  void remove(K key) {
    for (Node* node = list.head.next; node != end;) {
      Node* next = node->next;
      if (node->value.first == key) list.remove(node);
      node = next;
    }
  }

  void clear() { list.clear(); }

 private:
  Node* find(const K& key) {
    for (Node* node = list.head.next; node != end; node = node->next) {
      if (node->value.first == key) return node;
    }
    return nullptr;
  }
};
