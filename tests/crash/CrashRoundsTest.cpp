#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>
#include <set>
#include <sstream>

#include "tests/crash/CrashFixture.h"

// Processes and servers are killed at random moments, of recordings that keep everything, the
// newest, or events alone. KTR_CRASH_ROUNDS says how often,
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

  /** Plays the same plan for each seed; a failed one is the last. */
  void playRounds(unsigned int rounds, const std::function<void()>& round) {
    const unsigned int first = number("KTR_CRASH_SEED", std::random_device()());
    for (unsigned int seed = first; seed != first + rounds; ++seed) {
      SCOPED_TRACE("KTR_CRASH_SEED=" + std::to_string(seed));
      std::cout << "KTR_CRASH_SEED=" << seed << std::endl;
      random_.seed(seed);
      round();
      if (HasFailure()) return;
    }
  }

  void keepAll() {
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

  using Paths = std::set<std::string>;
  using Spans = std::vector<std::pair<std::int64_t, std::int64_t>>;

  static Paths slices(const Recorder& cam) {
    Paths found;
    for (const auto& [path, hash] : files(cam)) {
      if (path.find("_F") != std::string::npos) found.insert(path);
    }
    return found;
  }
  /** Those whose session has a row. */
  static Paths withRow(const Recorder& cam, const Paths& slices) {
    std::istringstream ids(value(cam, "SELECT GROUP_CONCAT(id SEPARATOR ' ') FROM recordSessions"));
    Paths found;
    for (std::string id; ids >> id;) {
      std::copy_if(
          slices.begin(), slices.end(), std::inserter(found, found.end()),
          [&](const std::string& each) { return each.find("_R" + id + "_") != each.npos; });
    }
    return found;
  }
  /** Repairs, and nothing is there that was not before, by these names. */
  void expectNothingComesBack(const Recorder& cam, const Paths& before) {
    expectRepaired(cam);
    const Paths after = slices(cam);
    for (const std::string& each : after) EXPECT_TRUE(before.contains(each)) << each;
  }

  /** Records events: confirms some, and ends or is killed at some moment. */
  void keepEvents() {
    Recorder cam = recorder("--by-events 4 --post-event 3s", {{1, "sound.mp4"}});
    Spans events;
    recordEvents(cam, between(8'000, 10'000), events);
    recordEvents(cam, between(200, 3'000), events);
    const Paths left = withRow(cam, slices(cam));
    for (auto& [stream, sent] : cam.sent) sent.promiseOnly(events);
    expectNothingComesBack(cam, left);
    EXPECT_LT(framesIn("played"), cam.sent[1].size()) << "what was before the first window is gone";
  }
  void recordEvents(Recorder& cam, std::int64_t firstMs, Spans& events) {
    const auto victim = static_cast<Victim>(between(0, VICTIMS - 1));
    const std::int64_t count = between(1, 2);
    const std::int64_t stopMs = between(0, 1) == 0 ? -1 : between(0, 60);
    std::cout << "victim " << victim << ", first event after " << firstMs << " ms, " << count
              << " events, stop " << stopMs << std::endl;
    begin(cam);
    runFor(firstMs);
    for (std::int64_t i = 0; i < count; ++i) {
      confirm(cam, std::min(firstMs, SURE_BEFORE_MS), events);
      if (victim == Server && i == 0) (void)restartServer();
      runFor(between(200, 9'000));
    }
    if (victim == Both) killServer();
    if (stopMs >= 0 && victim != Both) {
      stopAndKill(cam, stopMs);
    } else {
      kill(cam, AWAY_MS);
    }
    if (victim == Both) startServer();
  }
  static void confirm(const Recorder& cam, std::int64_t beforeMs, Spans& events) {
    const std::int64_t now = SentFrames::nowMs();
    cam.process->signal(SIGUSR1);
    events.emplace_back(now - beforeMs, now + SURE_BEHIND_MS);
  }
  [[nodiscard]] size_t framesIn(const std::string& log) const {
    const std::string lines = contents(log);
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), '\n'));
  }

  /** Records with a limit: what is deleted, and killed at it, is the oldest and stays deleted. */
  void keepNewest() {
    Recorder cam = recorder("--slice-size 1", {{1, "large.mp4"}});
    cam.retained = true;
    for (const std::int64_t ms : {between(12'500, 15'000), ONE_MEGABYTE_MS, ONE_MEGABYTE_MS}) {
      begin(cam);
      runFor(ms);
      stop(cam);
    }
    const Paths all = slices(cam);
    runFor(OLD_ENOUGH_MS);
    retainAndKill(cam, "3000KiB", between(0, 150));
    const Paths kept = slices(cam);
    cam.options += " --max-size 2200KiB";
    begin(cam);
    runFor(between(300, 4'000));
    kill(cam);
    const Paths left = slices(cam);
    for (const std::string& each : all) {
      EXPECT_LE(left.contains(each), kept.contains(each)) << each;
    }
    expectNothingComesBack(cam, left);
    runFor(OLD_ENOUGH_MS);
    EXPECT_EQ(0, KtrProcess(retain(cam, "1500KiB")).wait()) << contents("retain");
    EXPECT_FALSE(slices(cam).contains(*all.begin()));
    expectNothingComesBack(cam, slices(cam));
  }
  [[nodiscard]] KtrProcess::Options retain(const Recorder& cam, const std::string& size) const {
    return {{"retain", "--root", root_->path(), "--recorder", cam.name, "--max-size", size},
            path("retain"),
            ""};
  }
  void retainAndKill(const Recorder& cam, const std::string& size, std::int64_t ms) {
    const bool server = between(0, 1) == 1;
    std::cout << "victim " << (server ? "server" : "retain") << " after " << ms << " ms"
              << std::endl;
    KtrProcess deletion(retain(cam, size));
    runFor(ms);
    if (server) {
      killServer();
      startServer();
    } else {
      deletion.signal(SIGKILL);
    }
    (void)deletion.wait();
  }

  // A window holds three key frame intervals or more, and an event goes on for 3 seconds, seen from
  // where the confirmation arrives.
  static constexpr std::int64_t SURE_BEFORE_MS = 2'000;
  static constexpr std::int64_t SURE_BEHIND_MS = 2'000;
  static constexpr std::int64_t AWAY_MS = 5'000;  // that a recording may have had no server
  static constexpr std::int64_t ONE_MEGABYTE_MS = 3'000;
  static constexpr std::int64_t OLD_ENOUGH_MS = 1500;  // what ended in this second is never deleted

  std::mt19937 random_;
};

}  // namespace

TEST_F(CrashRoundsTest, WhatWasOnDiskIsKept) {
  playRounds(number("KTR_CRASH_ROUNDS", 3), [this] { keepAll(); });
}

TEST_F(CrashRoundsTest, EventsAreKeptAndNothingElseComesBack) {
  playRounds(number("KTR_CRASH_ROUNDS", 2), [this] { keepEvents(); });
}

TEST_F(CrashRoundsTest, TheNewestIsKeptAndWhatWasDeletedStaysDeleted) {
  playRounds(number("KTR_CRASH_ROUNDS", 2), [this] { keepNewest(); });
}
