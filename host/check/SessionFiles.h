#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/** The files of one record session in one directory, by their names. */
struct SessionFiles {
  unsigned int id = 0;
  std::string prefix;                       // what all their paths begin with
  std::map<unsigned int, uint64_t> slices;  // number and bytes
  bool audioHeader = false;
  bool sidecar = false;
  bool damaged = false;                // what a repair has moved out of slices is there
  std::vector<std::string> leftovers;  // paths of what a repair that was cut off has left

  [[nodiscard]] std::string directory() const { return prefix.substr(0, prefix.rfind('/') + 1); }
  [[nodiscard]] std::string slicePath(unsigned int slice) const;
  [[nodiscard]] std::string audioHeaderPath() const { return prefix + "audioHeader.dat"; }
  [[nodiscard]] std::string sidecarPath() const { return prefix + SIDECAR; }
  [[nodiscard]] uint64_t bytes() const;
  /** Whether any slice holds a byte. */
  [[nodiscard]] bool hasContent() const { return bytes() != 0; }
  /** The slices in the order of their writing: from the first behind a gap on, over 255 to 0. */
  [[nodiscard]] std::vector<unsigned int> chain() const;
  /** Numbers that are missing between the first and the last of the chain. */
  [[nodiscard]] std::vector<unsigned int> gaps() const;
  /** Takes in a file of the session by what follows the prefix in its name. */
  void add(std::string_view rest, uint64_t bytes);

  static constexpr unsigned int RING = 256;  // slice numbers
  static constexpr const char* SIDECAR = "session.json";
  /** Ends the name of a slice that is being written anew. */
  static constexpr const char* UNFINISHED = ".unfinished";
  /** Ends the name of a file with bytes of a slice that are no record; a number may follow. */
  static constexpr const char* DAMAGED = ".damaged";
};
