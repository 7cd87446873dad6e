#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "host/record/SpoolSegment.h"
#include "runtime/KTClock.h"

/**
 * The frames of one stream that wait on disk until they can be recorded: first in, first out, in a
 * directory of files of a few groups of pictures each. What an earlier process has left there comes
 * first. When the spool is full the oldest file goes, so that whole groups of pictures are lost and
 * what is kept ends with the present.
 *
 * A file whose frames are recorded stays for SAFE_AFTER: the system may hold what was recorded in
 * memory for so long, and a power cut before would take both.
 *
 * Owns: its files; they stay until the frames in them are settled or dropped.
 * Threads: one thread at a time for each object.
 * Blocks: for the file system.
 * Errors: by result; a file that cannot be read is left where it is and passed over. A damaged
 * frame is dropped with those behind it that need it. Units: bytes.
 */
class FrameSpool {
 public:
  enum Appended { Stored, Refused };

  /** What is written is on the disk by then: the system writes it after 30 seconds, with time to
   * spare. */
  static constexpr KTClock::Span SAFE_AFTER = std::chrono::seconds(60);

  /** Nothing is made before the first append(); limit 0 keeps it from storing anything. */
  FrameSpool(std::string directory, std::uint64_t limit);
  FrameSpool(const FrameSpool&) = delete;
  FrameSpool& operator=(const FrameSpool&) = delete;

  [[nodiscard]] bool stores() const { return limit_ != 0; }
  [[nodiscard]] const std::string& directory() const { return directory_; }
  /** Frames that were not taken out yet. */
  [[nodiscard]] std::uint64_t frames() const { return frames_; }
  [[nodiscard]] bool empty() const { return frames_ == 0; }
  /** Frames that an earlier process has left and that were not taken out yet. */
  [[nodiscard]] bool hasLeftover() const { return leftover_ != 0; }
  /** Frames that were dropped since the last call, for want of room or damaged. */
  [[nodiscard]] std::uint64_t takeDropped();

  /**
   * Adds a frame behind all others; Refused, errno telling why, when it cannot be written. Context
   * is for another process: this one is not given it.
   */
  [[nodiscard]] Appended append(const StreamFrame& frame,
                                SpoolSegment::Use use = SpoolSegment::Record);
  /** The place behind the frame that was added last. */
  [[nodiscard]] std::uint64_t end() const;
  /**
   * Takes out the next frame that is to be recorded, with its place. Of an earlier process's frames
   * those that are context come too: it may have ended before they were recorded.
   */
  [[nodiscard]] bool take(StreamFrame& frame);
  /** The next frame, which stays the next; nothing when there is none. */
  [[nodiscard]] std::optional<StreamFrame> first() const;
  /** All up to the place of a frame that was taken is recorded. */
  void settle(std::uint64_t place);
  /** At the end: sees to it that all that was recorded is on the disk, and removes the rest. */
  void finish();

 private:
  struct Part {
    std::uint32_t number;
    std::unique_ptr<SpoolSegment> file;
    bool left = false;                                      // by an earlier process
    std::optional<KTClock::Span> settledAt = std::nullopt;  // all of it is recorded since
  };

  [[nodiscard]] std::string pathOf(std::uint32_t number) const;
  void findLeftover();
  [[nodiscard]] bool needsPart(const StreamFrame& frame) const;
  [[nodiscard]] bool makePart(const StreamFrame& frame);
  [[nodiscard]] bool makeDirectory() const;
  void countRead(Part& part, unsigned int frames);
  void passOver(Part& part);
  void removeSettled(KTClock::Span before);
  void forget(Part& part);
  void dropOldest();
  void makeRoom(std::uint64_t needed);

  const std::string directory_;
  const std::uint64_t limit_;
  std::deque<Part> parts_;
  std::uint64_t bytes_ = 0;
  std::uint64_t frames_ = 0;
  std::uint64_t leftover_ = 0;
  std::uint64_t dropped_ = 0;
  std::uint32_t next_;
  bool needsStart_ = false;  // the group of pictures that comes is incomplete
};
