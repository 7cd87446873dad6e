#include "runtime/KTFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "runtime/FileIO.h"

namespace {

// Repeats what a signal has interrupted.
template <typename Call>
int carriedThrough(Call call) {
  int result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace

KTFile::KTFile() = default;

KTFile::KTFile(const KTString& path) : name_(path) {}

KTFile::~KTFile() {
  KTFile::close();
}

int KTFile::open() {
  return open(flags_, mode_);
}

int KTFile::open(int flags, unsigned int mode) {
  KTFile::close();
  flags_ = flags;
  mode_ = mode;
  pos_ = 0;
  handle_ = carriedThrough([&] { return ::open(name_.c_str(), flags | O_CLOEXEC, mode); });
  return opened() ? 0 : -1;
}

int KTFile::close() {
  const int closing = std::exchange(handle_, -1);
  if (closing < 0 || ::close(closing) == 0) return 0;
  return errno == EINTR ? 0 : -1;  // closed all the same, and not to be tried again
}

int KTFile::read(KTDataBlock& b) {
  return read(b, b.size);
}

int KTFile::read(KTDataBlock& b, unsigned int n) {
  b.resize(n);
  const int got = readInto(b.writable(), n);
  b.resize(got > 0 ? static_cast<unsigned int>(got) : 0);
  return got;
}

int KTFile::readInto(unsigned char* dst, unsigned int n) {
  const ssize_t got = readFully(handle_, dst, n, pos_);
  if (got > 0) pos_ += static_cast<long>(got);
  return static_cast<int>(got);
}

int KTFile::write(const KTDataBlock& b) {
  return write(b, b.size);
}

int KTFile::write(const KTDataBlock& b, unsigned int n) {
  const ssize_t put = writeFully(handle_, b.data, n, pos_);
  if (put > 0) pos_ += static_cast<long>(put);
  return static_cast<int>(put);
}

int KTFile::pos(long p) {
  if (!opened() || p < 0) return -1;
  pos_ = p;
  return 0;
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the file
int KTFile::truncate(long length) {
  return carriedThrough([&] { return ::ftruncate(handle_, length); });
}

int KTFile::remove() {
  KTFile::close();
  return ::unlink(name_.c_str());
}
