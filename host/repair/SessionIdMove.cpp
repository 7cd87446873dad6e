#include "host/repair/SessionIdMove.h"

#include <filesystem>
#include <vector>

#include "host/HostError.h"
#include "host/repair/DurableFile.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> namesOf(const SessionFiles& files) {
  std::vector<std::string> names;
  const std::string begin = fs::path(files.prefix).filename().string();
  for (const auto& entry : fs::directory_iterator(files.directory())) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(begin)) names.push_back(name.substr(begin.size()));
  }
  return names;
}

std::string prefixOf(const SessionFiles& files, unsigned int id) {
  const std::string old = std::to_string(files.id) + "_";
  return files.prefix.substr(0, files.prefix.size() - old.size()) + std::to_string(id) + "_";
}

/** The id that a move which was cut off has begun to give to the files. */
unsigned int begunId(const SessionFiles& files, const DiskCatalog& disk) {
  for (const auto& [id, places] : disk.sessions()) {
    for (const SessionFiles& other : places) {
      if (id == files.id || other.directory() != files.directory()) continue;
      for (const auto& [slice, bytes] : files.slices) {
        std::error_code missing;
        if (fs::equivalent(files.slicePath(slice), other.slicePath(slice), missing)) return id;
      }
    }
  }
  return 0;
}

// There is a file of the name already when a move was cut off: the same one.
void link(const std::string& from, const std::string& to) {
  std::error_code error;
  std::error_code ignored;
  fs::create_hard_link(from, to, error);
  if (error == std::errc::file_exists && fs::equivalent(from, to, ignored)) return;
  if (!error) return;
  throw failure("cannot give " + from + " the name " + to + " (" + error.message() + ")",
                "rename it by hand, and repair again");
}

}  // namespace

void SessionIdMove::move(const SessionFiles& files, const DiskCatalog& disk, unsigned int nextId) {
  const unsigned int begun = begunId(files, disk);
  const std::string prefix = prefixOf(files, begun != 0 ? begun : nextId);
  try {
    const std::vector<std::string> names = namesOf(files);
    for (const std::string& name : names) link(files.prefix + name, prefix + name);
    DurableFile::syncDirectoryOf(prefix);
    for (const std::string& name : names) DurableFile::remove(files.prefix + name);
  } catch (const fs::filesystem_error& error) {
    throw failure("cannot give " + files.prefix + "* another id (" + error.code().message() + ")",
                  "rename them by hand, and repair again");
  }
}
