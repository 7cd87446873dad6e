#pragma once

#include <thread>

#include "runtime/KTMessageQueue.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"
#include "runtime/KTTimeValue.h"

/**
 * A thread with a message queue. A derived class starts it as the last step of its constructor, and
 * its most derived destructor disables the queue and waits, since run() uses the whole object.
 *
 * Owns: its thread and its queue.
 * Threads: start() and wait() by the owner's thread; run() is the task's own.
 * Blocks: wait() until run() has returned; Sleep().
 */
class KTR_API KTTask {
 public:
  KTTask();
  KTTask(const KTTask&) = delete;
  KTTask& operator=(const KTTask&) = delete;
  virtual ~KTTask();

  [[nodiscard]] virtual KTString name() const;
  /** The body of the thread. */
  virtual int run() = 0;

  /** Starts the thread; the argument has no effect. */
  void start(bool unused);
  /** Blocks until run() has returned; harmless when the task was never started. */
  void wait();
  /** Suspends the calling thread for d, on the clock in use. */
  static void Sleep(const KTTimeValue& d);

 protected:
  KTMessageQueue queue_;

 private:
  std::thread thread_;
};
