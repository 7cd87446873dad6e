#pragma once

#include <atomic>

#include "recording/KTRMessageType.h"
#include "runtime/KTClock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTTask.h"

/**
 * A task that is fed through its queue: the common base of all record sessions.
 *
 * Owns: its thread and queue.
 * Threads: commit() and dataArrived() from any thread; run() is the task's own.
 * Blocks: commit() never.
 * Errors: commit() answers -1 once the task has ended; such an object is dead for good.
 */
class KTR_API KTRTask : public KTTask {
 public:
  KTRTask();
  ~KTRTask() override;

  [[nodiscard]] KTString name() const override = 0;
  int run() override = 0;

  /** Frames that a resting task lets gather; the last of them wakes it. */
  static constexpr unsigned int REST_MESSAGES = 12;

  /**
   * Queues one message; type holds KTRMessageType bits. The bytes of data are shared, not copied.
   * 0, or -1 when the queue refuses it. A frame may stay in the queue for 160 ms; one of urgent
   * priority, and any message that is not a frame, is taken at once with all that is queued.
   */
  virtual int commit(const KTDataBlock& data, int type, KTMessage::Priority priority);
  /** True once a batch of frames was parsed. */
  [[nodiscard]] virtual bool dataArrived();

  /** Messages that wait in the queue. */
  [[nodiscard]] unsigned int queueLength() const { return queue_.size(); }
  /** False once the task accepts no more messages. */
  [[nodiscard]] bool alive() const { return queue_.enabled(); }

 protected:
  static constexpr int TIMEOUT_SECONDS = 15;  // that a run loop waits for one message
  static constexpr KTClock::Span REST = std::chrono::milliseconds(120);
  static constexpr int RUSH_FRAMES = 250;  // taken as they come when a rest was full,
  static constexpr int SLOW_FRAMES = 25;   // and when nothing came in it

  /**
   * The next message of a stream, with its ownership; null after 15 seconds without any and when
   * the queue is disabled. Behind a frame it rests before it waits, so that the frames of a tenth
   * of a second cost one waking.
   */
  [[nodiscard]] KTMessage* nextMessage();
  /** Destroys every message that is left in the disabled queue. */
  void drainQueue();

  std::atomic<bool> dataArrived_{false};

 private:
  [[nodiscard]] bool rest();

  int framesAtOnce_ = 0;    // that are still taken without a rest
  bool isFlowing_ = false;  // the last message held frames
};
