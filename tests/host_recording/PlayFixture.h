#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/play/RecordingReader.h"
#include "tests/support/RecorderFixture.h"

/** A recorder whose frames are remembered, so that what is played can be compared with them. */
class PlayFixture : public RecorderFixture {
 protected:
  struct Recorded {
    std::int64_t timeMs;
    unsigned int session;
    bool key;
  };

  /** Moves the clock on; nothing is recorded meanwhile. */
  void pass(long milliseconds) { clock_.advance(std::chrono::milliseconds(milliseconds)); }
  /** Records groups of pictures, then moves the clock on by a frame's time. */
  void record(int groups, int framesInGroup, long frameMs,
              KTRFrameFormat::Kind first = KTRFrameFormat::Key);
  /** Begins a recording with other settings. */
  void beginWith(const char* settingsName, const char* codec);
  /** Ends the session as a host does. */
  void end();

  /** The frame at which playback of a moment has to begin; nothing when there is none. */
  [[nodiscard]] std::optional<size_t> expectedAt(std::int64_t seconds) const;
  /** Times of the recorded frames from one of them on. */
  [[nodiscard]] std::vector<std::int64_t> timesFrom(size_t index) const;
  /** Times of all that a reader still delivers. */
  [[nodiscard]] static std::vector<std::int64_t> playedTimes(RecordingReader& reader);
  /** Seeks every second of the recording and some around it, and plays all from there. */
  void expectEverySecondPlays();

  [[nodiscard]] static std::int64_t nowMs();

  std::vector<Recorded> recorded_;
};
