#pragma once

#include <utility>

/** Two values that belong together. Copyable; polymorphic only through its destructor. */
template <typename K, typename V>
class KTPair {
 public:
  K first{};
  V second{};

  KTPair() = default;
  KTPair(K one, V two) : first(std::move(one)), second(std::move(two)) {}
  KTPair(const KTPair&) = default;
  KTPair& operator=(const KTPair&) = default;
  virtual ~KTPair() = default;
};
