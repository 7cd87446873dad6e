#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/HostError.h"
#include "host/media/FrameLog.h"
#include "host/media/MediaOutput.h"
#include "host/play/AudioReader.h"
#include "host/play/RecordingReader.h"

class StopSignal;

/**
 * Writes a stretch of a recording to a media file or a pipe, with the sound that was recorded
 * beside it where the file holds any.
 *
 * Owns: the readers and the output.
 * Threads: one thread at a time for each object.
 * Blocks: writeAll() until all is written.
 * Errors: HostError and MediaError, each one line for a person.
 */
class PlayRun {
 public:
  struct Options {
    std::string recorder;
    unsigned char stream = 0;
    std::int64_t at = 0;       // seconds since the epoch
    std::int64_t seconds = 0;  // length of the stretch
    std::string output;        // file, or "-"
    std::string frameLog;      // file of one line for each frame written; empty for none
    bool fromLast = false;     // begin at the last key frame, whatever `at` says
    bool audio = false;        // write the sound too
    unsigned char audioStream = 0;
  };

  struct Result {
    std::uint64_t frames = 0;
    std::int64_t firstMs = 0;  // time of the first frame, since the epoch
    std::int64_t lastMs = 0;
    std::uint64_t audioPackets = 0;
    std::string audioLeftOut;   // codec of sound that the file does not hold
    bool audioChanged = false;  // the rest of the sound is another one and was left out
    bool codecChanged = false;  // the rest of the stretch has another codec and was left out
  };

  explicit PlayRun(const Options& options);
  PlayRun(const PlayRun&) = delete;
  PlayRun& operator=(const PlayRun&) = delete;
  ~PlayRun();

  /** Goes to the moment; false when nothing was recorded then, or is not on disk yet. */
  [[nodiscard]] bool find();
  /** The failure to throw when find() answers false for good. */
  [[nodiscard]] HostError nothingFound() const;
  /** Makes the output, once the moment was found. */
  void open();
  /** Writes frames until the stretch or the recording ends; true when the stretch has ended. */
  [[nodiscard]] bool writeAll(const StopSignal& stop);
  /** Whether a recording in progress holds more frames now. */
  [[nodiscard]] bool hasMore();
  /** Completes the output. */
  [[nodiscard]] Result finish();

 private:
  void openAudio();
  void writeAudio(std::int64_t beforeMs);
  [[nodiscard]] bool write(const RecordingReader::Frame& frame);

  const Options options_;
  RecordingReader reader_;
  std::unique_ptr<AudioReader> audio_;  // null without sound
  KTString codec_;
  std::int64_t endMs_ = 0;
  std::int64_t shownUntilMs_ = 0;  // end of the last picture
  std::unique_ptr<MediaOutput> output_;
  std::unique_ptr<FrameLog> frameLog_;
  Result result_;
};
