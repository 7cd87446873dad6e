#include "host/retain/EmptyDays.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "host/input/AsciiText.h"
#include "host/input/DurationText.h"
#include "host/input/TimeText.h"

namespace fs = std::filesystem;

namespace {

constexpr int DAY_LEVEL = 3;

using Days = std::vector<std::string>;

std::vector<fs::path> numberedDirectories(const fs::path& directory) {
  std::vector<fs::path> found;
  std::error_code error;
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

// rmdir() takes nothing that holds a file, whatever happens at the same time.
void removeEmpty(const fs::path& directory, const std::string& date, int level, const Days& inUse) {
  if (level < DAY_LEVEL) {
    for (const fs::path& each : numberedDirectories(directory)) {
      removeEmpty(each, date + each.filename().string() + "/", level + 1, inUse);
    }
  }
  const auto leadsTo = [&](const std::string& day) { return day.starts_with(date); };
  if (level > 0 && std::none_of(inUse.begin(), inUse.end(), leadsTo)) rmdir(directory.c_str());
}

}  // namespace

void EmptyDays::removeBelow(const std::string& recorderDirectory, long now) {
  const Days inUse{TimeText::format(now, "%Y/%m/%d/"),
                   TimeText::format(now - DurationText::DAY, "%Y/%m/%d/")};
  removeEmpty(recorderDirectory, "", 0, inUse);
}
