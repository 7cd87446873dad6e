#pragma once

#include <optional>
#include <string>

#include "runtime/KTClock.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

/** How streams are recorded by events. A value. */
struct ByEvents {
  int keyFrames = 0;           ///< that a window keeps
  KTClock::Span afterEvent{};  ///< that a recording goes on for after the last confirmation
};

/**
 * The options of a recording by events.
 *
 * Threads: the main thread. The object must stay where it is while the command line is parsed.
 * Errors: byEvents() throws a usage error that says what is expected.
 */
class ByEventsOptions {
 public:
  ByEventsOptions() = default;
  ByEventsOptions(const ByEventsOptions&) = delete;
  ByEventsOptions& operator=(const ByEventsOptions&) = delete;

  /** Makes the options; sliceSize is not to be given with them. */
  void addTo(CLI::App& command, CLI::Option& sliceSize);
  /** Nothing for a recording without interruption. */
  [[nodiscard]] std::optional<ByEvents> byEvents() const;

 private:
  [[nodiscard]] int keyFrames() const;

  std::string keyFrames_;
  std::string afterEvent_ = "30s";
};
