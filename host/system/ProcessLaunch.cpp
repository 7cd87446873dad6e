#include "host/system/ProcessLaunch.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "host/HostError.h"
#include "host/system/UniqueFd.h"

namespace {

std::string findProgram(const std::string& name) {
  const char* path = getenv("PATH");  // NOLINT(concurrency-mt-unsafe): nothing here changes it
  std::istringstream places((path == nullptr ? std::string() : std::string(path) + ":") +
                            "/usr/local/sbin:/usr/sbin:/sbin:/usr/bin");
  for (std::string place; std::getline(places, place, ':');) {
    std::string program = place + "/" + name;
    if (!place.empty() && access(program.c_str(), X_OK) == 0) return program;
  }
  throw failure("there is no program '" + name + "' on this machine",
                "install the package mariadb-server-core, or name a server with --server client");
}

/** Everything that the child needs, made before the fork: after it only system calls are safe. */
struct Image {
  Image(const std::vector<std::string>& words, const std::string& logFile)
      : program(findProgram(words.front())),
        log(open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)),
        null(open("/dev/null", O_RDWR | O_CLOEXEC)) {
    if (!log || !null) {
      throw systemFailure("cannot write " + logFile, "check the owner and the rights of its place");
    }
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    takeEnvironment();
  }

  // The server asks these for the rights of its files, and not the umask.
  void takeEnvironment() {
    static char files[] = "UMASK=0600";
    static char directories[] = "UMASK_DIR=0700";
    for (char** variable = environ; *variable != nullptr; ++variable) {
      if (!std::string_view(*variable).starts_with("UMASK")) environment.push_back(*variable);
    }
    environment.insert(environment.end(), {files, directories, nullptr});
  }

  std::string program;
  std::vector<char*> arguments;
  std::vector<char*> environment;
  UniqueFd log;
  UniqueFd null;
};

/** In the child: becomes the program. Answers only when that fails, with errno set. */
void become(const Image& image) {
  constexpr int firstSignal = 1;
  constexpr int lastClassicSignal = 31;
  for (int number = firstSignal; number <= lastClassicSignal; ++number) {
    (void)std::signal(number, SIG_DFL);  // an ignored signal would stay ignored in the new program
  }
  sigset_t none;
  sigemptyset(&none);
  pthread_sigmask(SIG_SETMASK, &none, nullptr);
  dup2(image.null.get(), STDIN_FILENO);
  dup2(image.log.get(), STDOUT_FILENO);
  dup2(image.log.get(), STDERR_FILENO);
  umask(S_IRWXG | S_IRWXO);
  execve(image.program.c_str(), image.arguments.data(), image.environment.data());
}

pid_t forkChecked() {
  const pid_t child = fork();
  if (child < 0) throw systemFailure("cannot start a process", "end other programs and try again");
  return child;
}

int waitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

constexpr int EXEC_FAILED = 127;

/** In the middle process of a detached start: forks the program's process and reports its number.
 */
[[noreturn]] void startGrandchild(const Image& image, int report) {
  setsid();
  const pid_t grandchild = fork();
  if (grandchild == 0) {
    syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    become(image);
    _exit(EXEC_FAILED);
  }
  const bool told = write(report, &grandchild, sizeof grandchild) == sizeof grandchild;
  _exit(told ? 0 : 1);
}

}  // namespace

ProcessLaunch::ProcessLaunch(std::vector<std::string> words, std::string logFile)
    : words_(std::move(words)), logFile_(std::move(logFile)) {}

int ProcessLaunch::runAndWait() const {
  const Image image(words_, logFile_);
  const pid_t child = forkChecked();
  if (child == 0) {
    become(image);
    _exit(EXEC_FAILED);
  }
  return waitFor(child);
}

pid_t ProcessLaunch::startDetached() const {
  const Image image(words_, logFile_);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw systemFailure("cannot start a process", "close other programs and try again");
  }
  const UniqueFd reading(ends[0]);
  UniqueFd writing(ends[1]);
  const pid_t child = forkChecked();
  if (child == 0) startGrandchild(image, writing.get());
  writing.reset();
  pid_t started = -1;
  const bool told = read(reading.get(), &started, sizeof started) == sizeof started;
  if (waitFor(child) != 0 || !told || started <= 0) {
    throw failure("cannot start " + words_.front(), "end other programs and try again");
  }
  return started;
}
