#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/crash/KtrProcess.h"
#include "tests/crash/SentFrames.h"
#include "tests/crash/StallMeter.h"
#include "tests/host/ProgramFixture.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/TestClip.h"

/**
 * Records with the real program, kills it or its database server, repairs, and compares what is
 * there with what was sent. Each case has recorders of its own; the suite has one server.
 *
 * The seconds are real here: they are the promise.
 */
class CrashFixture : public ProgramFixture {
 protected:
  /** The flush interval: 11 whole seconds of the clock, and the frame that brings the flush. */
  static constexpr std::int64_t FLUSH_MS = 12'000;
  /** From the camera to the buffer, on a machine that has time for it. */
  static constexpr std::int64_t ROAD_MS = 1'000;

  struct Recorder {
    std::string name;
    std::string options;               // further ones, as "--slice-size 1"
    std::map<int, std::string> clips;  // by stream; one with sound has another, 128 above
    std::map<int, SentFrames> sent;
    std::unique_ptr<KtrProcess> process;
    int runs = 0;
    bool retained = false;  // its oldest footage may be gone
  };

  static void SetUpTestSuite();
  static void TearDownTestSuite();

  /** Makes a further clip to record. */
  static void addClip(const std::string& name, const TestClip::Form& form) {
    TestClip::make(clips_->path() + "/" + name, form);
  }
  /** A recorder that was never recorded, named after the case. */
  [[nodiscard]] static Recorder recorder(const std::string& options = "",
                                         const std::map<int, std::string>& clips = {
                                             {1, "small.mp4"}});
  /** A fault that ends the process at a call. */
  [[nodiscard]] static std::string killAt(const std::string& call, const std::string& what,
                                          unsigned int turn = 1, unsigned int bytes = 0) {
    return FaultCalls::text(call, what, FaultCalls::KILL, bytes, {turn, 1});
  }

  void begin(Recorder& recorder, const std::string& faults = "");
  /** Blocks until the recording has been sent frames for so long. */
  static void runFor(std::int64_t ms);
  /** Kills a recording; extraMs: for so long it could store nothing, without its own fault. */
  void kill(Recorder& recorder, std::int64_t extraMs = 0);
  /** Waits until a fault has killed the recording. */
  void awaitKill(Recorder& recorder, std::int64_t promisedMs = FLUSH_MS + ROAD_MS);
  void stop(Recorder& recorder);
  /** Asks for the end, and kills the recording if it has not ended so long after. */
  void stopAndKill(Recorder& recorder, std::int64_t ms);
  /** Begins and is killed by the fault. */
  void recordUntil(Recorder& recorder, const std::string& faults,
                   std::int64_t promisedMs = FLUSH_MS + ROAD_MS);

  /**
   * Recordings that the cases of a suite take one after the other, made side by side. Each goes on
   * for some seconds after it has made a file whose name ends so.
   */
  void recordAhead(int count, const std::string& options, const std::map<int, std::string>& clips,
                   const std::string& awaited);
  [[nodiscard]] static bool hasRecorded() { return !recorded_.empty(); }
  [[nodiscard]] static Recorder takeRecorded();

  /** The machine's own delays, which no promise covers. */
  [[nodiscard]] std::int64_t stallMs() const { return 2 * stalls_.longestMs(); }

  /** Repairs, checks all records and rows, and plays what was promised. */
  void expectRepaired(const Recorder& recorder);
  void expectClean(const Recorder& recorder);
  void expectPlays(const Recorder& recorder);
  /** Records anew for a moment, to an end in order: no file that is there is touched. */
  void expectNextRunKeepsFiles(Recorder& recorder);

  static void killServer();
  static void startServer();
  /** One value from the recorder's database. */
  [[nodiscard]] static std::string value(const Recorder& recorder, const std::string& query);
  /** Paths of a recorder's slices and other session files, with a hash of what they hold. */
  [[nodiscard]] static std::map<std::string, size_t> files(const Recorder& recorder);
  [[nodiscard]] static std::string directory(const Recorder& recorder) {
    return root_->path() + "/" + recorder.name;
  }
  [[nodiscard]] std::string command(const std::string& name, const Recorder& recorder) const {
    return "$K " + name + " --root $R --server " + server_ + " --recorder " + recorder.name + " ";
  }

  std::string server_ = "private";  // that all commands use

 private:
  void addSent(Recorder& recorder, std::optional<SentFrames::End> killed);
  [[nodiscard]] static std::string flawOf(const Recorder& recorder, const SentFrames& sent,
                                          const std::string& playedLog);
  static void logStored(const Recorder& recorder, int stream, const std::string& log);
  [[nodiscard]] std::string logPath(const Recorder& recorder, int stream) const;

  static std::unique_ptr<TempDir> clips_;
  static std::vector<Recorder> recorded_;
  StallMeter stalls_;
};
