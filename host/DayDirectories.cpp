#include "host/DayDirectories.h"

#include <algorithm>
#include <string>

#include "host/input/AsciiText.h"

namespace fs = std::filesystem;

std::vector<fs::path> DayDirectories::numberedBelow(const fs::path& directory,
                                                    std::error_code& error) {
  std::vector<fs::path> found;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::error_code gone;
    if (std::all_of(name.begin(), name.end(), isAsciiDigit) && !entry->is_symlink(gone) &&
        entry->is_directory(gone)) {
      found.push_back(entry->path());
    }
  }
  return found;
}
