#pragma once

#include <cstdint>

#include "runtime/KTDataBlock.h"
#include "runtime/KTFile.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"
#include "store/DirectWriter.h"

/**
 * The chain of slice files of one record session, for one writer or one reader: the format of
 * docs/format/slice.md. A writer appends whole frames to a buffer that reaches the disk at most
 * every 11 seconds and goes on in the next slice when the current one is full. A reader reads ahead
 * in large blocks, walks from slice to slice by itself and hands out one frame per call.
 *
 * Owns: the open slice and its buffers, but for what frames share with it.
 * Threads: one thread at a time for each object; readers of a live chain use objects of their own
 *   and see what the writer has flushed.
 * Blocks: writeKTRData() once in 11 seconds for one large write; readKTRData() for a piece of
 *   512 KiB of what it reads ahead, at some calls, and of 2 MiB at the end of a slice. What it has
 *   not yet brought in then goes with the descriptor: KTFile's own close() and open() drop it,
 *   _close() and _remove() do not.
 * Errors: 0 or -1, with a log line. A failed slice open shows in later operations; a failed flush
 *   drops what was buffered.
 * Units: bytes; times in seconds; frame stamps in milliseconds since midnight.
 */
class KTR_API KTRFile : public KTFile {
 public:
  static constexpr int READ_FLAGS = 0;
  static constexpr int WRITE_FLAGS = 66;  // O_RDWR | O_CREAT: no truncation, no append
  static constexpr int READ_SLICE_SIZE = 0x1FFFFFFF;
  static constexpr unsigned int MAX_PAYLOAD_SIZE = 0x200000;
  static constexpr unsigned int RECORD_HEAD_SIZE = 8;

  /** Opens slice fileIndex of the chain with open(2) flags; see READ_FLAGS and WRITE_FLAGS. */
  KTRFile(const KTString& prefix, unsigned char fileIndex, int openFlags, int sliceMaxSize);
  ~KTRFile() override;

  /** Sets the name to slice index of a chain; opens nothing and changes no position. */
  void setVideoFileName(const KTString& prefix, unsigned int index);
  /** Slice that is open: written to, or reached by read-ahead. */
  [[nodiscard]] unsigned char fileIndex() const { return fileIndex_; }
  /** Writer: slice of the last record written. */
  [[nodiscard]] unsigned char prevFileIndex() const { return prevFileIndex_; }
  /** Offset at which the last record written or returned begins. */
  [[nodiscard]] unsigned int recordOffset() const { return recordOffset_; }
  /** Writer: offset at which the next record begins; what is buffered counts. */
  [[nodiscard]] unsigned int writeOffset() const { return static_cast<unsigned int>(writePos_); }
  /** Reader: slice of the record being parsed. */
  [[nodiscard]] unsigned int curFileIndex() const { return curFileIndex_; }
  /** Reader: logical offset of the next record; it runs on over a change of slice. */
  [[nodiscard]] unsigned int curReadOffset() const { return readOffset_; }
  /** Reader: stamp of the last record returned that was long enough to have one; 0 before. */
  [[nodiscard]] unsigned int curFrameTimeStamp() const { return curFrameTimeStamp_; }
  [[nodiscard]] bool currentSliceFull() const { return pos() >= sliceMaxSize_; }
  /** Deletes the current slice from disk. */
  void _remove();
  /** Flushes and closes: 0, or -1 when the system reports a late write error. */
  int _close();  // NOLINT(bugprone-virtual-near-miss): close() is KTFile's and flushes nothing

  /** Appends one record: 0, or -1 when a flush made by this call failed. */
  [[nodiscard]] int writeKTRData(const KTDataBlock& frame);
  /** Flushes and goes on in the next slice, whatever the size of the current one. */
  void createNextSlice();
  /** The flush-time test: true, and the time noted, when 11 seconds have passed; frame unused. */
  [[nodiscard]] bool needToWrite(const KTDataBlock& frame);
  /** Appends b to the write buffer, which grows when needed; returns b's size. */
  unsigned int addtoWriteBuffer(const KTDataBlock& b);
  /** Flushes the write buffer and goes on in the next slice when this one is full: 0 or -1. */
  int _writeWriteBuffer();
  /** Copies src over dst from offset on; the caller guarantees the room. */
  void Replace(KTDataBlock& dst, unsigned int offset, const KTDataBlock& src);

  /**
   * The next record's payload: its length, or -1 with out unchanged. After the first few
   * pieces, 200 KiB or so, out shares the bytes that were read ahead, begins at any address, and
   * keeps their buffer of up to 3 MiB in memory. A reader whose caller keeps frames of two such
   * buffers hands out copies from then on.
   */
  [[nodiscard]] int readKTRData(KTDataBlock& out);
  /** Reader: goes to a record start in the open slice: 0, or -1 when none is open. */
  [[nodiscard]] int go_to_pos(unsigned int offset);
  /** Appends b to the read buffer, which grows when needed; returns b's size. */
  unsigned int addtoReadBuffer(const KTDataBlock& b);
  /** Takes n bytes of what was read ahead; false, taking nothing, when there are fewer. */
  [[nodiscard]] bool readFromReadBuffer(KTDataBlock& out, unsigned int n);
  [[nodiscard]] unsigned int readBuffDataAvailableSize() const { return buffered() + unread_; }
  /** Raw bytes, walking on to the next slices: the count, or -1 at the end of the chain. */
  [[nodiscard]] int _read(KTDataBlock& out, int size);

 private:
  static constexpr unsigned int PAGE_BYTES = DirectWriter::PAGE_BYTES;
  static constexpr unsigned int FIRST_PIECE_SIZE = 0x8000;  // a first frame waits for no more

  [[nodiscard]] int flush();
  [[nodiscard]] int writeOut(unsigned int n);
  [[nodiscard]] unsigned int writeRoom() const;
  int flushAndClose();
  [[nodiscard]] bool openNextSlice();
  void rollOver();
  void appendToWriteBuffer(const unsigned char* p, unsigned int n);
  void growWriteBuffer(unsigned int n);

  void refill();
  void bringInFirst(unsigned int markerSize);
  [[nodiscard]] int takeHold();
  void bringIn(unsigned int n);
  void readPiece(unsigned int least);
  [[nodiscard]] unsigned int buffered() const { return readFill_ - readPos_; }
  void reportReadError();
  [[nodiscard]] bool walkOn(unsigned int& walked);
  void makeRoom(unsigned int n);
  [[nodiscard]] KTDataBlock takeBuffer(unsigned int size);
  [[nodiscard]] bool canTake(unsigned int n);
  [[nodiscard]] bool takeWord(std::uint32_t& word);
  [[nodiscard]] bool takeMarker();
  [[nodiscard]] unsigned int takeLength();
  [[nodiscard]] bool lends() const;
  int takePayload(KTDataBlock& out, unsigned int length);

  int openFlags_;
  unsigned char fileIndex_;
  unsigned char prevFileIndex_;
  unsigned int lastFlushTime_ = 0;
  int writePos_ = 0;
  int sliceMaxSize_;
  unsigned int recordOffset_ = 0;
  KTString prefix_;
  unsigned int readBufferSize_ = 0x1400000;  // as if a block were read at once
  KTDataBlock readBuffer_;
  KTDataBlock spareBuffer_;     // the one before it, which frames of the caller may still use
  bool framesAreKept_ = false;  // by the caller, over more than a buffer
  KTDataBlock writeBuffer_;
  unsigned int writeFill_ = 0;
  unsigned int writeBegin_ = 0;
  DirectWriter directWriter_;
  unsigned int readPos_ = 0;
  unsigned int readFill_ = 0;
  int movedBy_ = 0;          // to the front, of the bytes in readBuffer_, since the last refill
  unsigned int unread_ = 0;  // bytes that were taken hold of and are to follow in readBuffer_
  long heldAt_ = 0;          // position of the first of them
  unsigned int pieceSize_ = FIRST_PIECE_SIZE;
  unsigned int readOffset_ = 0;
  unsigned int curFileIndex_;
  unsigned int curFrameTimeStamp_ = 0;
  bool sliceJustCreated_ = false;
  bool canRead_ = true;
  long reportedPos_ = -1;  // of the last read error
};
