#pragma once

#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * A file on disk with a current position. Reads and writes are whole: interrupted and short
 * transfers are continued.
 *
 * Owns: its descriptor, closed by the destructor when close() was not called.
 * Threads: one thread at a time for each object.
 * Blocks: open(), read(), write(), truncate(), remove() for the file system.
 * Errors: by result; errno tells the cause until the next call.
 * Units: bytes.
 */
class KTR_API KTFile {
 public:
  static constexpr unsigned int DEFAULT_MODE = 0644;

  KTFile();
  explicit KTFile(const KTString& path);
  KTFile(const KTFile&) = delete;
  KTFile& operator=(const KTFile&) = delete;

  /** The descriptor, -1 while closed. */
  [[nodiscard]] virtual int handle() const { return handle_; }
  [[nodiscard]] virtual KTString name() const { return name_; }
  /** Opens with the flags and mode last given. 0, or -1. */
  virtual int open();
  /** Harmless when closed. 0, or -1 when the system reports a late write error. */
  virtual int close();
  [[nodiscard]] virtual bool opened() const { return handle_ >= 0; }
  /** As read(b, b.size). */
  virtual int read(KTDataBlock& b);
  /** As write(b, b.size). */
  virtual int write(const KTDataBlock& b);
  virtual ~KTFile();

  /** Sets the path that the next open() uses. */
  void name(const KTString& path) { name_ = path; }
  /** Opens the path anew at position 0 with open(2) flags and a creation mode. 0, or -1. */
  int open(int flags, unsigned int mode);
  /** Reads up to n bytes into b, which holds what was read: the count, 0 at the end, or -1. */
  int read(KTDataBlock& b, unsigned int n);
  /** Writes the first n bytes of b: n, or -1 when not all could be written (position unchanged). */
  int write(const KTDataBlock& b, unsigned int n);
  /** The current position; 0 while closed. */
  [[nodiscard]] long pos() const { return opened() ? pos_ : 0; }
  /** Moves to an absolute position: 0, or -1 for a closed file or a negative position. */
  int pos(long p);
  /** Makes the file this long; the position stays. 0, or -1. */
  int truncate(long length);
  /** Closes the file and deletes it from disk: 0, or -1. */
  int remove();

 protected:
  /** As read(), into memory with room for n bytes. */
  int readInto(unsigned char* dst, unsigned int n);

 private:
  KTString name_;
  int handle_ = -1;
  int flags_ = 0;
  unsigned int mode_ = DEFAULT_MODE;
  long pos_ = 0;
};
