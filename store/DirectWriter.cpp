#include "store/DirectWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "runtime/FileIO.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr size_t IN_PAGE = DirectWriter::PAGE_BYTES - 1;

#ifdef __SSE2__
constexpr size_t LEAST_STREAMED = 4096;  // sound is better off in the cache
constexpr size_t LINE_BYTES = 64;

// Copies the whole lines of the cache around it, all from a line's first byte on: how many bytes.
// A part of a line would have to be fetched for the sake of the rest.
size_t streamLines(unsigned char* dst, const unsigned char* src, size_t n) {
  const size_t lines = n / LINE_BYTES * LINE_BYTES;
  for (size_t i = 0; i < lines; i += sizeof(__m128i)) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    _mm_stream_si128(reinterpret_cast<__m128i*>(dst + i), bytes);
  }
  return lines;
}

size_t streamed(unsigned char* dst, const unsigned char* src, size_t n) {
  if (n < LEAST_STREAMED) return 0;
  const size_t head = -reinterpret_cast<std::uintptr_t>(dst) % LINE_BYTES;
  std::memcpy(dst, src, head);
  return head + streamLines(dst + head, src + head, n - head);
}

// Such stores are in no order with others before a fence.
void finishStreaming() {
  _mm_sfence();
}
#else
size_t streamed(unsigned char*, const unsigned char*, size_t) {
  return 0;
}

void finishStreaming() {}
#endif

// The descriptor's writes go past the cache for as long as this lives.
class DirectMode {
 public:
  explicit DirectMode(int fd) : fd_(fd), flags_(fcntl(fd, F_GETFL)) {
    on_ = flags_ >= 0 && fcntl(fd, F_SETFL, flags_ | O_DIRECT) == 0;
  }
  DirectMode(const DirectMode&) = delete;
  DirectMode& operator=(const DirectMode&) = delete;
  ~DirectMode() {
    if (on_) (void)fcntl(fd_, F_SETFL, flags_);
  }

  [[nodiscard]] bool on() const { return on_; }

 private:
  int fd_;
  int flags_;
  bool on_;
};

bool isRefusal(int error) {
  return error == EINVAL || error == EOPNOTSUPP || error == ENOSYS;
}

// Where all pages at once find no room, the first of them may.
bool isShortage(int error) {
  return error == ENOSPC || error == EDQUOT || error == ENOMEM;
}

bool beginsPage(const unsigned char* p) {
  return (reinterpret_cast<std::uintptr_t>(p) & IN_PAGE) == 0;
}

}  // namespace

void DirectWriter::collect(unsigned char* dst, const unsigned char* src, size_t n) {
  const size_t done = streamed(dst, src, n);
  if (done != n) std::memcpy(dst + done, src + done, n - done);
}

// No page is written both ways by a whole call: what goes through the cache before and behind the
// pages lies in other pages, and a page that the cache holds of them is written out and dropped by
// the kernel first. That keeps readers of the live file exact.
ssize_t DirectWriter::write(int fd, const unsigned char* src, size_t n, off_t offset) {
  finishStreaming();
  const size_t head = (PAGE_BYTES - static_cast<size_t>(offset)) & IN_PAGE;
  const size_t pages = n < head ? 0 : (n - head) & ~IN_PAGE;
  if (refused_ || pages < LEAST_DIRECT || !beginsPage(src + head)) {
    return writeFully(fd, src, n, offset);
  }
  if (writeFully(fd, src, head, offset) < 0) return -1;
  const ssize_t direct = writePages(fd, src + head, pages, offset + static_cast<off_t>(head));
  if (direct < 0) return -1;
  const size_t done = head + static_cast<size_t>(direct);
  if (writeFully(fd, src + done, n - done, offset + static_cast<off_t>(done)) < 0) return -1;
  // The rest of a page waits in the cache for half a minute otherwise: should the power fail after
  // the next pages have reached the disk, a hole would be in front of them.
  (void)sync_file_range(fd, offset, static_cast<off_t>(n), SYNC_FILE_RANGE_WRITE);
  return static_cast<ssize_t>(n);
}

// How many of the bytes went past the cache; the cache takes the others. -1 when the disk fails.
ssize_t DirectWriter::writePages(int fd, const unsigned char* src, size_t n, off_t offset) {
  const DirectMode mode(fd);
  ssize_t put = -1;
  while (mode.on() && put < 0) {
    put = pwrite(fd, src, n, offset);
    if (put < 0 && errno != EINTR) break;
  }
  if (put >= 0) return put;
  refused_ = !mode.on() || isRefusal(errno);
  return refused_ || isShortage(errno) ? 0 : -1;
}
