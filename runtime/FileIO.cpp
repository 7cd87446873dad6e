#include "runtime/FileIO.h"

#include <unistd.h>

#include <cerrno>

ssize_t readFully(int fd, unsigned char* dst, size_t n, off_t offset) {
  size_t done = 0;
  while (done < n) {
    const ssize_t got = pread(fd, dst + done, n - done, offset + static_cast<off_t>(done));
    if (got == 0) break;
    if (got > 0) {
      done += static_cast<size_t>(got);
    } else if (errno != EINTR) {
      if (done != 0) break;  // what lies in front of a bad place is good; the next read finds it
      return -1;
    }
  }
  return static_cast<ssize_t>(done);
}

ssize_t writeFully(int fd, const unsigned char* src, size_t n, off_t offset) {
  size_t done = 0;
  while (done < n) {
    const ssize_t put = pwrite(fd, src + done, n - done, offset + static_cast<off_t>(done));
    if (put > 0) {
      done += static_cast<size_t>(put);
    } else if (put == 0 || errno != EINTR) {
      return -1;
    }
  }
  return static_cast<ssize_t>(n);
}
