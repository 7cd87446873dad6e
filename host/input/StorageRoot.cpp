#include "host/input/StorageRoot.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "host/HostError.h"
#include "host/input/AsciiText.h"

namespace {

bool isPathCharacter(char c) {
  return isAsciiLetterOrDigit(c) || c == '/' || c == '.' || c == '_' || c == '-';
}

void refuse(const std::string& path, const std::string& why, const std::string& remedy) {
  throw usageError("'" + path + "' cannot be a storage root, " + why, remedy);
}

std::string joinComponents(const std::string& path) {
  std::istringstream components(path);
  std::string joined;
  for (std::string component; std::getline(components, component, '/');) {
    if (component.empty() || component == ".") continue;
    if (component == "..") refuse(path, "it has a '..' in it", "give the path without '..'");
    joined += "/" + component;
  }
  return joined;
}

}  // namespace

StorageRoot StorageRoot::parse(const std::string& text, const std::string& currentDirectory) {
  if (text.empty())
    throw usageError("no storage root is given", "name a directory with --root DIR");
  const std::string whole = text.front() == '/' ? text : currentDirectory + "/" + text;
  if (!std::all_of(whole.begin(), whole.end(), isPathCharacter)) {
    refuse(whole, "it has a character that is none of letters, digits and /._-",
           "choose a directory with a plain name");
  }
  const std::string path = joinComponents(whole);
  if (path.empty()) refuse(whole, "it is the whole file system", "give a directory of its own");
  if (path.size() > MAX_LENGTH) {
    refuse(path, "it is longer than " + std::to_string(MAX_LENGTH) + " bytes",
           "choose a shorter path");
  }
  return StorageRoot(path);
}

StorageRoot StorageRoot::parse(const std::string& text) {
  std::error_code error;
  const std::filesystem::path current = std::filesystem::current_path(error);
  if (error && !text.empty() && text.front() != '/') {
    throw failure("the current directory is gone", "give --root as an absolute path");
  }
  return parse(text, current.string());
}
