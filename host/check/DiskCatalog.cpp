#include "host/check/DiskCatalog.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "host/DayDirectories.h"
#include "host/HostError.h"

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failToRead(const std::string& directory, const std::error_code& error) {
  throw failure("cannot read " + directory + " (" + error.message() + ")",
                "check its rights and the disk");
}

}  // namespace

DiskCatalog::DiskCatalog(const std::string& recorderDirectory, const std::string& database)
    : namePrefix_("record_" + database + "_R") {
  walk(recorderDirectory, 0);
}

void DiskCatalog::walk(const std::string& directory, int level) {
  if (level == DayDirectories::DAY_LEVEL) return addDirectory(directory);
  std::error_code error;
  for (const fs::path& each : DayDirectories::numberedBelow(directory, error)) {
    walk(each.string(), level + 1);
  }
  if (error && error != std::errc::no_such_file_or_directory) failToRead(directory, error);
}

void DiskCatalog::addDirectory(const std::string& directory) {
  const std::string path = normal(directory);
  if (!directories_.insert(path).second) return;
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code gone;
    const uint64_t bytes = entry->is_regular_file(gone) ? entry->file_size(gone) : 0;
    if (!gone) addFile(path, entry->path().filename().string(), bytes);
  }
  if (error && error != std::errc::no_such_file_or_directory) failToRead(path, error);
}

void DiskCatalog::addFile(const std::string& directory, const std::string& name, uint64_t bytes) {
  if (!name.starts_with(namePrefix_)) return;
  const char* const digits = name.data() + namePrefix_.size();
  const char* const end = name.data() + name.size();
  unsigned int id = 0;
  const auto parsed = std::from_chars(digits, end, id);
  if (parsed.ec != std::errc() || parsed.ptr == end || *parsed.ptr != '_' || id == 0) return;
  const std::string_view rest(parsed.ptr + 1, end);
  const std::string prefix = directory + name.substr(0, name.size() - rest.size());
  std::vector<SessionFiles>& places = sessions_[id];
  auto place = std::find_if(places.begin(), places.end(),
                            [&](const SessionFiles& each) { return each.prefix == prefix; });
  if (place == places.end()) {
    places.emplace_back();
    place = std::prev(places.end());
    place->id = id;
    place->prefix = prefix;
  }
  place->add(rest, bytes);
  ++files_;
}

const SessionFiles* DiskCatalog::find(unsigned int id, const std::string& directory) const {
  const auto found = sessions_.find(id);
  if (found == sessions_.end()) return nullptr;
  const std::string wanted = normal(directory);
  for (const SessionFiles& each : found->second) {
    if (each.directory() == wanted) return &each;
  }
  return &found->second.front();
}

unsigned int DiskCatalog::highestId() const {
  return sessions_.empty() ? 0 : sessions_.rbegin()->first;
}

std::string DiskCatalog::normal(const std::string& directory) {
  std::string path = fs::path(directory + "/").lexically_normal().string();
  return path;
}
