#pragma once

#include <cstddef>
#include <cstdint>

/**
 * Memory to write from that no cache of the processor holds, as frames are that have just come from
 * elsewhere: pieces are handed out in turn, so that each is long evicted when it comes again.
 *
 * Owns: its memory, SIZE bytes.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class ColdBytes {
 public:
  /** Several times what the last cache of a processor holds. */
  static constexpr std::size_t SIZE = std::size_t{256} << 20;
  static constexpr std::size_t ALIGNMENT = 4096;

  /** Of memory: small ones, as it mostly comes, or large ones where the system has them. */
  enum class Pages { Small, Large };

  explicit ColdBytes(Pages pages);
  ColdBytes(const ColdBytes&) = delete;
  ColdBytes& operator=(const ColdBytes&) = delete;
  ~ColdBytes();

  /** The next so many bytes, at most SIZE; they begin at a multiple of ALIGNMENT. */
  [[nodiscard]] const unsigned char* next(std::size_t count);

 private:
  unsigned char* const bytes_;
  std::size_t place_ = 0;
};
