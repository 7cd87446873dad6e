#pragma once

#include <cstdint>
#include <string>

/**
 * Fills the page cache of the machine with pages that nobody will ask for again, as that of a
 * recorder is full of old footage after its first days: from then on the kernel has to find a page
 * for every page that is written, instead of taking one that is free. A file that is nothing but a
 * hole is read for that, which costs no disk.
 *
 * Owns: the file.
 * Threads: one thread at a time for each object.
 * Blocks: fill() for as long as the kernel needs for the pages: seconds at the first time.
 * Errors: HostError.
 */
class FilledCache {
 public:
  /** bytes: how much to read at most at a time; that of all memory unless told otherwise. */
  explicit FilledCache(const std::string& directory, std::uint64_t bytes = memoryBytes());
  FilledCache(const FilledCache&) = delete;
  FilledCache& operator=(const FilledCache&) = delete;
  ~FilledCache();

  /** Reads on until hardly any memory is free. */
  void fill();

  [[nodiscard]] static std::uint64_t memoryBytes();
  /** Memory that is used for nothing at all. */
  [[nodiscard]] static std::uint64_t freeBytes();

 private:
  const std::string path_;
  const std::uint64_t bytes_;
  std::uint64_t place_ = 0;
};
