#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

#include "tests/crash/CrashFixture.h"

// Processes and servers are killed at random moments. KTR_CRASH_ROUNDS says how often,
// KTR_CRASH_SEED repeats what a failed run has printed; see scripts/crash-loop.

namespace {

class CrashRoundsTest : public CrashFixture {
 protected:
  enum Victim { Process, Server, Both, VICTIMS };

  static unsigned int number(const char* variable, unsigned int otherwise) {
    const char* const given = std::getenv(variable);
    return given == nullptr ? otherwise : static_cast<unsigned int>(std::stoul(given));
  }
  std::int64_t between(std::int64_t least, std::int64_t most) {
    return std::uniform_int_distribution<std::int64_t>(least, most)(random_);
  }

  void round() {
    std::vector<Recorder> all;
    all.push_back(recorder("", {{1, "small.mp4"}, {2, "sound.mp4"}}));
    all.push_back(recorder("--slice-size 1", {{1, "large.mp4"}, {2, "small.mp4"}}));
    crash(all, between(12'000, 24'000));
    std::vector<std::map<std::string, size_t>> before;
    for (const Recorder& each : all) before.push_back(files(each));
    crash(all, between(500, 6'000));
    for (size_t i = 0; i < all.size(); ++i) {
      expectUnchanged(before[i], all[i]);
      expectRepaired(all[i]);
      expectNextRunKeepsFiles(all[i]);
      expectClean(all[i]);
      expectPlays(all[i]);
    }
  }

  /** Records for so long, and kills something. */
  void crash(std::vector<Recorder>& all, std::int64_t ms) {
    const auto victim = static_cast<Victim>(between(0, VICTIMS - 1));
    const std::int64_t serverMs = between(0, ms);
    std::cout << "victim " << victim << " after " << ms << " ms, a server after " << serverMs
              << " ms" << std::endl;
    for (Recorder& each : all) begin(each);
    std::int64_t awayMs = 0;
    if (victim == Server) {
      runFor(serverMs);
      awayMs = restartServer();
      ms = std::max<std::int64_t>(0, ms - serverMs - awayMs);
    }
    runFor(ms);
    if (victim == Both) killServer();
    for (Recorder& each : all) kill(each, awayMs);
    if (victim == Both) startServer();
  }
  /** How long recordings were without a server. */
  static std::int64_t restartServer() {
    using std::chrono::steady_clock;
    const steady_clock::time_point begin = steady_clock::now();
    killServer();
    startServer();
    const auto away = steady_clock::now() - begin + std::chrono::seconds(2);  // before a retry
    return std::chrono::duration_cast<std::chrono::milliseconds>(away).count();
  }

  static void expectUnchanged(const std::map<std::string, size_t>& before, const Recorder& cam) {
    const std::map<std::string, size_t> now = files(cam);
    for (const auto& [path, hash] : before) {
      EXPECT_TRUE(now.contains(path) && now.at(path) == hash) << path;
    }
  }

  std::mt19937 random_;
};

}  // namespace

TEST_F(CrashRoundsTest, WhatWasOnDiskIsKept) {
  const unsigned int rounds = number("KTR_CRASH_ROUNDS", 3);
  const unsigned int first = number("KTR_CRASH_SEED", std::random_device()());
  for (unsigned int seed = first; seed != first + rounds; ++seed) {
    SCOPED_TRACE("KTR_CRASH_SEED=" + std::to_string(seed));
    std::cout << "KTR_CRASH_SEED=" << seed << std::endl;
    random_.seed(seed);
    round();
    if (HasFailure()) return;
  }
}
