#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * The moment out of one container file, with libavformat: the file is opened, its streams are
 * known from its head, a random second is sought and a packet read.
 */
class ContainerSeek : public Rival {
 public:
  enum Kind { FragmentedMp4, Matroska };

  /** Writes the file, of that many seconds. */
  ContainerSeek(BenchPlace& place, Kind kind, unsigned int seconds, unsigned int seeks);
  ~ContainerSeek() override;

  [[nodiscard]] std::string name() const override;
  [[nodiscard]] Measurement run() override;

 private:
  void write(const BenchClip& clip) const;
  [[nodiscard]] bool seekOnce(unsigned int second) const;

  const Kind kind_;
  const unsigned int seconds_;
  const unsigned int seeks_;
  std::string path_;
};
