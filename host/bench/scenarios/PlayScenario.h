#pragma once

#include "host/bench/BenchRecording.h"
#include "host/bench/Scenario.h"

class KTRVideoStreamReadSession;

/** A recording from its beginning to its end through a read session, as fast as it goes. */
class PlayScenario : public Scenario {
 public:
  explicit PlayScenario(std::shared_ptr<BenchRecording> recording)
      : recording_(std::move(recording)) {}

  [[nodiscard]] std::string name() const override { return "play"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  void prepare() override { recording_->record(); }
  [[nodiscard]] Measurement run() override;
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  [[nodiscard]] bool load(KTRVideoStreamReadSession& session) const;
  void play(KTRVideoStreamReadSession& session, Measurement& result) const;

  const std::shared_ptr<BenchRecording> recording_;
};
