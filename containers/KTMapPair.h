#pragma once

#include "containers/KTPair.h"

/** A key with its value, the element of a KTMap's list. */
template <typename K, typename V>
class KTMapPair : public KTPair<K, V> {
 public:
  using KTPair<K, V>::KTPair;
};
