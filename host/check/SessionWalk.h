#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "host/check/SessionFiles.h"
#include "host/check/SliceScanner.h"
#include "host/play/StampUnwrapper.h"

/**
 * Walks the frames of a record session slice by slice, each with its time since the epoch. A frame
 * whose stamp is far from the stamps on both sides of it, while those two are close, is marked: its
 * stamp is damaged, or the camera's mistake, and no row can be made of it.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the disk.
 * Errors: what cannot be read is among the damages of its slice.
 */
class SessionWalk {
 public:
  struct Frame {
    unsigned int slice = 0;
    SliceRecord record;
    int64_t timeMs = 0;
    bool strayStamp = false;

    [[nodiscard]] long seconds() const { return static_cast<long>(timeMs / 1000); }
  };
  struct Damage {
    SliceScanner::Item what = SliceScanner::Garbage;
    SliceScanner::Range range;
  };
  struct Slice {
    uint64_t size = 0;
    uint64_t frames = 0;
    std::vector<Damage> damages;
    int error = 0;  // errno when it cannot be read to its end

    [[nodiscard]] bool isSound() const { return damages.empty(); }
  };
  using Take = std::function<void(const Frame&)>;

  /** startSeconds: the first frame lies within 12 hours of it. */
  SessionWalk(const SessionFiles& files, long startSeconds);

  /** All of one slice, or from a record on; to be called in the order of the chain. */
  Slice walk(unsigned int slice, const Take& take, uint64_t from = 0);

 private:
  void decide(const Frame* next, const Frame* afterNext, const Take& take);

  const SessionFiles& files_;
  StampUnwrapper clock_;
  std::optional<int64_t> lastMs_;  // of a frame with a stamp that fits
  std::vector<Frame> ahead_;       // read, not handed out
};
