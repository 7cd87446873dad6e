#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/media/AudioHeader.h"
#include "host/media/AudioPacket.h"
#include "host/media/MediaCodec.h"
#include "runtime/KTRVideoFrame.h"

/**
 * Writes stored frames of one stream, and the sound that goes with it, to a file that players know.
 * The name decides what it is: .mp4 and .mkv are containers with exact time stamps; .h264, .264,
 * .h265, .265, .hevc, .mjpeg and .mjpg are the bytes alone, as is the standard output, "-"; they
 * hold no sound.
 *
 * Nothing is coded anew, and the time stamps stay true to the recording: it begins at 0, and a gap
 * in the recording is a gap in the file. Where the parameter sets change in the middle (a camera
 * that was set to another picture size), the file goes on with the new ones in the stream, which
 * most players follow; the log has one warning.
 *
 * Owns: the output.
 * Threads: one thread at a time for each object.
 * Blocks: as long as the disk or the pipe's reader does.
 * Errors: MediaError.
 */
class MediaOutput {
 public:
  /** What a form of output has in common; used through MediaOutput only. */
  class Form {
   public:
    virtual ~Form();
    virtual void write(std::int64_t stampMs, const KTRVideoFrame& frame) = 0;
    virtual void writeAudio(const AudioPacket& packet) = 0;
    virtual void finish() = 0;
  };

  /** Makes the output, or empties the file that there is; audio is null for pictures alone. */
  MediaOutput(const std::string& path, MediaCodec codec, const AudioHeader* audio = nullptr);
  MediaOutput(const MediaOutput&) = delete;
  MediaOutput& operator=(const MediaOutput&) = delete;
  ~MediaOutput();

  /**
   * Throws the error of the constructor for a name that says nothing and for a place where no file
   * can be made, without making anything: before the codec is known.
   */
  static void checkName(const std::string& path);
  /** Whether a file of this name holds sound at all. */
  [[nodiscard]] static bool holdsAudio(const std::string& path);
  /** Whether a file of this name holds sound of this kind. */
  [[nodiscard]] static bool holdsAudio(const std::string& path, AudioCodec codec);
  /** Throws the error of the constructor for a name that does not fit, without making anything. */
  static void checkName(const std::string& path, MediaCodec codec);

  /**
   * Adds a frame, in the order of storing. Frames before the first key frame and those without
   * video are passed over.
   *
   * @param stampMs  the frame's stamp as absolute milliseconds, midnights passed included
   */
  void write(std::int64_t stampMs, const KTRVideoFrame& frame);
  /**
   * Adds a packet of sound, in the order of time; its time is on the clock of the stamps. Sound
   * from before the first picture is passed over, and all where the output holds none.
   */
  void writeAudio(const AudioPacket& packet);
  /** Completes the file; without it a container cannot be played. */
  void finish();
  /** Frames written so far. */
  [[nodiscard]] std::uint64_t frames() const { return frames_; }

 private:
  MediaCodec codec_;
  std::uint64_t frames_ = 0;
  std::unique_ptr<Form> form_;
};
