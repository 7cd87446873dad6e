#pragma once

#include "host/retain/RetentionRun.h"
#include "runtime/KTClock.h"

/**
 * Keeps to a retention policy while a recorder is recorded: a pass at once and then every 30
 * seconds, in the recorder's own process, which alone may change its rows. Deletions, and what
 * stands in their way, are logged as warnings; neither ever ends a recording.
 *
 * Owns: its run; the handle must outlive it.
 * Threads: one thread at a time for each object.
 * Blocks: where a pass is due, for the server and the file system.
 * Errors: the first pass throws what RetentionRun throws; later ones log it.
 */
class RetentionTimer {
 public:
  static constexpr KTClock::Span INTERVAL = std::chrono::seconds(30);

  /** Runs the first pass, before any session is open. The options' report is replaced by log lines.
   */
  RetentionTimer(KTR_DB_handle& handle, RetentionRun::Options options);

  /**
   * Runs a pass when it is due. True when only sessions that are being recorded could still make
   * room: they are to be ended and begun anew, so that their slices can go.
   */
  [[nodiscard]] bool runIfDue();

 private:
  [[nodiscard]] RetentionRun::Result pass();
  void tell(const std::string& problem);

  RetentionRun run_;
  KTClock::Span next_;
  bool told_ = false;  // of the problem that there is
};
