#pragma once

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

/**
 * What large blocks and the heap of this process hold in memory: its anonymous mappings of less
 * than 64 MiB. What a sanitizer keeps for itself is mapped in larger pieces.
 */
class ResidentMemory {
 public:
  [[nodiscard]] static size_t bytes() {
    std::ifstream maps("/proc/self/smaps");
    size_t total = 0;
    bool counts = false;
    for (std::string line; std::getline(maps, line);) {
      if (isMapping(line)) {
        counts = isAnonymous(line);
      } else if (counts && line.rfind("Rss:", 0) == 0) {
        total += std::stoul(line.substr(4)) << 10;
      }
    }
    return total;
  }

 private:
  static bool isMapping(const std::string& line) { return line.find('-') < line.find(' '); }
  static bool isAnonymous(const std::string& line) {
    std::istringstream words(line);
    std::string range;
    std::string access;
    std::string offset;
    std::string device;
    std::string inode;
    words >> range >> access >> offset >> device >> inode;
    const size_t dash = range.find('-');
    const size_t size =
        std::stoull(range.substr(dash + 1), nullptr, 16) - std::stoull(range, nullptr, 16);
    return inode == "0" && access == "rw-p" && size < (size_t{64} << 20);
  }
};
