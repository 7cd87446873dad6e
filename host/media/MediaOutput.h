#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/media/MediaCodec.h"
#include "runtime/KTRVideoFrame.h"

/**
 * Writes stored frames of one stream to a file that players know. The name decides what it is:
 * .mp4 and .mkv are containers with exact time stamps; .h264, .264, .h265, .265, .hevc, .mjpeg and
 * .mjpg are the bytes alone, as is the standard output, "-".
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
    virtual void finish() = 0;
  };

  /** Makes the output, or empties the file that there is. */
  MediaOutput(const std::string& path, MediaCodec codec);
  MediaOutput(const MediaOutput&) = delete;
  MediaOutput& operator=(const MediaOutput&) = delete;
  ~MediaOutput();

  /**
   * Throws the error of the constructor for a name that says nothing and for a place where no file
   * can be made, without making anything: before the codec is known.
   */
  static void checkName(const std::string& path);
  /** Throws the error of the constructor for a name that does not fit, without making anything. */
  static void checkName(const std::string& path, MediaCodec codec);

  /**
   * Adds a frame, in the order of storing. Frames before the first key frame and those without
   * video are passed over.
   *
   * @param stampMs  the frame's stamp as absolute milliseconds, midnights passed included
   */
  void write(std::int64_t stampMs, const KTRVideoFrame& frame);
  /** Completes the file; without it a container cannot be played. */
  void finish();
  /** Frames written so far. */
  [[nodiscard]] std::uint64_t frames() const { return frames_; }

 private:
  MediaCodec codec_;
  std::uint64_t frames_ = 0;
  std::unique_ptr<Form> form_;
};
