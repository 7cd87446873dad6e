#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/FollowingPlayer.h"
#include "host/bench/FrameClock.h"
#include "host/bench/Scenario.h"
#include "host/bench/SessionFeeding.h"

/**
 * Streams that are recorded at their pace while a player follows each: all that was recorded must
 * be played. The short form lets the clock run faster, since nothing is on disk before 11 seconds
 * of it have passed.
 */
class TogetherScenario : public Scenario {
 public:
  TogetherScenario(BenchPlace& place, unsigned int seconds, unsigned int speed)
      : place_(place), seconds_(seconds), speed_(speed) {}

  [[nodiscard]] std::string name() const override { return "together"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  [[nodiscard]] Measurement run() override;

 private:
  static constexpr unsigned int STREAMS = 8;

  using Sessions = std::vector<std::unique_ptr<SessionFeeding>>;
  using Players = std::vector<std::unique_ptr<FollowingPlayer>>;

  void feed(Sessions& sessions, FrameClock& clock) const;
  void collect(const Players& players, Measurement& result) const;
  [[nodiscard]] std::uint64_t frames() const {
    return std::uint64_t{seconds_} * BenchClip::FRAME_RATE;
  }

  BenchPlace& place_;
  const unsigned int seconds_;  // of footage
  const unsigned int speed_;    // of its clock
  unsigned int runs_ = 0;
};
