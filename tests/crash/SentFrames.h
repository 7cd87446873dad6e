#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
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
    return compare(playedLog, Nothing);
  }
  /** As flawOf(), of a recorder whose oldest footage was deleted: nothing may lack but that. */
  [[nodiscard]] std::string flawBehindDeleted(const std::string& playedLog) const {
    return compare(playedLog, Oldest);
  }
  /** As flawOf(), of a player that did not wait for the end: nothing may lack but that. */
  [[nodiscard]] std::string flawBeforeEnd(const std::string& playedLog) const {
    return compare(playedLog, Newest);
  }
  /** How many frames were played that are stamped with this time or a later one. */
  [[nodiscard]] static size_t playedSince(std::int64_t stampMs, const std::string& playedLog);
  /** Of all frames so far only those between two times, in any of these spans, stay promised. */
  void promiseOnly(const std::vector<std::pair<std::int64_t, std::int64_t>>& spans);
  [[nodiscard]] size_t size() const { return frames_.size(); }
  /** Frames that must be played. */
  [[nodiscard]] size_t promised() const;

  [[nodiscard]] static std::int64_t nowMs();

 private:
  enum Lacking { Nothing, Oldest, Newest };
  struct Frame {
    std::string line;
    std::int64_t stampMs = 0;
    bool promised = false;
  };

  [[nodiscard]] std::string compare(const std::string& playedLog, Lacking mayLack) const;

  std::vector<Frame> frames_;
};
