#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/** All bytes of a file; nothing when it cannot be read. */
[[nodiscard]] inline std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
