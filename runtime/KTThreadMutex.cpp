#include "runtime/KTThreadMutex.h"

#include <cstdio>
#include <cstdlib>

namespace {

#ifndef NDEBUG
struct HeldMutex {
  const KTThreadMutex* mutex;
  KTThreadMutex::Rank rank;
  unsigned int depth;
};

// Plain storage without a destructor: mutexes are still taken when static objects are destroyed,
// and by then the main thread's objects with destructors are gone.
constexpr unsigned int MOST_HELD = 32;
thread_local HeldMutex heldMutexes[MOST_HELD];
thread_local unsigned int heldCount = 0;

HeldMutex* findHeld(const KTThreadMutex* mutex) {
  for (unsigned int i = 0; i < heldCount; ++i) {
    if (heldMutexes[i].mutex == mutex) return &heldMutexes[i];
  }
  return nullptr;
}

// Relocking what the thread holds already cannot deadlock, so only a first lock is judged.
void checkOrder(const KTThreadMutex* mutex, KTThreadMutex::Rank rank) {
  if (findHeld(mutex) != nullptr) return;
  for (unsigned int i = 0; i < heldCount; ++i) {
    if (heldMutexes[i].rank <= rank) continue;
    (void)std::fprintf(stderr, "KTThreadMutex: lock order broken: rank %d taken while %d is held\n",
                       rank, heldMutexes[i].rank);
    std::abort();
  }
}

void noteLocked(const KTThreadMutex* mutex, KTThreadMutex::Rank rank) {
  if (HeldMutex* held = findHeld(mutex)) {
    ++held->depth;
  } else if (heldCount < MOST_HELD) {
    heldMutexes[heldCount++] = {mutex, rank, 1};
  }
}

void noteUnlocked(const KTThreadMutex* mutex) {
  HeldMutex* held = findHeld(mutex);
  if (held == nullptr || --held->depth != 0) return;
  *held = heldMutexes[--heldCount];
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
