#pragma once

#include <pthread.h>

#include "runtime/KTRExport.h"
#include "runtime/ThreadAnnotations.h"

/**
 * A mutex that clang's thread-safety analysis knows. Mutexes of the database classes carry a rank
 * as well: debug builds end the process with one line when a thread takes them out of order.
 *
 * Threads: any thread.
 * Blocks: lock() until the mutex is held.
 */
class KTR_API KTR_CAPABILITY("mutex") KTThreadMutex {
 public:
  /** A recursive mutex may be locked again by the thread that holds it. */
  enum Type { Plain = 0, Recursive = 1 };
  /** Place in the lock order: a thread takes ranks only in growing order. */
  enum Rank { Unranked = 0, Factory = 1, Handle = 2, Connection = 3 };

  explicit KTThreadMutex(Type t, Rank rank = Unranked);
  KTThreadMutex(const KTThreadMutex&) = delete;
  KTThreadMutex& operator=(const KTThreadMutex&) = delete;
  ~KTThreadMutex();

  /** Blocks until the mutex is held; the argument has no effect. */
  void lock(bool unused = false) KTR_ACQUIRE();
  void unlock() KTR_RELEASE();

 private:
  pthread_mutex_t mutex_;
  const Rank rank_;
};
