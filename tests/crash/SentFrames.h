#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/**
 * What one stream was sent, over all recordings of it, from their frame logs; compared with what is
 * played of it.
 *
 * Threads: one thread at a time for each object.
 * Units: milliseconds; times are since midnight UTC, as the frames' stamps are.
 */
class SentFrames {
 public:
  /** How a recording ended. */
  struct End {
    std::int64_t killedMs = 0;
    std::int64_t promisedMs = 0;  // frames that were older than this when it was killed are kept
  };

  /** Adds the frame log of a recording that was killed, or else has ended in order. */
  void add(const std::string& frameLog, std::optional<End> killed);
  /** What was lost of what was promised, or played that was never sent; empty when all is well. */
  [[nodiscard]] std::string flawOf(const std::string& playedLog) const {
    return compare(playedLog, false);
  }
  /** Of frames that were played, one that was never sent, or not in this order; else empty. */
  [[nodiscard]] std::string strangersIn(const std::string& playedLog) const {
    return compare(playedLog, true);
  }
  /** Frames that must be played. */
  [[nodiscard]] size_t promised() const;

  [[nodiscard]] static std::int64_t nowMs();

 private:
  struct Frame {
    std::string line;
    bool promised = false;
  };

  [[nodiscard]] std::string compare(const std::string& playedLog, bool mayLack) const;

  std::vector<Frame> frames_;
};
