#pragma once

#include <algorithm>
#include <new>

#include "runtime/KTDataBlock.h"

/**
 * A vector of values that live back to back in one data block. There is no spare capacity: every
 * change of the element count rebuilds the storage.
 *
 * Owns: its elements.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: sizes in elements.
 */
template <typename T>
class KTVector {
 public:
  KTVector() = default;
  KTVector(const KTVector& other) { copyFrom(other); }
  KTVector& operator=(const KTVector& other) {
    if (this != &other) {
      clear();
      copyFrom(other);
    }
    return *this;
  }
  virtual ~KTVector() { clear(); }

  [[nodiscard]] unsigned int count() const {
    return storage.size / static_cast<unsigned int>(sizeof(T));
  }

  /**
   * Keeps the first min(old, n) elements in order and default-constructs the others. Nothing
   * happens when n is the element count already.
   */
  void resize(unsigned int n) {
    if (n == count()) return;
    const KTVector kept(*this);
    const unsigned int keptCount = std::min(n, kept.count());
    clear();
    storage.resize(n * static_cast<unsigned int>(sizeof(T)));
    T* place = elements();
    for (unsigned int i = 0; i < keptCount; ++i) new (place + i) T(kept[i]);
    for (unsigned int i = keptCount; i < n; ++i) new (place + i) T();
  }

  /** Destroys every element in index order. */
  void clear() {
    T* place = elements();
    for (unsigned int i = 0, n = count(); i < n; ++i) place[i].~T();
    storage.clear();
  }

  /** Element i; i must be below count(). */
  [[nodiscard]] T& operator[](unsigned int i) { return elements()[i]; }
  [[nodiscard]] const T& operator[](unsigned int i) const {
    return reinterpret_cast<const T*>(storage.data)[i];
  }

 private:
  T* elements() { return reinterpret_cast<T*>(storage.writable()); }

  void copyFrom(const KTVector& other) {
    storage.resize(other.storage.size);
    T* place = elements();
    for (unsigned int i = 0, n = other.count(); i < n; ++i) new (place + i) T(other[i]);
  }

  KTDataBlock storage;  // never shared: its bytes are live objects
};
