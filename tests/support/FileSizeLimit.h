#pragma once

#include <signal.h>
#include <sys/resource.h>

/**
 * Files of the process may not grow past a limit for as long as this lives: the write that reaches
 * it is short, and the next one fails.
 */
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &former_);
    const rlimit limit{bytes, former_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &former_);
    signal(SIGXFSZ, handler_);
  }

 private:
  rlimit former_{};
  sighandler_t handler_;
};
