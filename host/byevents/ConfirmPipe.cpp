#include "host/byevents/ConfirmPipe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "host/HostError.h"
#include "host/input/AsciiText.h"

namespace {

constexpr mode_t OWNER_ONLY = 0600;
constexpr const char* EVERY_STREAM = "all";

std::string pathIn(const std::string& recorderDirectory) {
  return recorderDirectory + "/recorder.confirm";
}

// With a writer of its own the pipe never reads as ended.
int makePipe(const std::string& path) {
  unlink(path.c_str());
  if (mkfifo(path.c_str(), OWNER_ONLY) != 0) return -1;
  return open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

bool isPipe(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

}  // namespace

ConfirmPipe::ConfirmPipe(const std::string& recorderDirectory)
    : path_(pathIn(recorderDirectory)), pipe_(makePipe(path_)) {
  if (!pipe_) {
    throw systemFailure("cannot make the pipe " + path_,
                        "use a file system that has named pipes, or record without --by-events");
  }
}

ConfirmPipe::~ConfirmPipe() {
  unlink(path_.c_str());
}

std::vector<ConfirmPipe::Confirmation> ConfirmPipe::take() {
  std::array<char, 512> part{};
  for (ssize_t got = 0; (got = read(pipe_.get(), part.data(), part.size())) > 0;) {
    unread_.append(part.data(), static_cast<size_t>(got));
  }
  std::vector<Confirmation> all;
  for (size_t end = 0; (end = unread_.find('\n')) != std::string::npos;) {
    const std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    const std::optional<long> stream = parseDigits(line);
    if (stream && *stream <= 255) all.emplace_back(static_cast<unsigned char>(*stream));
    if (line == EVERY_STREAM) all.emplace_back();
  }
  return all;
}

bool ConfirmPipe::send(const std::string& recorderDirectory, Confirmation what) {
  const UniqueFd pipe(open(pathIn(recorderDirectory).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  if (!pipe || !isPipe(pipe.get())) return false;
  const std::string line = (what ? std::to_string(*what) : EVERY_STREAM) + "\n";
  return write(pipe.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
}
