#pragma once

#include <filesystem>
#include <vector>

/** The directories YYYY, MM and DD of a recorder. Any thread; blocks for the file system. */
class DayDirectories {
 public:
  /** How deep days lie below the recorder's directory. */
  static constexpr int DAY_LEVEL = 3;

  /**
   * The directories with nothing but digits in their names right below one. What cannot be read
   * counts as empty, with error set.
   */
  [[nodiscard]] static std::vector<std::filesystem::path> numberedBelow(
      const std::filesystem::path& directory, std::error_code& error);
};
