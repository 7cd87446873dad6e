#pragma once

#include <memory>
#include <mutex>

#include "runtime/KTLogSink.h"
#include "runtime/KTRExport.h"

/**
 * The process-wide logger. Lines go to standard error until another sink is set.
 *
 * Owns: its sink, shared with whoever set it.
 * Threads: any thread, at any time.
 * Blocks: as long as the sink does.
 */
class KTR_API KTLogger {
 public:
  enum KTLoggerPriority { Information = 16, Warning = 64, Error = 128 };

  KTLogger(const KTLogger&) = delete;
  KTLogger& operator=(const KTLogger&) = delete;

  /** Never null, also while static objects are built and destroyed. */
  [[nodiscard]] static KTLogger* instance();

  /** Writes one printf-formatted line, of any length. */
  void log(KTLoggerPriority p, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

  /** Replaces the sink and returns the former one; null puts the default back. */
  std::shared_ptr<KTLogSink> setSink(std::shared_ptr<KTLogSink> sink);

 private:
  KTLogger();
  ~KTLogger();

  std::mutex mutex_;
  std::shared_ptr<KTLogSink> sink_;
};
