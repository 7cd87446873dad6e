#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "host/media/AudioFrameParser.h"
#include "host/play/RecordingReader.h"

/**
 * Reads the sound of a recording packet by packet, from a moment on: on the clock of the pictures
 * that were recorded with it.
 *
 * Owns: the read session.
 * Threads: one thread at a time for each object.
 * Blocks: for the database and the disk.
 * Errors: false from the operations. Damaged frames are passed over; the log has one warning.
 * Units: microseconds since the epoch.
 */
class AudioReader {
 public:
  /** What a recording in progress may not have on disk yet, and a little more. */
  static constexpr std::int64_t LOOK_BACK_SECONDS = 15;

  /** stream is that of the sound. */
  AudioReader(const KTString& recorder, unsigned char stream)
      : reader_(recorder, stream, RecordingReader::Audio) {}

  /**
   * Goes to the first packet that begins at or after a moment and before the end. Also true, with
   * no packet to come for now, when sound was recorded right before the moment: a recording in
   * progress may go on.
   */
  [[nodiscard]] bool seek(std::int64_t fromUs, std::int64_t endUs);
  /** What the sound is that seek() found. */
  [[nodiscard]] const AudioHeader& header() const { return *header_; }
  /** The next packet that begins before a moment. */
  [[nodiscard]] bool next(std::int64_t beforeUs, AudioPacket& packet);
  /** Looks again behind the packet read last, when there was none left. */
  void resume();
  /** The sound became another one, and what follows was left out. */
  [[nodiscard]] bool changed() const { return changed_; }

 private:
  [[nodiscard]] bool fill();
  void take(const RecordingReader::Frame& frame);

  RecordingReader reader_;
  std::shared_ptr<const AudioHeader> header_;
  AudioFrameParser parser_;
  std::deque<AudioPacket> packets_;
  std::int64_t fromUs_ = 0;
  std::int64_t lastEndUs_ = 0;  // of the packet read last
  bool atEnd_ = false;          // for now
  bool begun_ = false;          // a packet was found
  bool changed_ = false;
  bool warned_ = false;
};
