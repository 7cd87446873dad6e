#include "host/FileSizes.h"

#include <filesystem>

namespace fs = std::filesystem;

uint64_t FileSizes::bytesOf(const std::string& pathPrefix) {
  const fs::path prefix(pathPrefix);
  const std::string parent = prefix.parent_path().string();
  auto known = directories_.find(parent);
  if (known == directories_.end()) known = directories_.emplace(parent, read(parent)).first;
  const std::string begin = prefix.filename().string();
  uint64_t bytes = 0;
  for (auto file = known->second.lower_bound(begin);
       file != known->second.end() && file->first.starts_with(begin); ++file) {
    bytes += file->second;
  }
  return bytes;
}

FileSizes::Directory FileSizes::read(const std::string& path) {
  Directory sizes;
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code gone;
    const uint64_t size = entry->file_size(gone);
    if (!gone) sizes.emplace(entry->path().filename().string(), size);
  }
  return sizes;
}
