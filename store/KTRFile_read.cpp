// The reading half of KTRFile: read-ahead, the walk over the slices, record by record.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "runtime/FileIO.h"
#include "runtime/KTLogger.h"
#include "runtime/LittleEndian.h"
#include "store/KTRFile.h"
#include "store/SyncMarkers.h"

namespace {

constexpr unsigned int REFILL_BELOW = 0x200000;  // a largest record always stays whole
constexpr unsigned int READ_BLOCK_SIZE = 0xA00000;
constexpr unsigned int MAX_PIECE_SIZE = 0x80000;
constexpr unsigned int BUFFER_SIZE = 0x300000;  // a piece behind the rest of a slice
constexpr unsigned int LEAST_AVAILABLE = 9;
constexpr unsigned int STAMP_OFFSET = 1;
constexpr unsigned int STAMP_END = 5;
constexpr unsigned int SLICE_NAMES = 256;

// A larger buffer than usual serves once.
bool isFit(const KTDataBlock& buffer, unsigned int size) {
  return !buffer.isShared() && buffer.size >= size &&
         (buffer.size == BUFFER_SIZE || size > BUFFER_SIZE);
}

}  // namespace

int KTRFile::readKTRData(KTDataBlock& out) {
  recordOffset_ = readOffset_;
  bringIn(LEAST_AVAILABLE);
  if (readBuffDataAvailableSize() < REFILL_BELOW) {
    if (canRead_) refill();
    if (readBuffDataAvailableSize() < LEAST_AVAILABLE) {
      KTLogger::instance()->log(KTLogger::Warning,
                                "[ readKTRData ] No more data availaible buffer size: %d bytes!! ",
                                static_cast<int>(readBuffDataAvailableSize()));
      return -1;
    }
  }
  if (!takeMarker()) return -1;
  const unsigned int length = takeLength();
  return length == 0 ? -1 : takePayload(out, length);
}

// A block is read ahead in two steps: takeHold() moves the position behind it, and bringIn() reads
// its bytes in pieces as records want them, so that a first frame costs no whole block. What is
// held is of the slice that is open, and comes in before another one is opened; who moves the
// position meanwhile changes nothing.
void KTRFile::refill() {
  makeRoom(0);
  movedBy_ = -static_cast<int>(readPos_);
  const long startPos = pos();
  int count = takeHold();
  if (count == 0) {
    bringIn(readBuffDataAvailableSize());
    count = takeHold();  // of what is behind a bad place, or once more nothing
  }
  unsigned int walked = 0;
  while (count == 0) {
    if (!walkOn(walked)) return;
    count = takeHold();
  }
  if (count < 0) {
    reportReadError();
  } else {
    bringInFirst(walked != 0 && pos() <= startPos ? sizeof _NEW_FILE_FLAG : 0);
  }
}

// The beginning of a block, behind the marker of a change of slice.
void KTRFile::bringInFirst(unsigned int markerSize) {
  makeRoom(markerSize);
  std::memcpy(readBuffer_.writable() + readFill_, _NEW_FILE_FLAG, markerSize);
  readFill_ += markerSize;
  const unsigned int before = buffered();
  bringIn(before + 1);
  if (buffered() == before) readFill_ -= markerSize;
}

// The size of the slice's next block, 0 at the end of the slice, or -1.
int KTRFile::takeHold() {
  if (pos() != heldAt_ + static_cast<long>(unread_)) bringIn(readBuffDataAvailableSize());
  struct stat status {};
  if (fstat(handle(), &status) != 0) return -1;
  const auto left = static_cast<long>(status.st_size) - pos();
  if (left <= 0) return 0;
  const auto count = static_cast<unsigned int>(std::min<long>(left, READ_BLOCK_SIZE));
  if (unread_ == 0) heldAt_ = pos();
  (void)pos(pos() + static_cast<long>(count));
  unread_ += count;
  return static_cast<int>(count);
}

// Has the next n bytes in the buffer, or all that there are in front of a bad place.
void KTRFile::bringIn(unsigned int n) {
  while (buffered() < n && unread_ != 0) readPiece(n - buffered());
}

void KTRFile::readPiece(unsigned int least) {
  const unsigned int wanted = std::min(unread_, std::max(least, pieceSize_));
  makeRoom(wanted);
  pieceSize_ = std::min(2 * pieceSize_, MAX_PIECE_SIZE);
  const ssize_t got = readFully(handle(), readBuffer_.writable() + readFill_, wanted, heldAt_);
  if (got > 0) {
    readFill_ += static_cast<unsigned int>(got);
    unread_ -= static_cast<unsigned int>(got);
    heldAt_ += static_cast<long>(got);
    return;
  }
  if (pos() == heldAt_ + static_cast<long>(unread_)) (void)pos(heldAt_);
  unread_ = 0;
  if (got < 0) reportReadError();
}

// Once a place, which every further refill meets again. A chain whose first slice is missing was
// reported when it was opened.
void KTRFile::reportReadError() {
  if (!opened() || pos() == reportedPos_) return;
  reportedPos_ = pos();
  KTLogger::instance()->log(KTLogger::Error, "KTRFile %s read Failed !!!!", KTFile::name().c_str());
}

// The names are a ring: a chain of empty slices alone ends when all of them were looked into.
bool KTRFile::walkOn(unsigned int& walked) {
  canRead_ = walked++ < SLICE_NAMES && openNextSlice();
  return canRead_;
}

// Room for n bytes behind what is buffered, in memory that no frame uses. They are to stand in
// their pages of memory as they stand in their pages of the file, which the kernel copies fastest.
void KTRFile::makeRoom(unsigned int n) {
  const unsigned int available = buffered();
  const auto next = static_cast<unsigned int>(unread_ == 0 ? pos() : heldAt_);
  const unsigned int begin = (next - available) % PAGE_BYTES;
  const unsigned char* const rest = readBuffer_.data + readPos_;
  KTDataBlock buffer = takeBuffer(std::max(BUFFER_SIZE, begin + available + n));
  if (available != 0) std::memmove(buffer.writable() + begin, rest, available);
  readBuffer_ = std::move(buffer);
  movedBy_ += static_cast<int>(readPos_) - static_cast<int>(begin);
  readPos_ = begin;
  readFill_ = begin + available;
}

// The bytes that are buffered keep their address. A caller that still has its last frame when it
// asks for the next one has two buffers in turn. One that has frames of the buffer before as well
// keeps them, it seems: it is handed copies from then on, to hold no more than two.
KTDataBlock KTRFile::takeBuffer(unsigned int size) {
  if (isFit(readBuffer_, size)) return std::move(readBuffer_);
  framesAreKept_ = framesAreKept_ || spareBuffer_.isShared();
  KTDataBlock buffer = isFit(spareBuffer_, size) ? std::move(spareBuffer_) : KTDataBlock(size);
  spareBuffer_ = std::move(readBuffer_);
  return buffer;
}

bool KTRFile::canTake(unsigned int n) {
  bringIn(n);
  if (n <= readBuffDataAvailableSize()) return true;
  KTLogger::instance()->log(KTLogger::Error,
                            "Can't read %u bytes from the ReadBuffer which contains only %u bytes",
                            n, readBuffDataAvailableSize());
  return false;
}

bool KTRFile::takeWord(std::uint32_t& word) {
  if (!canTake(sizeof word)) return false;
  word = loadLittleEndian(readBuffer_.data + readPos_);
  readPos_ += sizeof word;
  return true;
}

bool KTRFile::takeMarker() {
  std::uint32_t marker = 0;
  if (!takeWord(marker)) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ readKTRData ] Reading ERROR !! data: %08X res=%d", marker, 0);
    return false;
  }
  int result = 1;
  if (marker == NEW_FILE_FLAG_WORD) {
    KTLogger::instance()->log(KTLogger::Warning, "[ readKTRData ] Trace - Jump to new file ");
    ++curFileIndex_;
    result = takeWord(marker) ? 1 : 0;
  }
  if (marker == FLAG_WORD) return true;
  KTLogger::instance()->log(
      KTLogger::Warning, "[ readKTRData ] Synchronization ERROR !! data: %08X res=%d wait for %08X",
      marker, result, FLAG_WORD);
  return false;
}

// The payload length of the record, or 0 when it is none that a record can have.
unsigned int KTRFile::takeLength() {
  std::uint32_t length = 0;
  const int result = takeWord(length) ? 1 : 0;
  if (length != 0 && length <= MAX_PAYLOAD_SIZE) return length;
  KTLogger::instance()->log(
      KTLogger::Warning, "[ readKTRData ] Frame Size HUGE : %d bytes res=%d  / byte wanted=%d !! ",
      static_cast<int>(length), result, 4);
  return 0;
}

// Who wants no more than the first frames is to hold no more.
bool KTRFile::lends() const {
  return pieceSize_ == MAX_PIECE_SIZE && readBuffer_.size == BUFFER_SIZE && !framesAreKept_;
}

int KTRFile::takePayload(KTDataBlock& out, unsigned int length) {
  bringIn(length);
  if (length > readBuffDataAvailableSize()) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ readKTRData ] Frame Read not completely: %d bytes available!! ",
                              static_cast<int>(readBuffDataAvailableSize()));
    return -1;
  }
  const unsigned char* payload = readBuffer_.data + readPos_;
  if (lends()) {
    out = readBuffer_.copy(readPos_, length);
  } else {
    out.setData(payload, length);
  }
  if (length >= STAMP_END) curFrameTimeStamp_ = loadLittleEndian(payload + STAMP_OFFSET);
  readPos_ += length;
  readOffset_ += length + RECORD_HEAD_SIZE;
  return static_cast<int>(length);
}

int KTRFile::go_to_pos(unsigned int offset) {
  readPos_ = 0;
  readFill_ = 0;
  movedBy_ = 0;
  unread_ = 0;
  pieceSize_ = FIRST_PIECE_SIZE;
  curFileIndex_ = fileIndex_;
  recordOffset_ = readOffset_;
  readOffset_ = offset;
  return pos(static_cast<long>(offset));
}

unsigned int KTRFile::addtoReadBuffer(const KTDataBlock& b) {
  bringIn(readBuffDataAvailableSize());
  const auto blockPos = readPos_ + static_cast<unsigned int>(movedBy_);
  const bool isResize = b.size > readBufferSize_ - (blockPos + buffered());
  if (isResize) {
    // "full" tells the read position, not the fill.
    KTLogger::instance()->log(KTLogger::Warning,
                              "VERY BAD! DO Resize of the ReadBuffer size:%d bytes full: %d bytes "
                              "blocksize to insert:%d bytes!",
                              static_cast<int>(readBufferSize_), static_cast<int>(blockPos),
                              static_cast<int>(b.size));
  }
  if (readBuffer_.isShared() || b.size > readBuffer_.size - readFill_) {
    makeRoom(std::max(b.size, BUFFER_SIZE));
  }
  if (isResize) readBufferSize_ += 2 * b.size;
  Replace(readBuffer_, readFill_, b);
  readFill_ += b.size;
  return b.size;
}

bool KTRFile::readFromReadBuffer(KTDataBlock& out, unsigned int n) {
  if (!canTake(n)) return false;
  out.setData(readBuffer_.data + readPos_, n);
  readPos_ += out.size;
  return true;
}

int KTRFile::_read(KTDataBlock& out, int size) {
  unsigned int walked = 0;
  for (;;) {
    const int count = read(out, static_cast<unsigned int>(size));
    if (count != 0 || size == 0) return count;
    if (!walkOn(walked)) return -1;
  }
}
