#include "host/bench/scenarios/RetentionScenario.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "host/HostError.h"
#include "host/bench/LiveStreams.h"
#include "host/bench/LogWatch.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/StoredPast.h"
#include "host/retain/RetentionRun.h"
#include "host/system/MysqlThread.h"
#include "host/system/UniqueFd.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned int STREAMS = 100;
constexpr unsigned int SHORT_STREAMS = 2;
constexpr unsigned int SECONDS_OF_SLICE = 256;  // 128 MiB of 4 Mbit/s
constexpr unsigned int SLICES_OF_DAY = 338;
constexpr unsigned int SHORT_SLICES_OF_DAY = 3;
constexpr unsigned int MOST_SLICES_OF_SESSION = 200;
constexpr long DAY = 86400;
constexpr off_t SLICE_BYTES = 256 << 10;

void makeSlice(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  if (file.get() < 0 || posix_fallocate(file.get(), 0, SLICE_BYTES) != 0) {
    throw failure("cannot make " + path, "make room on the disk");
  }
}

/** Asks the database for a row, 20 times a second, and notes how long that took. */
class Probe {
 public:
  explicit Probe(KTR_DB_handle& recorder) : thread_([this, &recorder] { run(recorder); }) {}
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  ~Probe() { end(); }

  const Latencies& end() {
    ending_ = true;
    if (thread_.joinable()) thread_.join();
    return latencies_;
  }

 private:
  void run(KTR_DB_handle& recorder) {
    const MysqlThread client;
    while (!ending_) {
      const auto begin = Latencies::Clock::now();
      (void)recorder.recordSessionTable()->getSessionStorage(1);
      latencies_.add(Latencies::Clock::now() - begin);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }

  std::atomic<bool> ending_{false};
  Latencies latencies_;
  std::thread thread_;
};

}  // namespace

RetentionScenario::RetentionScenario(BenchPlace& place)
    : place_(place),
      streams_(place.size(STREAMS, SHORT_STREAMS)),
      slicesOfStream_(place.size(SLICES_OF_DAY, SHORT_SLICES_OF_DAY)) {}

std::string RetentionScenario::description() const {
  return std::to_string(slicesOfDay()) + " slices (files of 256 KiB) with " +
         std::to_string(slicesOfDay() * SECONDS_OF_SLICE) + " index rows, while " +
         std::to_string(streams_) + " streams are recorded";
}

void RetentionScenario::prepare() {
  (void)place_.clip();
}

std::uint64_t RetentionScenario::slicesOfDay() const {
  return std::uint64_t{streams_} * slicesOfStream_;
}

Measurement RetentionScenario::run() {
  const std::string name = "retention" + std::to_string(++runs_) + "x";
  KTR_DB_handle& recorder = place_.recorder(name);
  const std::string directory = place_.storageOf(name) + "/2001/01/01/";
  fs::create_directories(directory);
  storeDay(recorder, directory);
  place_.sync();
  Measurement result;
  const LogWatch log;
  LiveStreams live(place_, name, streams_);
  live.start();
  live.mark();
  {
    const ResourceMeter meter(place_.serverPid());
    Probe probe(recorder);
    erase(recorder, name, result);
    result.latencies = probe.end();
    meter.read(result);
  }
  result.figures = {
      {"longest queue of a stream", live.longestQueue()},
      {"ms at most that a round of frames began late", static_cast<double>(live.latestRoundMs())}};
  live.stop();
  live.check(result);
  live.removeFiles();
  live.checkPace(log, result);
  return result;
}

void RetentionScenario::storeDay(KTR_DB_handle& recorder, const std::string& directory) const {
  StoredPast past(recorder);
  for (unsigned int stream = 0; stream < streams_; ++stream) {
    for (unsigned int slice = 0; slice < slicesOfStream_; slice += MOST_SLICES_OF_SESSION) {
      storeSession(past, recorder, directory, stream, slice,
                   std::min(MOST_SLICES_OF_SESSION, slicesOfStream_ - slice));
    }
  }
  past.finish();
}

void RetentionScenario::storeSession(StoredPast& past, KTR_DB_handle& recorder,
                                     const std::string& directory, unsigned int stream,
                                     unsigned int firstSlice, unsigned int slices) const {
  const long midnight = KTTimeValue::now().tv_sec / DAY * DAY - 2 * DAY;
  const long start = midnight + static_cast<long>(firstSlice) * SECONDS_OF_SLICE;
  const long seconds = static_cast<long>(slices) * SECONDS_OF_SLICE;
  const unsigned int id = past.addSession(directory, stream, start, start + seconds - 1);
  const std::string prefix = recorder.getFullPrefixFileName(static_cast<int>(id)).c_str();
  for (unsigned int slice = 0; slice < slices; ++slice) {
    makeSlice(prefix + "F" + std::to_string(slice) + ".dat");
  }
  for (long i = 0; i < seconds; ++i) {
    past.addRow(id, 0, start + i, static_cast<unsigned int>(i / SECONDS_OF_SLICE));
  }
}

// As `ktr retain --max-age` does it.
void RetentionScenario::erase(KTR_DB_handle& recorder, const std::string& recorderName,
                              Measurement& result) const {
  RetentionRun::Options options;
  options.directory = place_.storageOf(recorderName);
  options.policy.maxAge = DAY / 2;
  options.policy.minFree = FreeFloor::parse("0");
  const RetentionRun::Result pass = RetentionRun(recorder, options).pass(true);
  result.operations = pass.deletions;
  if (!pass.problem.empty()) result.flaws.push_back(pass.problem);
  result.expectEqual("slices deleted", slicesOfDay(), pass.deletions);
  std::error_code gone;
  if (fs::exists(options.directory + "/2001", gone)) result.flaws.emplace_back("files are left");
}
