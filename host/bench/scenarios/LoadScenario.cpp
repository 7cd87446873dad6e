#include "host/bench/scenarios/LoadScenario.h"

#include <filesystem>
#include <system_error>

#include "host/HostError.h"
#include "host/bench/FrameClock.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/StoredPast.h"
#include "host/bench/rivals/ContainerSeek.h"
#include "playback/KTRVideoStreamReadSession.h"
#include "runtime/KTRVideoFrame.h"
#include "store/KTRFile.h"

namespace fs = std::filesystem;

namespace {

constexpr long FIRST_SECOND = 1'700'000'000;
constexpr unsigned int SECONDS_OF_SLICE = 250;  // 125 MB, as a slice of 128 MiB has
constexpr unsigned int SHORT_ROWS = 50;
constexpr unsigned int SHORT_SECONDS_OF_SLICE = 10;
constexpr unsigned int LOADS = 4000;             // of 1000 the tenth slowest alone would be the p99
constexpr unsigned int LOADS_OF_A_RIVAL = 1000;  // some take a hundred times as long
constexpr unsigned int SHORT_LOADS = 10;
constexpr unsigned int HOUR = 3600;
// To count more would bring pages into the server's memory that loads are measured without.
constexpr std::uint64_t ROWS_TO_COUNT = 100'000;
constexpr int ONE_SLICE = 0x1FFFFFFF;

LoadScenario::Size smallest(const LoadScenario::Size& size) {
  return {size.word, 2, 2, SHORT_ROWS};
}

}  // namespace

const LoadScenario::Size LoadScenario::FEW_ROWS{"10k", 10, 10, 1000};
const LoadScenario::Size LoadScenario::MANY_ROWS{"10m", 10'000, 64, 1000};

LoadScenario::LoadScenario(BenchPlace& place, const Size& size)
    : place_(place),
      size_(place.size(size, smallest(size))),
      loads_(place.size(LOADS, SHORT_LOADS)),
      offsets_(place.size(SECONDS_OF_SLICE, SHORT_SECONDS_OF_SLICE)) {}

std::string LoadScenario::name() const {
  return std::string("load-") + size_.word;
}

std::string LoadScenario::description() const {
  return "made, loaded and at its first frame, at random among " + std::to_string(rows()) +
         " index rows of " + std::to_string(size_.sessions) + " sessions";
}

void LoadScenario::prepare() {
  const std::string recorder = std::string("load") + size_.word;
  const std::string directory = place_.storageOf(recorder) + "/";
  recorder_ = &place_.recorder(recorder);
  makeSlice(directory);
  store(*recorder_, directory);
  place_.writeDownIndex(*recorder_);
}

// One slice of real footage; the sessions' slices are further names of it.
void LoadScenario::makeSlice(const std::string& directory) {
  FrameClock clock;
  KTRFile file(KTString(directory + "footage_"), 0, KTRFile::WRITE_FLAGS, ONE_SLICE);
  const BenchClip& clip = place_.clip();
  for (std::uint64_t i = 0; i < offsets_.size() * BenchClip::FRAME_RATE; ++i) {
    const std::uint64_t ms = i * BenchClip::FRAME_MS;
    clock.moveTo(static_cast<std::int64_t>(ms));
    if (file.writeKTRData(clip.frame(i, static_cast<std::uint32_t>(ms))) != 0) {
      throw failure("cannot write footage", "make room on the disk");
    }
    if (BenchClip::isKey(i)) offsets_[i / BenchClip::KEY_INTERVAL] = file.recordOffset();
  }
}

void LoadScenario::store(KTR_DB_handle& recorder, const std::string& directory) {
  StoredPast past(recorder);
  const auto secondsOfSlice = static_cast<unsigned int>(offsets_.size());
  for (unsigned int i = 0; i < size_.sessions; ++i) {
    const long start = FIRST_SECOND + static_cast<long>(i / size_.streams) *
                                          static_cast<long>(size_.rowsOfSession);
    const unsigned int id =
        past.addSession(directory, i % size_.streams, start, start + size_.rowsOfSession - 1);
    for (unsigned int second = 0; second < size_.rowsOfSession; ++second) {
      past.addRow(id, offsets_[second % secondsOfSlice], start + second, second / secondsOfSlice);
    }
    const std::string prefix = recorder.getFullPrefixFileName(static_cast<int>(id)).c_str();
    for (unsigned int slice = 0; slice * secondsOfSlice < size_.rowsOfSession; ++slice) {
      fs::create_hard_link(directory + "footage_F0.dat",
                           prefix + "F" + std::to_string(slice) + ".dat");
    }
  }
  past.finish();
}

Measurement LoadScenario::run() {
  Measurement result;
  std::mt19937 random(++runs_);  // NOLINT(cert-msc51-cpp): other moments in each run, never chance
  result.latencies.reserve(loads_);
  const ResourceMeter meter(place_.serverPid());
  for (unsigned int i = 0; i < loads_; ++i) loadOnce(random, result);
  meter.read(result);
  result.expectEqual("loads", loads_, result.operations);
  if (rows() <= ROWS_TO_COUNT) {
    result.expectEqual("index rows", rows(),
                       BenchPlace::rows(*recorder_, KTR_DBTable::TB_DATA_STREAMS));
  }
  return result;
}

void LoadScenario::loadOnce(std::mt19937& random, Measurement& result) const {
  const unsigned int session = random() % size_.sessions;
  const long time =
      FIRST_SECOND +
      static_cast<long>(session / size_.streams) * static_cast<long>(size_.rowsOfSession) +
      static_cast<long>(random() % size_.rowsOfSession);
  KTRStreamReadSession::Parameters wanted;
  wanted["streamid"] = KTString(std::to_string(session % size_.streams));
  wanted["starttime"] = KTString(std::to_string(time));
  const auto begin = Latencies::Clock::now();
  KTRVideoStreamReadSession reader(KTString("load") + size_.word, 0);
  KTDataBlock frame;
  unsigned int unused = 0;
  const bool found = reader.load(wanted) != 0 && reader.getFrame(frame, unused) != 0;
  result.latencies.add(Latencies::Clock::now() - begin);
  KTRVideoFrame parser;
  if (found && reader.startTime() == time && parser.parse(frame) && parser.isKFrame()) {
    ++result.operations;
  }
}

std::vector<std::unique_ptr<Rival>> LoadScenario::rivals() {
  std::vector<std::unique_ptr<Rival>> rivals;
  const unsigned int seconds = place_.size(HOUR, SHORT_SECONDS_OF_SLICE);
  const unsigned int loads = place_.size(LOADS_OF_A_RIVAL, SHORT_LOADS);
  rivals.push_back(
      std::make_unique<ContainerSeek>(place_, ContainerSeek::FragmentedMp4, seconds, loads));
  rivals.push_back(
      std::make_unique<ContainerSeek>(place_, ContainerSeek::Matroska, seconds, loads));
  return rivals;
}
