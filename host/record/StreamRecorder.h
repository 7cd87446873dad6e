#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/media/FrameLog.h"
#include "host/media/MediaInput.h"
#include "host/record/SessionFeed.h"

/**
 * One stream being recorded: a thread that reads a source and feeds record sessions until the
 * source ends or is stopped. A camera that ends or fails is tried again, after a growing pause; so
 * is any other network source that fails. What else ends or cannot be read is done.
 *
 * Owns: its thread, its source, its record sessions.
 * Threads: constructed, started, joined and destroyed by one thread; stop(), status() and
 *   takeError() from any.
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
    bool realtime = true;  // pace files
  };

  struct Status {
    SessionFeed::Progress progress;
    bool failed = false;  // there is, or was, an error to take
    bool done = false;
  };

  /** Records nothing before start(). */
  explicit StreamRecorder(const Options& options);
  StreamRecorder(const StreamRecorder&) = delete;
  StreamRecorder& operator=(const StreamRecorder&) = delete;
  ~StreamRecorder();

  [[nodiscard]] unsigned char stream() const { return options_.stream; }
  [[nodiscard]] Status status() const;
  /** As SessionFeed::beginNewSession(), from any thread. */
  void beginNewSession();
  /** The error since the last call; empty when there is none. */
  [[nodiscard]] std::string takeError();
  void start();
  /** Asks for the end and does not wait for it. */
  void stop() { stop_ = true; }
  void join();

 private:
  void run();
  [[nodiscard]] bool recordSource();
  void recordFrames(MediaInput& input);
  [[nodiscard]] KTRStreamRecordParams paramsFor(const MediaInput& input) const;
  void pauseBeforeRetry(const std::string& reason);
  void log(const KTDataBlock& frame);
  void fail(const std::string& error);

  const Options options_;
  std::atomic<bool> stop_{false};
  mutable std::mutex mutex_;  // guards feed_, past_, error_, failed_ and done_
  std::unique_ptr<SessionFeed> feed_;
  SessionFeed::Progress past_;
  std::string error_;
  bool failed_ = false;
  bool done_ = false;
  std::unique_ptr<FrameLog> frameLog_;
  KTClock::Span pause_{0};
  std::thread thread_;
};
