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
 * source ends or a stop is requested. A camera that fails is tried again, after a growing pause;
 * a file that ends or cannot be read is done.
 *
 * Owns: its thread, its source, its record sessions.
 * Threads: constructed, joined and destroyed by one thread; status() from any.
 * Blocks: join() and the destructor until all that was received is stored.
 * Errors: status().error holds the one line of a source that failed for good.
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
    const std::atomic<bool>* stop = nullptr;
  };

  struct Status {
    SessionFeed::Progress progress;
    std::string error;
    bool done = false;
  };

  explicit StreamRecorder(const Options& options);
  StreamRecorder(const StreamRecorder&) = delete;
  StreamRecorder& operator=(const StreamRecorder&) = delete;
  ~StreamRecorder();

  [[nodiscard]] unsigned char stream() const { return options_.stream; }
  [[nodiscard]] Status status() const;
  /** As SessionFeed::beginNewSession(), from any thread. */
  void beginNewSession();
  void join();

 private:
  void run();
  [[nodiscard]] bool recordSource();
  void recordFrames(MediaInput& input);
  [[nodiscard]] KTRStreamRecordParams paramsFor(const MediaInput& input) const;
  void pauseBeforeRetry(const std::string& reason);
  [[nodiscard]] bool stopRequested() const;
  void fail(const std::string& error);

  const Options options_;
  mutable std::mutex mutex_;  // guards feed_, past_, error_ and done_ against status()
  std::unique_ptr<SessionFeed> feed_;
  SessionFeed::Progress past_;
  std::string error_;
  bool done_ = false;
  std::unique_ptr<FrameLog> frameLog_;
  KTClock::Span pause_{0};
  std::thread thread_;
};
