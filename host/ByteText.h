#pragma once

#include <cstdint>
#include <string>

/** Byte counts as people read them. Any thread. */
class ByteText {
 public:
  /** Four significant places at most: "0 B", "999 B", "12.3 MiB". */
  [[nodiscard]] static std::string format(uint64_t bytes);
  /** The same in six characters at most, for tables: "12.3M". */
  [[nodiscard]] static std::string formatShort(uint64_t bytes);
};
