#include "host/byevents/ByEventsOptions.h"

#include <CLI/CLI.hpp>

#include "host/HostError.h"
#include "host/input/AsciiText.h"
#include "host/input/DurationText.h"

namespace {

// A window is cut at half its key frames, and the slice that is being written must not go.
constexpr long FEWEST = 2;
// Half a window is to fit into one slice: 50 key frames of 20 MiB with all that is between them.
constexpr long MOST = 100;

}  // namespace

void ByEventsOptions::addTo(CLI::App& command, CLI::Option& sliceSize) {
  CLI::Option* byEvents = command
                              .add_option("--by-events", keyFrames_,
                                          "Keep nothing but events: the last key frames\n"
                                          "before one, 2 to 100, and what follows it")
                              ->type_name("KEYFRAMES")
                              ->excludes(&sliceSize);
  command
      .add_option("--post-event", afterEvent_,
                  "Record on for so long after the last confirmation\n"
                  "of an event, at least 1s")
      ->type_name("TIME")
      ->needs(byEvents)
      ->capture_default_str();
}

std::optional<ByEvents> ByEventsOptions::byEvents() const {
  if (keyFrames_.empty()) return std::nullopt;
  return ByEvents{keyFrames(), std::chrono::seconds(DurationText::parse(afterEvent_))};
}

int ByEventsOptions::keyFrames() const {
  const std::optional<long> number = parseDigits(keyFrames_);
  if (!number || *number < FEWEST || *number > MOST) {
    throw usageError("'" + keyFrames_ + "' key frames cannot be kept before an event",
                     "give 2 to 100; how many seconds that is depends on the camera");
  }
  return static_cast<int>(*number);
}
