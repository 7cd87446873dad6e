#include "host/retain/EmptyDays.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "host/DayDirectories.h"
#include "host/input/DurationText.h"
#include "host/input/TimeText.h"

namespace fs = std::filesystem;

namespace {

using Days = std::vector<std::string>;

// rmdir() takes nothing that holds a file, whatever happens at the same time.
void removeEmpty(const fs::path& directory, const std::string& date, int level, const Days& inUse) {
  std::error_code ignored;
  if (level < DayDirectories::DAY_LEVEL) {
    for (const fs::path& each : DayDirectories::numberedBelow(directory, ignored)) {
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
