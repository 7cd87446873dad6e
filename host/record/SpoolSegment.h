#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/record/StreamFrame.h"
#include "host/system/UniqueFd.h"

/**
 * One file of a spool: frames of equal settings in their order, with their times. The format is
 * that of docs/format/spool.md.
 *
 * Owns: the open file; remove() deletes it.
 * Threads: one thread at a time for each object.
 * Blocks: for the file system.
 * Errors: by result; a record that is cut short ends the file, one that is damaged is not read.
 * Units: offsets and sizes in bytes.
 */
class SpoolSegment {
 public:
  static constexpr unsigned int HEADER_SIZE = 24;
  static constexpr unsigned int RECORD_HEAD_SIZE = 20;

  /** Whether a frame is to be recorded, or is there only for those behind it to be decoded. */
  enum Use { Record, Context };

  /** Makes the file; null when that fails, errno tells why. */
  [[nodiscard]] static std::unique_ptr<SpoolSegment> create(
      const std::string& path, const std::shared_ptr<const StreamSettings>& settings);
  /** Opens a file that an earlier process has left; null when it is none. */
  [[nodiscard]] static std::unique_ptr<SpoolSegment> open(const std::string& path);

  SpoolSegment(const SpoolSegment&) = delete;
  SpoolSegment& operator=(const SpoolSegment&) = delete;

  /** Bytes that a frame takes. */
  [[nodiscard]] static std::uint64_t sizeOf(const StreamFrame& frame) {
    return RECORD_HEAD_SIZE + frame.bytes.size;
  }

  /**
   * Appends a frame; false, the file as it was, when it could not be written. Context that comes
   * behind all that was read counts as read.
   */
  [[nodiscard]] bool append(const StreamFrame& frame, Use use);
  /** The next frame; false, frame unchanged, at the end and where it is damaged. */
  [[nodiscard]] bool read(StreamFrame& frame, Use& use);
  /** The next frame, which stays the next; false, frame unchanged, at the end. */
  [[nodiscard]] bool peek(StreamFrame& frame);
  /** Frames that were not read yet. */
  [[nodiscard]] unsigned int unread() const { return unread_; }
  /** Those among them that this process has added to be recorded. */
  [[nodiscard]] unsigned int unrecorded() const { return unrecorded_; }
  /**
   * Passes over a frame that cannot be read, and those behind it that need it: how many of them
   * were to be recorded.
   */
  [[nodiscard]] unsigned int skipGroup();
  /** Gives up what was not read. */
  void passOver() { unread_ = unrecorded_ = 0; }
  /** Whether the disk has refused to give back what is in the file. */
  [[nodiscard]] bool isFaulty() const { return faulty_; }
  /** Where the next frame is read. */
  [[nodiscard]] std::uint32_t readOffset() const { return readOffset_; }
  /** Notes in the file that what lies before an offset is recorded. */
  void settle(std::uint32_t offset);
  [[nodiscard]] std::uint32_t size() const { return size_; }
  [[nodiscard]] const std::shared_ptr<const StreamSettings>& settings() const { return settings_; }
  void remove();

 private:
  SpoolSegment(std::string path, UniqueFd file) : path_(std::move(path)), file_(std::move(file)) {}

  [[nodiscard]] bool writeHeader();
  [[nodiscard]] bool readHeader();
  void countFrames();
  [[nodiscard]] bool readHead(std::uint32_t offset, unsigned char* head);

  std::string path_;
  UniqueFd file_;
  std::shared_ptr<const StreamSettings> settings_;
  std::uint32_t size_ = 0;  // behind the last sound record
  std::uint32_t readOffset_ = 0;
  unsigned int unread_ = 0;
  unsigned int unrecorded_ = 0;
  bool faulty_ = false;
};
