#pragma once

#include "runtime/KTRExport.h"

/**
 * An owning, resizable byte buffer with value semantics.
 *
 * Copies share one reference-counted storage until one of them is changed, so a frame travels from
 * the host through a queue and a parser to the write buffer without its bytes being copied. What a
 * caller sees is a deep copy all the same: no change of one block shows in another.
 *
 * Owns: its bytes (shared with its unchanged copies).
 * Threads: one thread at a time for each object; copies may live on different threads.
 * Blocks: never.
 * Errors: throws std::bad_alloc when memory is gone, as the standard containers do.
 * Units: sizes and offsets in bytes.
 */
class KTR_API KTDataBlock {
 public:
  /** Number of valid bytes. Read it; change it only through resize() and clear(). */
  unsigned int size;
  /** First byte, or null while no byte was ever stored. Valid until the block is changed. */
  const unsigned char* data;

  /**
   * A block of n zero bytes; n = 0 gives the empty block. A block of 1 MiB or more begins at a
   * page, and its pages become resident only when they are touched.
   */
  explicit KTDataBlock(unsigned int n = 0);
  /** A block that holds a copy of the n bytes at p. */
  KTDataBlock(const unsigned char* p, unsigned int n);
  KTDataBlock(const KTDataBlock& other) noexcept;
  KTDataBlock(KTDataBlock&& other) noexcept;
  KTDataBlock& operator=(const KTDataBlock& other) noexcept;
  KTDataBlock& operator=(KTDataBlock&& other) noexcept;
  ~KTDataBlock();

  /** Size becomes 0; the room is kept for later use. */
  void clear();
  /**
   * Size becomes n; the first min(old, n) bytes are kept, new bytes are unspecified. Growth leaves
   * room to spare, so that growing bit by bit stays cheap.
   */
  void resize(unsigned int n);
  /** Makes room for n bytes without changing the size. */
  void reserve(unsigned int n);
  /**
   * Makes room for n bytes and a half as much to spare, 6 MiB at least, in large pages where the
   * kernel has them: the disk takes and gives those with less work. The bytes begin with one of
   * them, until they outgrow this room. They become resident when they are touched. Room of this
   * kind that is large enough already is kept.
   */
  void reserveLargePages(unsigned int n);
  /** Copies the bytes of b over this block from offset on; offset + b.size must not pass size. */
  void replace(unsigned int offset, const KTDataBlock& b);
  /** Contents become a copy of the n bytes at p; p may point into this block. */
  void setData(const unsigned char* p, unsigned int n);
  /** The n bytes from offset on, or what there is of them. Shares storage with this block. */
  [[nodiscard]] KTDataBlock copy(unsigned int offset, unsigned int n) const;
  /** Copies the first n bytes (at most size of them) to dst. */
  void getData(unsigned char* dst, unsigned int n) const;
  /**
   * Whether other blocks share this one's storage. Once false it stays so until this block is
   * copied: nobody else can make a copy of its bytes.
   */
  [[nodiscard]] bool isShared() const;
  /** The bytes for writing: gives this block a storage of its own first. */
  [[nodiscard]] unsigned char* writable();
  KTDataBlock& operator+=(const KTDataBlock& b);
  [[nodiscard]] KTDataBlock operator+(const KTDataBlock& b) const;
  [[nodiscard]] bool operator==(const KTDataBlock& b) const;
  [[nodiscard]] bool operator!=(const KTDataBlock& b) const { return !(*this == b); }

 private:
  struct Storage;

  void release();
  void moveTo(unsigned int capacity);
  [[nodiscard]] bool movesItsPages(unsigned int capacity) const;
  void growTo(unsigned int n);
  [[nodiscard]] unsigned int ownRoom() const;

  Storage* storage_;
};
