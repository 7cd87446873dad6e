#pragma once

#include <cstddef>

/**
 * Counts what this thread takes from the heap, by malloc or new, as long as it lives. The heap is
 * the real one.
 */
class Allocations {
 public:
  Allocations();
  /** Since the object was made. */
  [[nodiscard]] std::size_t count() const;

 private:
  std::size_t before_;
};
