#include "host/bench/scenarios/RecordScenario.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "host/bench/LogWatch.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/SegmentPrograms.h"

namespace {

constexpr unsigned int MINUTE = 60;
constexpr unsigned int SHORT_SECONDS = 2;
constexpr unsigned int TWO_FLUSHES = 24;
constexpr unsigned int SHORT_STREAMS = 2;
constexpr const char* COMPARED = "record-32";
constexpr double MIB = 1 << 20;

}  // namespace

RecordScenario::RecordScenario(BenchPlace& place, unsigned int streams)
    : place_(place),
      name_("record-" + std::to_string(streams)),
      streams_(place.size(streams, std::min(streams, SHORT_STREAMS))),
      settlingSeconds_(place.size(TWO_FLUSHES, 1U)),
      seconds_(place.size(MINUTE, SHORT_SECONDS)),
      movie_(place, seconds_) {}

std::string RecordScenario::description() const {
  return std::to_string(streams_) + " live streams of 4 Mbit/s for " + std::to_string(seconds_) +
         " s, after " + std::to_string(settlingSeconds_) +
         " s in which their buffers are first filled";
}

void RecordScenario::prepare() {
  (void)place_.clip();
}

Measurement RecordScenario::run() {
  Measurement result;
  const LogWatch log;
  std::string recorder = name_ + "run" + std::to_string(++runs_) + "x";
  std::erase(recorder, '-');
  LiveStreams live(place_, recorder, streams_);
  measure(live, result);
  live.stop();
  live.check(result);
  live.removeFiles();
  live.checkPace(log, result);
  result.latencies = live.commits();
  return result;
}

void RecordScenario::measure(LiveStreams& live, Measurement& result) const {
  const std::uint64_t before = ResourceMeter::residentBytes();
  std::uint64_t most = before;
  const auto pass = [&](unsigned int seconds) {
    for (unsigned int i = 0; i < seconds; ++i) {
      std::this_thread::sleep_for(std::chrono::seconds(1));
      most = std::max(most, ResourceMeter::residentBytes());
    }
  };
  Measurement settling;
  const ResourceMeter settlingMeter(place_.serverPid());
  live.start();
  live.mark();
  pass(settlingSeconds_);
  settlingMeter.read(settling);

  const LiveStreams::Stored first = live.stored();
  const double feederFirst = live.feederCpuSeconds();
  const double commitsFirst = live.commitCpuSeconds();
  const ResourceMeter meter(place_.serverPid());
  pass(seconds_);
  meter.read(result);
  const LiveStreams::Stored last = live.stored();
  result.operations = last.frames - first.frames;
  result.bytes = last.bytes - first.bytes;
  result.residentBytes = most - before;
  addFigures(live, live.feederCpuSeconds() - feederFirst, live.commitCpuSeconds() - commitsFirst,
             result);
  result.figures.emplace_back("% of a core per stream, all but the server, from the start to there",
                              shareOf(settling.cpuSeconds + settling.kernelCpuSeconds, settling));
}

// Percent of a processor for each stream.
double RecordScenario::shareOf(double cpuSeconds, const Measurement& measured) const {
  return 100 * cpuSeconds / measured.seconds / streams_;
}

void RecordScenario::addFigures(const LiveStreams& live, double feederCpu, double commitCpu,
                                Measurement& result) const {
  const auto ofStream = [&](double cpuSeconds) { return shareOf(cpuSeconds, result); };
  result.figures = {
      {"% of a core per stream, all but the server",
       ofStream(result.cpuSeconds + result.kernelCpuSeconds)},
      {"% of a core per stream, process", ofStream(result.cpuSeconds)},
      {"% of a core per stream, of that the feeder", ofStream(feederCpu)},
      {"% of a core per stream, the library's threads and commit()",
       ofStream(result.cpuSeconds - feederCpu + commitCpu)},
      {"% of a core per stream, server", ofStream(result.serverCpuSeconds)},
      {"% of a core per stream, kernel's threads", ofStream(result.kernelCpuSeconds)},
      {"MiB resident per stream", static_cast<double>(result.residentBytes) / MIB / streams_},
      {"longest queue", live.longestQueue()},
      {"ms at most that a round of frames began late", static_cast<double>(live.latestRoundMs())}};
}

std::vector<std::unique_ptr<Rival>> RecordScenario::rivals() {
  if (name_ != COMPARED) return {};
  return SegmentPrograms::live(place_, movie_, streams_);
}
