// Naming, the chain of slices and the writing half; the reading half is in KTRFile_read.cpp.
#include "store/KTRFile.h"

#include <utility>

#include "runtime/KTLogger.h"
#include "runtime/KTTimeValue.h"
#include "runtime/LittleEndian.h"
#include "store/SyncMarkers.h"

namespace {
constexpr unsigned int WRITE_BUFFER_SIZE = 512000;
// From this size on a block begins at a page and costs no memory until it is touched.
constexpr unsigned int PAGED_BLOCK_SIZE = 1U << 20;
constexpr unsigned int LARGE_PAGE_SIZE = 2U << 20;
constexpr unsigned int FLUSH_SECONDS = 11;
}  // namespace

KTRFile::KTRFile(const KTString& prefix, unsigned char fileIndex, int openFlags, int sliceMaxSize)
    : openFlags_(openFlags),
      fileIndex_(fileIndex),
      prevFileIndex_(fileIndex),
      sliceMaxSize_(sliceMaxSize),
      prefix_(prefix),
      curFileIndex_(fileIndex) {
  writeBuffer_.reserve(PAGED_BLOCK_SIZE);
  writeBuffer_.resize(WRITE_BUFFER_SIZE + PAGE_BYTES);
  setVideoFileName(prefix, fileIndex);
  if (open(openFlags, DEFAULT_MODE) != 0) {
    KTLogger::instance()->log(KTLogger::Error, "KTRFile %s opened Failed !!!!",
                              KTFile::name().c_str());
  }
}

KTRFile::~KTRFile() {
  (void)flushAndClose();
}

// Both compilers warn of the '#', which changes nothing before a d.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
void KTRFile::setVideoFileName(const KTString& prefix, unsigned int index) {
  KTString sliceName;
  name(sliceName.format("%sF%#d.dat", prefix.c_str(), static_cast<int>(index)));
}
#pragma GCC diagnostic pop

void KTRFile::_remove() {
  bringIn(readBuffDataAvailableSize());
  if (remove() != 0) {
    KTLogger::instance()->log(KTLogger::Error, "[ REMOVE FILE ERROR] : %s", KTFile::name().c_str());
  }
}

int KTRFile::_close() {                  // NOLINT(bugprone-virtual-near-miss): see the header
  bringIn(readBuffDataAvailableSize());  // a reader goes on with what it has read ahead
  return flushAndClose();
}

int KTRFile::flushAndClose() {
  if (writeFill_ != 0) (void)flush();
  const int result = KTFile::close();
  if (result != 0) {
    KTLogger::instance()->log(KTLogger::Error, "KTRFile %s closed Failed !!!!",
                              KTFile::name().c_str());
  }
  return result;
}

// Index 255 is followed by 0 on purpose: the chain is a ring of 256 names.
bool KTRFile::openNextSlice() {
  (void)_close();  // step R1 of a writer
  directWriter_ = DirectWriter();
  fileIndex_ = static_cast<unsigned char>(fileIndex_ + 1);
  setVideoFileName(prefix_, fileIndex_);
  canRead_ = true;
  return open(openFlags_, DEFAULT_MODE) == 0;  // step R2
}

void KTRFile::rollOver() {
  (void)openNextSlice();  // a slice that cannot be opened shows at the next flush
  writePos_ = static_cast<int>(pos());
  sliceJustCreated_ = true;
}

void KTRFile::createNextSlice() {
  rollOver();
}

int KTRFile::writeKTRData(const KTDataBlock& frame) {
  // The first record after a change of slice keeps the position of the record before it.
  if (!sliceJustCreated_) {
    prevFileIndex_ = fileIndex_;
    recordOffset_ = static_cast<unsigned int>(writePos_);
  }
  unsigned char length[4];
  storeLittleEndian(length, frame.size);
  appendToWriteBuffer(FLAG, sizeof FLAG);
  appendToWriteBuffer(length, sizeof length);
  appendToWriteBuffer(frame.data, frame.size);
  sliceJustCreated_ = false;
  writePos_ =
      static_cast<int>(static_cast<unsigned int>(writePos_) + frame.size + RECORD_HEAD_SIZE);
  return needToWrite(frame) ? _writeWriteBuffer() : 0;
}

bool KTRFile::needToWrite(const KTDataBlock&) {
  const auto now = static_cast<unsigned int>(KTTimeValue::now().tv_sec);
  const bool first = lastFlushTime_ == 0;
  // Unsigned on purpose: a clock that was set back counts as due.
  if (!first && now - lastFlushTime_ < FLUSH_SECONDS) return false;
  lastFlushTime_ = now;
  return !first;
}

unsigned int KTRFile::addtoWriteBuffer(const KTDataBlock& b) {
  appendToWriteBuffer(b.data, b.size);
  return b.size;
}

// A page of the buffer is no room for bytes: they begin within it, see appendToWriteBuffer().
unsigned int KTRFile::writeRoom() const {
  return writeBuffer_.size - PAGE_BYTES;
}

// The bytes stand in their page of memory as they will stand in their page of the file, so that
// whole pages can be written from where they are.
void KTRFile::appendToWriteBuffer(const unsigned char* p, unsigned int n) {
  if (writeFill_ == 0) writeBegin_ = static_cast<unsigned int>(pos()) % PAGE_BYTES;
  if (n > writeRoom() - writeFill_) growWriteBuffer(n);
  DirectWriter::collect(writeBuffer_.writable() + writeBegin_ + writeFill_, p, n);
  writeFill_ += n;
}

// The disk takes a flush out of a few large pages for half of what a thousand small ones cost. A
// stream that sends little keeps to small ones.
void KTRFile::growWriteBuffer(unsigned int n) {
  KTLogger::instance()->log(KTLogger::Warning,
                            "VERY BAD! DO Resize of the WriteBuffer size:%u bytes full: %u bytes "
                            "blocksize to insert:%u bytes!",
                            writeRoom(), writeFill_, n);
  const unsigned int size = writeBuffer_.size + 2 * n;
  if (size >= LARGE_PAGE_SIZE) writeBuffer_.reserveLargePages(size);
  writeBuffer_.resize(size);
}

int KTRFile::_writeWriteBuffer() {
  if (flush() != 0) return -1;
  if (currentSliceFull()) rollOver();
  return 0;
}

// Writes out what is buffered. After a failure the buffered records are lost and the file stays
// as far as it was written.
int KTRFile::flush() {
  const unsigned int count = std::exchange(writeFill_, 0);
  const int result = writeOut(count);  // step F1
  if (result >= 0) return 0;
  KTLogger::instance()->log(KTLogger::Error, "writeKTRData: NULL res:%d , %u bytes", result, count);
  return -1;
}

int KTRFile::writeOut(unsigned int n) {
  const unsigned char* bytes = writeBuffer_.data + writeBegin_;
  const ssize_t put = directWriter_.write(handle(), bytes, n, pos());
  if (put > 0) (void)pos(pos() + static_cast<long>(put));
  return static_cast<int>(put);
}

void KTRFile::Replace(KTDataBlock& dst, unsigned int offset, const KTDataBlock& src) {
  dst.replace(offset, src);
}
