#include "host/check/SliceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "runtime/LittleEndian.h"
#include "store/SyncMarkers.h"

namespace {

using Format = KTRFrameFormat;

constexpr size_t RECORD_HEAD = KTRFile::RECORD_HEAD_SIZE;
constexpr size_t LEAST_RECORD = RECORD_HEAD + Format::HEAD_SIZE;

/** Whether a frame's head fits a frame of so many bytes. */
bool isFrame(const unsigned char* head, uint32_t size) {
  const unsigned char kind = head[0] & ~Format::COMPOSITION_FLAG;
  const bool hasOffset = (head[0] & Format::COMPOSITION_FLAG) != 0;
  const uint32_t payload = size - Format::HEAD_SIZE;
  if (!Format::isKind(kind) || loadLittleEndian(head + Format::LENGTH_OFFSET) != payload) {
    return false;
  }
  if (kind == Format::Empty) return !hasOffset && payload == 0;
  return payload > (hasOffset ? Format::COMPOSITION_SIZE : 0);
}

}  // namespace

SliceFile::SliceFile(const std::string& path, Window window)
    : path_(path), fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat found {};
  if (fd_.get() < 0 || fstat(fd_.get(), &found) != 0) {
    error_ = errno;
  } else {
    size_ = static_cast<uint64_t>(found.st_size);
    window_.resize(std::min<uint64_t>(window, size_));
  }
}

std::span<const unsigned char> SliceFile::bytes(uint64_t offset, size_t least) {
  if (offset >= size_ || size_ - offset < least) return {};
  if (offset < begin_ || offset + least > begin_ + fill_) fill(offset);
  if (offset + least > begin_ + fill_) return {};
  return std::span(window_).subspan(offset - begin_, begin_ + fill_ - offset);
}

void SliceFile::fill(uint64_t offset) {
  begin_ = offset;
  fill_ = 0;
  const size_t wanted = std::min<uint64_t>(window_.size(), size_ - offset);
  while (fill_ < wanted) {
    const ssize_t count = pread(fd_.get(), window_.data() + fill_, wanted - fill_,
                                static_cast<off_t>(begin_ + fill_));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      if (error_ == 0) error_ = count < 0 ? errno : EIO;
      return;
    }
    fill_ += static_cast<size_t>(count);
  }
}

std::optional<SliceRecord> SliceFile::recordAt(uint64_t offset) {
  const std::span<const unsigned char> head = bytes(offset, LEAST_RECORD);
  if (head.empty() || loadLittleEndian(head.data()) != FLAG_WORD) return std::nullopt;
  SliceRecord record;
  record.offset = offset;
  record.size = loadLittleEndian(head.data() + sizeof FLAG);
  const unsigned char* const frame = head.data() + RECORD_HEAD;
  if (record.size < Format::HEAD_SIZE || record.size > KTRFile::MAX_PAYLOAD_SIZE ||
      record.end() > size_ || !isFrame(frame, record.size)) {
    return std::nullopt;
  }
  record.stampMs = loadLittleEndian(frame + Format::STAMP_OFFSET);
  record.kind = static_cast<Format::Kind>(frame[0] & ~Format::COMPOSITION_FLAG);
  return record;
}
