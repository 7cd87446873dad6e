#pragma once

#include <cstdint>

#include "runtime/KTRDynamicDataBlock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTRFrameFormat.h"

/**
 * Walks the frames of one committed message: the parser of docs/format/frame.md, for video, JPEG
 * and audio frames alike. It checks all that it reads: a frame of an unknown kind, one whose length
 * runs past the message and one larger than a stored frame may be end the walk, with one warning
 * that says why. The rest of that message yields no frame; it counts as unparsed until the next
 * parse() or clear(). A frame never spans two messages.
 *
 * Owns: the message's bytes, shared with the block that was parsed; nothing is copied.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: false from parse() or next() when no sound frame is left.
 */
class KTR_API KTRVideoFrame : public KTRDynamicDataBlock {
 public:
  KTRVideoFrame();
  ~KTRVideoFrame() override;

  /** Takes one message; true when it begins with a sound frame, on which the parser then stands. */
  [[nodiscard]] bool parse(const KTDataBlock& data);
  /** Moves to the next frame of the message; false, standing on none, when there is none. */
  [[nodiscard]] bool next();
  /** The current frame as it is to be stored, head included; empty when standing on none. */
  [[nodiscard]] KTDataBlock data() const { return frame_; }
  /** Forgets the message. */
  void clear();

  /** A frame at which playback can begin. */
  [[nodiscard]] bool isKFrame() const { return kind() == KTRFrameFormat::Key; }
  /** A self-contained JPEG picture. */
  [[nodiscard]] bool isJpeg() const { return kind() == KTRFrameFormat::Jpeg; }
  /** 0 for a frame without content, and when standing on none. */
  [[nodiscard]] int contentIndicator() const { return kind() == KTRFrameFormat::Empty ? 0 : 1; }
  [[nodiscard]] KTRFrameFormat::Kind kind() const;
  /** Milliseconds since the gateway's midnight; the decoding time of a stream with B-frames. */
  [[nodiscard]] std::uint32_t timeStamp() const;
  /** Presentation time minus decoding time, milliseconds; 0 when the frame carries none. */
  [[nodiscard]] std::int32_t compositionOffset() const;
  /** The media bytes: what follows the head and the composition offset. */
  [[nodiscard]] KTDataBlock payload() const;
  /** Bytes of the message that no frame was taken from yet, those of a refused rest included. */
  [[nodiscard]] unsigned int unparsedSize() const { return block_.size - nextOffset_; }

 private:
  [[nodiscard]] bool take();
  [[nodiscard]] bool refuse(const char* reason);
  [[nodiscard]] unsigned int headSize() const;

  KTDataBlock frame_;
  unsigned int nextOffset_ = 0;
  bool refused_ = false;  // what is left of the message holds no sound frame
};
