#pragma once

#include <string>
#include <vector>

#include "host/check/CheckRun.h"
#include "tests/host_recording/PlayFixture.h"

/** A recorder whose files and rows are damaged, checked, and put right. */
class CheckFixture : public PlayFixture {
 protected:
  using Findings = std::vector<std::string>;

  using PlayFixture::PlayFixture;

  /** What a check finds, as "torn-tail 1.0" for slice 0 of session 1. */
  [[nodiscard]] Findings findings(CheckLevel level, bool recording = false);
  [[nodiscard]] Findings findings() { return findings(CheckLevel::Full); }
  /** Nothing is found at any level. */
  void expectClean(bool recording = false);

  /** A recording that has several slices. */
  void recordSlices();
  /** Begins a session whose slices hold some seconds. */
  void beginSlices();

  [[nodiscard]] static std::string read(const std::string& path);
  static void write(const std::string& path, const std::string& bytes);
  static void cut(const std::string& path, uint64_t size);
  static void append(const std::string& path, const std::string& bytes);
  /** Puts other bytes over those at an offset. */
  static void overwrite(const std::string& path, uint64_t offset, const std::string& bytes);
  /** Where the records of a slice begin, and its size. */
  [[nodiscard]] static std::vector<uint64_t> bordersOf(const std::string& path);
  [[nodiscard]] std::string slice(unsigned int number) const { return slicePath(1, number); }

  [[nodiscard]] CheckRun::Options options(CheckLevel level) const;
};
