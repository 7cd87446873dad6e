#include "host/media/BlockOutput.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

bool isRegularFile(int fd) {
  struct stat status = {};
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

BlockOutput::BlockOutput(UniqueFd output, Pace pace)
    : output_(std::move(output)), seekable_(lseek(output_.get(), 0, SEEK_CUR) >= 0) {
  if (pace == AtOnce || !isRegularFile(output_.get())) return;
  block_ = static_cast<unsigned char*>(std::aligned_alloc(BLOCK, BLOCK));
  if (block_ == nullptr) throw std::bad_alloc();
  (void)madvise(block_, BLOCK, MADV_HUGEPAGE);  // which the disk takes with the least work
}

BlockOutput::~BlockOutput() {
  (void)flush();
  std::free(block_);
}

// A byte stands in the block as far behind the beginning of a page as in the file.
unsigned char* BlockOutput::collected() const {
  return block_ + start_ % static_cast<off_t>(BLOCK);
}

bool BlockOutput::write(const unsigned char* bytes, std::size_t count) {
  if (!collects()) return pass(bytes, count);
  while (count != 0) {
    const std::size_t room = BLOCK - static_cast<std::size_t>(place()) % BLOCK;
    const std::size_t part = std::min(room, count);
    DirectWriter::collect(collected() + filled_, bytes, part);
    filled_ += part;
    bytes += part;
    count -= part;
    if (part == room && !flush()) return false;
  }
  return true;
}

bool BlockOutput::pass(const unsigned char* bytes, std::size_t count) {
  while (count != 0) {
    const ssize_t put = ::write(output_.get(), bytes, count);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    bytes += put;
    count -= static_cast<std::size_t>(put);
    start_ += put;
  }
  return true;
}

bool BlockOutput::flush() {
  if (filled_ == 0) return true;
  const std::size_t count = std::exchange(filled_, 0);
  const off_t start = std::exchange(start_, start_ + static_cast<off_t>(count));
  const unsigned char* const bytes = block_ + start % static_cast<off_t>(BLOCK);
  return writer_.write(output_.get(), bytes, count, start) >= 0;
}

bool BlockOutput::close() {
  return flush() && ::close(output_.release()) == 0;
}

bool BlockOutput::seek(off_t place) {
  if (!flush()) return false;
  if (!collects() && lseek(output_.get(), place, SEEK_SET) < 0) return false;
  start_ = place;
  return true;
}

off_t BlockOutput::size() const {
  struct stat status = {};
  if (!seekable_ || fstat(output_.get(), &status) != 0) return -1;
  return std::max(status.st_size, place());
}
