#include "host/server/ServerPaths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "host/HostError.h"

namespace {

void refuseForeignDirectory(const std::string& directory) {
  struct stat found {};
  if (lstat(directory.c_str(), &found) != 0) {
    throw systemFailure("cannot look at " + directory, "check the rights of its place");
  }
  if (!S_ISDIR(found.st_mode)) {
    throw failure(directory + " is not a directory", "move it away, or choose another --root");
  }
  if (found.st_uid != geteuid()) {
    throw failure(directory + " belongs to another user (" + std::to_string(found.st_uid) + ")",
                  "run ktr as that user, or choose another --root");
  }
}

void makePrivate(const std::string& directory) {
  if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
    throw systemFailure("cannot make " + directory, "check the owner and the rights of its place");
  }
}

}  // namespace

ServerPaths::ServerPaths(const StorageRoot& root)
    : root_(root.path()), directory_(root.serverDirectory()) {
  if (socket().size() > MAX_SOCKET_PATH) {
    const size_t room = MAX_SOCKET_PATH - (socket().size() - root_.size());
    throw usageError(
        "the storage root '" + root_ +
            "' is too long for the socket of a private "
            "database server",
        "choose a path of at most " + std::to_string(room) + " bytes, or use --server client");
  }
}

void ServerPaths::prepare() const {
  std::error_code error;
  std::filesystem::create_directories(root_, error);
  if (error) {
    throw failure("cannot make the storage root " + root_ + " (" + error.message() + ")",
                  "check the owner and the rights of its place");
  }
  makePrivate(directory_);
  refuseForeignDirectory(directory_);
  // Also when it was made by hand.
  if (chmod(directory_.c_str(), S_IRWXU) != 0) {
    throw systemFailure("cannot keep others out of " + directory_, "check the rights of its place");
  }
  makePrivate(temporaryDirectory());
}

bool ServerPaths::exists() const {
  std::error_code ignored;
  return std::filesystem::is_directory(dataDirectory(), ignored);
}
