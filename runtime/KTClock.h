#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "runtime/KTRExport.h"
#include "runtime/KTTimeValue.h"

/**
 * The one source of time: wall clock, monotonic clock, sleeping and timed waiting. The system's
 * clock serves until a host or a test installs another one, for instance a clock that a test moves
 * by hand so that rules of minutes run in microseconds.
 *
 * Owns: nothing; an installed clock belongs to whoever installed it and must outlive its use.
 * Threads: any thread.
 * Blocks: sleep() and wait() only.
 */
class KTR_API KTClock {
 public:
  using Span = std::chrono::microseconds;
  static constexpr Span REST_STEP = std::chrono::milliseconds(40);

  KTClock() = default;
  KTClock(const KTClock&) = delete;
  KTClock& operator=(const KTClock&) = delete;
  virtual ~KTClock();

  /** The clock in use; never null. */
  [[nodiscard]] static KTClock* instance();
  /** Puts clock in use, or the system's clock again when it is null. */
  static void install(KTClock* clock);

  /** Wall clock; may jump. */
  [[nodiscard]] virtual KTTimeValue now() = 0;
  /** Monotonic time since some fixed point. */
  [[nodiscard]] virtual Span elapsed() = 0;
  /** Suspends the calling thread for d. */
  virtual void sleep(const KTTimeValue& d) = 0;
  /**
   * Waits on changed, with lock held on entry and return, until it is notified, elapsed() reaches
   * until, or for no reason at all; callers test their condition in a loop.
   */
  virtual void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                    Span until) = 0;

  /**
   * elapsed() value at which a rest of about length that starts now is over. The system's clock
   * lets rests end together, at most REST_STEP later, so that a processor wakes once for many
   * threads. Other clocks know no rest, unless they say so: it is over at once.
   */
  [[nodiscard]] virtual Span restEnd(Span length);

  /** elapsed() value at which timeout, starting now, is over; Span::max() for Unlimited. */
  [[nodiscard]] Span deadline(const KTTimeValue& timeout);
};
