#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "host/byevents/ByEventsOptions.h"
#include "host/byevents/EventGate.h"
#include "host/media/FrameLog.h"
#include "host/media/FrameSource.h"
#include "host/media/MediaInput.h"
#include "host/record/SessionFeed.h"

/**
 * One source being recorded, its pictures and its sound as a stream each: a thread that reads the
 * source and feeds record sessions until it ends or is stopped. A camera that ends or fails is
 * tried again, after a growing pause; so is any other network source that fails. What else ends or
 * cannot be read is done.
 *
 * Owns: its thread, its source, its record sessions.
 * Threads: constructed, started, joined and destroyed by one thread; stop(), status(),
 *   confirmEvent() and takeError() from any.
 * Blocks: join() and the destructor until all that was received is stored.
 * Errors: the constructor throws MediaError when the frame log cannot be made; takeError() holds
 *   the one line of a source that failed for good, or of a frame log that did.
 */
class StreamRecorder {
 public:
  struct Options {
    std::string recorder;
    std::string storageDirectory;
    int sliceSize = 0;  // bytes
    unsigned char stream = 0;
    std::string url;
    std::string frameLog;  // file of one line for each frame fed; empty for none
    bool audio = false;    // record the sound too, as a stream of its own
    unsigned char audioStream = 0;
    std::string audioLog;        // as frameLog, for the sound
    bool realtime = true;        // pace files
    std::string spoolDirectory;  // of the recorder; each stream has a directory of its own below it
    std::uint64_t spoolBytes = 0;  // of each stream; 0 for no spool
    std::optional<ByEvents> byEvents;
  };

  struct Status {
    SessionFeed::Progress progress;
    bool failed = false;  // there is, or was, an error to take
    bool done = false;
    std::optional<SessionFeed::Progress> audio;  // once there is sound
  };

  /** How one of the streams is fed into record sessions. */
  [[nodiscard]] static SessionFeed::Options feedOptions(const Options& options,
                                                        unsigned char stream);

  /** Records nothing before start(). */
  explicit StreamRecorder(const Options& options);
  StreamRecorder(const StreamRecorder&) = delete;
  StreamRecorder& operator=(const StreamRecorder&) = delete;
  ~StreamRecorder();

  [[nodiscard]] unsigned char stream() const { return options_.stream; }
  [[nodiscard]] unsigned char audioStream() const { return options_.audioStream; }
  [[nodiscard]] Status status() const;
  /** As SessionFeed::beginNewSession(), from any thread. */
  void beginNewSession();
  /** Confirms an event, of a stream that is recorded by events; any thread. */
  void confirmEvent();
  /** The error since the last call; empty when there is none. */
  [[nodiscard]] std::string takeError();
  void start();
  /** Asks for the end and does not wait for it. */
  void stop() { stop_ = true; }
  void join();

 private:
  /** Pictures or sound on their way, over all the times that the source is opened. */
  struct Track {
    std::unique_ptr<SessionFeed> feed;
    std::unique_ptr<FrameLog> log;
  };

  void run();
  [[nodiscard]] bool recordSource();
  void recordFrames(MediaInput& input);
  void store(const KTDataBlock& frame, const FrameSource& source, const MediaInput& input);
  void makeFeed(Track& track, unsigned char stream);
  void useAudio(const AudioHeader& header);
  void finish(Track& track);
  [[nodiscard]] bool hasSpool(unsigned char stream) const;
  void pauseBeforeRetry(const std::string& reason);
  void log(Track& track, const KTDataBlock& frame);
  void fail(const std::string& error);

  const Options options_;
  std::optional<EventGate> gate_;  // outlives the feeds, as an event does a camera's connection
  std::atomic<bool> stop_{false};
  mutable std::mutex mutex_;  // guards that the tracks have feeds, error_, failed_ and done_
  Track video_;
  Track audio_;
  std::string error_;
  bool failed_ = false;
  bool done_ = false;
  bool audioLogged_ = false;  // once the log of the sound was asked for
  bool headerKnown_ = false;  // of the sound, since the source was opened
  KTClock::Span pause_{0};
  std::thread thread_;
};
