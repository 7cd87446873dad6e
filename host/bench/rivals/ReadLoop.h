#pragma once

#include "host/bench/Scenario.h"

/**
 * A bare loop of read(2) over files, from their beginning to their end, into the same memory again
 * and again.
 */
class ReadLoop : public Rival {
 public:
  using Files = std::vector<std::string>;

  static constexpr std::size_t USUAL_BLOCK = 256 << 10;

  ReadLoop(Files files, std::size_t blockBytes)
      : files_(std::move(files)), blockBytes_(blockBytes) {}

  /** The loop with the block that is quickest here. */
  [[nodiscard]] static std::unique_ptr<ReadLoop> best(const Files& files);

  [[nodiscard]] std::string name() const override;
  /** Operations are blocks. */
  [[nodiscard]] Measurement run() override;

 private:
  const Files files_;
  const std::size_t blockBytes_;
};
