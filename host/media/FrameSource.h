#pragma once

#include <cstdint>
#include <deque>
#include <exception>

#include "host/media/AccessUnit.h"
#include "host/media/AudioFrameBuilder.h"
#include "host/media/FrameStamper.h"
#include "host/media/MediaInput.h"
#include "runtime/KTDataBlock.h"
#include "runtime/KTRFrameFormat.h"

/**
 * Makes frames for record sessions of the pictures of a MediaInput, and of its sound where that is
 * delivered: KTRTask::commit() takes each block as it is; frames of sound are of their own kind and
 * stamped by the same clock. The first frame is a key frame (or a JPEG picture), and sound from
 * before it is dropped. A picture larger than a
 * stored frame may be is dropped, and so are the pictures behind it that need it.
 *
 * Owns: the stamps of its streams; the input belongs to the caller and must outlive it.
 * Threads: one thread at a time for each object.
 * Blocks: next() as MediaInput::read().
 * Errors: next() throws MediaError as MediaInput::read(), when all that was read has been handed
 * out. Dropped pictures are a warning in the log, one until a frame is stored again; a jump of the
 * source's clock is one too.
 */
class FrameSource {
 public:
  explicit FrameSource(MediaInput& input) : input_(input) {}

  /**
   * The next frame, dropped pictures passed over.
   * @return false at the end of the input and after its stop(); frame is unchanged then
   */
  [[nodiscard]] bool next(KTDataBlock& frame);
  /** The time of that frame, milliseconds since the epoch. */
  [[nodiscard]] std::int64_t timeMs() const { return timeMs_; }

  /** The frame of one picture; empty when the picture is dropped. */
  [[nodiscard]] KTDataBlock frameOf(const AccessUnit& unit);
  /** Pictures dropped because they were too large, or because they needed one that was. */
  [[nodiscard]] std::uint64_t droppedPictures() const { return dropped_; }

 private:
  [[nodiscard]] bool readOn();
  void takeAudio();
  [[nodiscard]] KTRFrameFormat::Kind kindOf(const AccessUnit& unit) const;
  void warnOfSize(const AccessUnit& unit) const;

  MediaInput& input_;
  FrameStamper stamper_;
  AudioFrameBuilder audio_;
  struct Ready {
    KTDataBlock frame;
    std::int64_t timeMs;
  };

  std::deque<Ready> ready_;
  std::int64_t timeMs_ = 0;   // of the frame handed out last
  std::exception_ptr flaw_;   // that ended the input
  std::int64_t startUs_ = 0;  // of the first frame, on the input's timeline
  bool needsKey_ = true;
  bool started_ = false;
  bool warned_ = false;  // of the size, since the last frame
  std::uint64_t dropped_ = 0;
};
