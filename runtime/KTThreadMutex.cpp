#include "runtime/KTThreadMutex.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

#ifndef NDEBUG
struct HeldMutex {
  const KTThreadMutex* mutex;
  KTThreadMutex::Rank rank;
};

thread_local std::vector<HeldMutex> heldMutexes;

bool holds(const KTThreadMutex* mutex) {
  for (const HeldMutex& held : heldMutexes) {
    if (held.mutex == mutex) return true;
  }
  return false;
}

// Relocking what the thread holds already cannot deadlock, so only a first lock is judged.
void checkOrder(const KTThreadMutex* mutex, KTThreadMutex::Rank rank) {
  if (holds(mutex)) return;
  for (const HeldMutex& held : heldMutexes) {
    if (held.rank <= rank) continue;
    std::fprintf(stderr, "KTThreadMutex: lock order broken: rank %d taken while %d is held\n", rank,
                 held.rank);
    std::abort();
  }
}

void noteLocked(const KTThreadMutex* mutex, KTThreadMutex::Rank rank) {
  heldMutexes.push_back({mutex, rank});
}

void noteUnlocked(const KTThreadMutex* mutex) {
  for (size_t i = heldMutexes.size(); i-- > 0;) {
    if (heldMutexes[i].mutex != mutex) continue;
    heldMutexes.erase(heldMutexes.begin() + static_cast<std::ptrdiff_t>(i));
    return;
  }
}
#else
void checkOrder(const KTThreadMutex*, KTThreadMutex::Rank) {}
void noteLocked(const KTThreadMutex*, KTThreadMutex::Rank) {}
void noteUnlocked(const KTThreadMutex*) {}
#endif

}  // namespace

KTThreadMutex::KTThreadMutex(Type t, Rank rank) : mutex_(), rank_(rank) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes,
                            t == Recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL);
  pthread_mutex_init(&mutex_, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

KTThreadMutex::~KTThreadMutex() {
  pthread_mutex_destroy(&mutex_);
}

void KTThreadMutex::lock(bool) KTR_NO_THREAD_SAFETY_ANALYSIS {
  if (rank_ != Unranked) checkOrder(this, rank_);
  pthread_mutex_lock(&mutex_);
  if (rank_ != Unranked) noteLocked(this, rank_);
}

void KTThreadMutex::unlock() KTR_NO_THREAD_SAFETY_ANALYSIS {
  if (rank_ != Unranked) noteUnlocked(this);
  pthread_mutex_unlock(&mutex_);
}
