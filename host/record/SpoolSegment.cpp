#include "host/record/SpoolSegment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "runtime/FileIO.h"
#include "runtime/KTRFrameFormat.h"
#include "runtime/LittleEndian.h"

namespace {

constexpr char MAGIC[8] = {'K', 'T', 'R', 'S', 'P', 'O', 'O', 'L'};
constexpr std::uint32_t VERSION = 1;
constexpr unsigned int VERSION_OFFSET = 8;
constexpr unsigned int FIRST_OFFSET = 12;
constexpr unsigned int SETTINGS_SIZE_OFFSET = 16;
constexpr unsigned int SETTINGS_SUM_OFFSET = 20;
constexpr std::uint32_t MAX_SETTINGS_SIZE = 65536;

constexpr unsigned int FLAGS_OFFSET = 4;
constexpr unsigned int TIME_OFFSET = 8;
constexpr unsigned int SUM_OFFSET = 16;
constexpr std::uint32_t STARTS_PLAYBACK = 1;
constexpr std::uint32_t BEGINS_SESSION = 2;
constexpr std::uint32_t IS_CONTEXT = 4;

constexpr std::uint32_t SUM_BASIS = 0x811C9DC5;

// FNV-1a, so that a torn or damaged record is not taken for a frame.
std::uint32_t sumOf(const unsigned char* bytes, size_t n, std::uint32_t sum = SUM_BASIS) {
  for (size_t i = 0; i < n; ++i) sum = (sum ^ bytes[i]) * 0x01000193;
  return sum;
}

bool isLength(std::uint32_t length) {
  return length >= KTRFrameFormat::HEAD_SIZE && length <= KTRFrameFormat::MAX_FRAME_SIZE;
}

}  // namespace

std::unique_ptr<SpoolSegment> SpoolSegment::create(
    const std::string& path, const std::shared_ptr<const StreamSettings>& settings) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) return nullptr;
  std::unique_ptr<SpoolSegment> segment(new SpoolSegment(path, std::move(file)));
  segment->settings_ = settings;
  if (segment->writeHeader()) return segment;
  const int reason = errno;
  segment->remove();
  errno = reason;
  return nullptr;
}

std::unique_ptr<SpoolSegment> SpoolSegment::open(const std::string& path) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (!file) return nullptr;
  std::unique_ptr<SpoolSegment> segment(new SpoolSegment(path, std::move(file)));
  if (!segment->readHeader()) return nullptr;
  segment->countFrames();
  return segment;
}

bool SpoolSegment::writeHeader() {
  const KTDataBlock settings = settings_->encode();
  KTDataBlock header(HEADER_SIZE);
  unsigned char* bytes = header.writable();
  std::memcpy(bytes, MAGIC, sizeof MAGIC);
  storeLittleEndian(bytes + VERSION_OFFSET, VERSION);
  storeLittleEndian(bytes + FIRST_OFFSET, HEADER_SIZE + settings.size);
  storeLittleEndian(bytes + SETTINGS_SIZE_OFFSET, settings.size);
  storeLittleEndian(bytes + SETTINGS_SUM_OFFSET, sumOf(settings.data, settings.size));
  header += settings;
  size_ = readOffset_ = header.size;
  return writeFully(file_.get(), header.data, header.size, 0) == static_cast<ssize_t>(header.size);
}

bool SpoolSegment::readHeader() {
  unsigned char header[HEADER_SIZE];
  if (readFully(file_.get(), header, sizeof header, 0) != sizeof header ||
      std::memcmp(header, MAGIC, sizeof MAGIC) != 0 ||
      loadLittleEndian(header + VERSION_OFFSET) != VERSION) {
    return false;
  }
  const std::uint32_t size = loadLittleEndian(header + SETTINGS_SIZE_OFFSET);
  if (size > MAX_SETTINGS_SIZE) return false;
  KTDataBlock bytes(size);
  if (readFully(file_.get(), bytes.writable(), size, HEADER_SIZE) != static_cast<ssize_t>(size) ||
      sumOf(bytes.data, size) != loadLittleEndian(header + SETTINGS_SUM_OFFSET)) {
    return false;
  }
  const std::optional<StreamSettings> settings = StreamSettings::decode(bytes);
  readOffset_ = loadLittleEndian(header + FIRST_OFFSET);
  struct stat file {};
  if (!settings || readOffset_ < HEADER_SIZE + size || fstat(file_.get(), &file) != 0 ||
      readOffset_ > file.st_size) {
    return false;
  }
  settings_ = std::make_shared<const StreamSettings>(*settings);
  return true;
}

bool SpoolSegment::readHead(std::uint32_t offset, unsigned char* head) {
  const auto got = readFully(file_.get(), head, RECORD_HEAD_SIZE, offset);
  faulty_ = faulty_ || got < 0;
  return got == RECORD_HEAD_SIZE && isLength(loadLittleEndian(head));
}

void SpoolSegment::countFrames() {
  struct stat file {};
  if (fstat(file_.get(), &file) != 0) return;
  unsigned char head[RECORD_HEAD_SIZE];
  size_ = readOffset_;
  while (readHead(size_, head)) {
    const std::uint32_t end = size_ + RECORD_HEAD_SIZE + loadLittleEndian(head);
    if (end > file.st_size) return;
    size_ = end;
    ++unread_;
  }
}

bool SpoolSegment::append(const StreamFrame& frame, Use use) {
  KTDataBlock record(RECORD_HEAD_SIZE);
  unsigned char* head = record.writable();
  storeLittleEndian(head, frame.bytes.size);
  storeLittleEndian(head + FLAGS_OFFSET, (frame.startsPlayback ? STARTS_PLAYBACK : 0) |
                                             (frame.beginsSession ? BEGINS_SESSION : 0) |
                                             (use == Context ? IS_CONTEXT : 0));
  storeLittleEndian(head + TIME_OFFSET, static_cast<std::uint32_t>(frame.timeMs));
  storeLittleEndian(head + TIME_OFFSET + 4, static_cast<std::uint32_t>(frame.timeMs >> 32));
  const std::uint32_t sum = sumOf(frame.bytes.data, frame.bytes.size, sumOf(head, SUM_OFFSET));
  storeLittleEndian(head + SUM_OFFSET, sum);
  record += frame.bytes;
  const auto size = static_cast<ssize_t>(record.size);
  if (writeFully(file_.get(), record.data, record.size, size_) != size) {
    const int reason = errno;
    (void)!ftruncate(file_.get(), size_);  // what was written of it takes room
    errno = reason;
    return false;
  }
  const bool isPassed = use == Context && unread_ == 0;
  size_ += record.size;
  if (isPassed) {
    readOffset_ = size_;
  } else {
    ++unread_;
  }
  if (use == Record) ++unrecorded_;
  return true;
}

bool SpoolSegment::read(StreamFrame& frame, Use& use) {
  unsigned char head[RECORD_HEAD_SIZE];
  if (unread_ == 0 || !readHead(readOffset_, head)) return false;
  const std::uint32_t length = loadLittleEndian(head);
  KTDataBlock bytes(length);
  const auto got = readFully(file_.get(), bytes.writable(), length, readOffset_ + RECORD_HEAD_SIZE);
  faulty_ = faulty_ || got < 0;
  if (got != static_cast<ssize_t>(length) ||
      sumOf(bytes.data, length, sumOf(head, SUM_OFFSET)) != loadLittleEndian(head + SUM_OFFSET)) {
    return false;
  }
  const std::uint32_t flags = loadLittleEndian(head + FLAGS_OFFSET);
  const std::uint64_t high = loadLittleEndian(head + TIME_OFFSET + 4);
  frame.bytes = bytes;
  frame.timeMs = static_cast<std::int64_t>(high << 32 | loadLittleEndian(head + TIME_OFFSET));
  frame.startsPlayback = (flags & STARTS_PLAYBACK) != 0;
  frame.beginsSession = (flags & BEGINS_SESSION) != 0;
  frame.settings = settings_;
  use = (flags & IS_CONTEXT) != 0 ? Context : Record;
  readOffset_ += RECORD_HEAD_SIZE + length;
  --unread_;
  if (use == Record && unrecorded_ != 0) --unrecorded_;
  return true;
}

unsigned int SpoolSegment::skipGroup() {
  unsigned int skipped = 0;
  unsigned char head[RECORD_HEAD_SIZE];
  while (unread_ != 0 && readHead(readOffset_, head)) {
    const std::uint32_t flags = loadLittleEndian(head + FLAGS_OFFSET);
    if (skipped != 0 && (flags & STARTS_PLAYBACK) != 0) return skipped;
    readOffset_ += RECORD_HEAD_SIZE + loadLittleEndian(head);
    --unread_;
    ++skipped;
    if ((flags & IS_CONTEXT) == 0 && unrecorded_ != 0) --unrecorded_;
  }
  skipped += unread_;
  passOver();
  return skipped;
}

bool SpoolSegment::peek(StreamFrame& frame) {
  const std::uint32_t offset = readOffset_;
  const unsigned int unread = unread_;
  const unsigned int unrecorded = unrecorded_;
  Use use = Record;
  const bool isThere = read(frame, use);
  readOffset_ = offset;
  unread_ = unread;
  unrecorded_ = unrecorded;
  return isThere;
}

void SpoolSegment::settle(std::uint32_t offset) {
  unsigned char bytes[4];
  storeLittleEndian(bytes, offset);
  (void)!writeFully(file_.get(), bytes, sizeof bytes, FIRST_OFFSET);  // else recorded once more
}

void SpoolSegment::remove() {
  unlink(path_.c_str());
}
