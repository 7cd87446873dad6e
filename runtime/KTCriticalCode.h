#pragma once

#include "runtime/KTThreadMutex.h"

/** Holds a mutex from construction to destruction, also when an exception passes. */
class KTR_SCOPED_CAPABILITY KTCriticalCode {
 public:
  explicit KTCriticalCode(KTThreadMutex& m) KTR_ACQUIRE(m) : mutex_(m) { mutex_.lock(false); }
  KTCriticalCode(const KTCriticalCode&) = delete;
  KTCriticalCode& operator=(const KTCriticalCode&) = delete;
  ~KTCriticalCode() KTR_RELEASE() { mutex_.unlock(); }

 private:
  KTThreadMutex& mutex_;
};
