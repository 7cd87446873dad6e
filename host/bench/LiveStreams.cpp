#include "host/bench/LiveStreams.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>

#include "host/HostError.h"
#include "runtime/KTTimeValue.h"
#include "runtime/LittleEndian.h"

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr unsigned int STREAMS_OF_A_RECORDER = 128;
constexpr std::int64_t BEGIN_EVERY_MS = 21;  // no divisor in common with 40 or 1000
// In no step with frames or with the rests of sessions, as the world is.
constexpr std::int64_t ROUND_MS = 33;
constexpr std::int64_t DAY_MS = 86'400'000;
constexpr int SLICE_BYTES = 128 << 20;
constexpr unsigned int LONG_QUEUE = 20;  // messages
constexpr auto OPENING_TIME = std::chrono::seconds(60);

std::int64_t wallMs() {
  const KTTimeValue now = KTTimeValue::now();
  return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

double cpuSecondsOf(clockid_t clock) {
  timespec time{};
  if (clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// What a session is told first: that its camera's clock and this machine's are the same.
KTDataBlock timeMessage() {
  KTDataBlock message(8);
  const auto now = static_cast<std::uint32_t>(KTTimeValue::now().tv_sec);
  storeLittleEndian(message.writable(), now);
  storeLittleEndian(message.writable() + 4, now);
  return message;
}

}  // namespace

LiveStreams::LiveStreams(BenchPlace& place, const std::string& name, unsigned int streams)
    : place_(place), clip_(place.clip()), name_(name), streams_(streams) {
  const unsigned int recorders = (streams + STREAMS_OF_A_RECORDER - 1) / STREAMS_OF_A_RECORDER;
  for (unsigned int i = 0; i < recorders; ++i) {
    recorders_.push_back(&place.recorder(recorderName(i)));
    (void)place.storageOf(recorderName(i));
  }
}

LiveStreams::~LiveStreams() {
  stop();
}

std::string LiveStreams::recorderName(unsigned int number) const {
  return number == 0 ? name_ : name_ + std::to_string(number);
}

KTRStreamRecordParams LiveStreams::paramsOf(unsigned int stream) const {
  const std::string recorder = recorderName(stream / STREAMS_OF_A_RECORDER);
  KTRStreamRecordParams params;
  params.dbName = recorder.c_str();
  params.videoSettings =
      KTRVideoSettingsRow("bench", BenchClip::FRAME_RATE, 0, "h264", "640x360", "");
  params.sessionKind = 0;  // a run over midnight is one session all the same
  params.sliceSize = SLICE_BYTES;
  params.storageDir = KTString(place_.storageOf(recorder));
  params.streamId = static_cast<int>(stream % STREAMS_OF_A_RECORDER);
  return params;
}

void LiveStreams::start() {
  openSessions();
  feeder_ = std::thread([this] { feed(); });
  awaitRecording();
}

void LiveStreams::openSessions() {
  for (unsigned int i = 0; i < streams_.size(); ++i) {
    Stream& stream = streams_[i];
    stream.firstMs = i * BEGIN_EVERY_MS;
    stream.session = std::make_unique<KTRVideoStreamRecordSession>(paramsOf(i));
    (void)stream.session->commit(timeMessage(), KTRMessageType::Time, KTMessage::NormalPriority);
    due_[static_cast<size_t>(stream.firstMs) % due_.size()].push_back(&stream);
  }
}

void LiveStreams::awaitRecording() {
  const auto deadline = steady_clock::now() + OPENING_TIME;
  for (const Stream& stream : streams_) {
    while (stream.session->progress().sessionId == 0) {
      if (!stream.session->alive() || steady_clock::now() > deadline) {
        throw failure("a stream is not recorded", "see the messages above");
      }
      std::this_thread::sleep_for(milliseconds(5));
    }
  }
}

void LiveStreams::feed() {
  const auto beginning = steady_clock::now();
  const std::int64_t beginningMs = wallMs();
  for (std::int64_t ms = 0; !ending_; ++ms) {
    if (ms % ROUND_MS == 0) awaitRound(beginning + milliseconds(ms + ROUND_MS));
    for (Stream* stream : due_[static_cast<size_t>(ms) % due_.size()]) {
      if (stream->firstMs <= ms) feedOne(*stream, (beginningMs + ms) % DAY_MS);
    }
  }
}

void LiveStreams::awaitRound(steady_clock::time_point due) {
  std::this_thread::sleep_until(due);
  const auto late = std::chrono::duration_cast<milliseconds>(steady_clock::now() - due).count();
  if (late > latestRoundMs_) latestRoundMs_ = late;
}

void LiveStreams::feedOne(Stream& stream, std::int64_t stampMs) {
  const KTDataBlock frame = clip_.frame(stream.frames, static_cast<std::uint32_t>(stampMs));
  if (commit(stream, frame) != 0) ++refused_;
  ++stream.frames;
  noteQueue(stream.session->queueLength());
}

// To ask for the thread's processor time takes a system call: not for every frame.
int LiveStreams::commit(Stream& stream, const KTDataBlock& frame) {
  const bool sampled = commits_.count() % COMMITS_OF_A_SAMPLE == 0;
  const double cpuBefore = sampled ? cpuSecondsOf(CLOCK_THREAD_CPUTIME_ID) : 0;
  const auto begin = Latencies::Clock::now();
  const int result =
      stream.session->commit(frame, KTRMessageType::FrameData, KTMessage::NormalPriority);
  const auto took = Latencies::Clock::now() - begin;
  if (sampled) sampledCpu_ = sampledCpu_ + cpuSecondsOf(CLOCK_THREAD_CPUTIME_ID) - cpuBefore;
  commits_.add(took);
  return result;
}

// Only the feeding thread raises these.
void LiveStreams::noteQueue(unsigned int length) {
  if (length > longestQueue_) longestQueue_ = length;
}

void LiveStreams::mark() {
  longestQueue_ = 0;
  latestRoundMs_ = 0;
}

void LiveStreams::stop() {
  ending_ = true;
  if (!feeder_.joinable()) return;
  feeder_.join();
  for (const Stream& stream : streams_) {
    (void)stream.session->commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  }
  for (Stream& stream : streams_) {
    while (stream.session->alive()) std::this_thread::sleep_for(milliseconds(1));
  }
  final_ = stored();
  for (Stream& stream : streams_) stream.session.reset();
}

LiveStreams::Stored LiveStreams::stored() const {
  Stored sum = final_;
  for (const Stream& stream : streams_) {
    if (stream.session == nullptr) continue;
    const KTRRecordProgress progress = stream.session->progress();
    sum.frames += progress.frames;
    sum.bytes += progress.bytes;
  }
  return sum;
}

double LiveStreams::feederCpuSeconds() const {
  clockid_t clock = 0;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the handle is not changed
  const pthread_t thread = const_cast<std::thread&>(feeder_).native_handle();
  return pthread_getcpuclockid(thread, &clock) == 0 ? cpuSecondsOf(clock) : 0;
}

void LiveStreams::check(Measurement& result) const {
  std::uint64_t committed = 0;
  std::uint64_t rows = 0;
  for (const Stream& stream : streams_) {
    committed += stream.frames;
    rows += BenchClip::indexRows(stream.frames);
  }
  std::uint64_t foundRows = 0;
  std::uint64_t foundSessions = 0;
  for (KTR_DB_handle* recorder : recorders_) {
    foundRows += BenchPlace::rows(*recorder, KTR_DBTable::TB_DATA_STREAMS);
    foundSessions += BenchPlace::rows(*recorder, KTR_DBTable::TB_RECORD_SESSIONS);
  }
  result.expectEqual("frames refused", 0, refused_);
  result.expectEqual("frames stored", committed, final_.frames);
  result.expectEqual("index rows", rows, foundRows);
  result.expectEqual("record sessions", streams_.size(), foundSessions);
  result.expectEqual("bytes on disk", final_.bytes + final_.frames * KTRFile::RECORD_HEAD_SIZE,
                     bytesOnDisk());
}

void LiveStreams::checkPace(const LogWatch& log, Measurement& result) const {
  if (place_.shortForm()) return;
  if (longestQueue_ > LONG_QUEUE) {
    result.flaws.push_back("a queue grew to " + std::to_string(longestQueue_));
  }
  result.expectEqual("turns over 3 s", 0, log.slowTurns());
  result.expectEqual("frames with a long queue behind them", 0, log.longQueues());
}

std::uint64_t LiveStreams::bytesOnDisk() const {
  std::uint64_t bytes = 0;
  for (unsigned int i = 0; i < recorders_.size(); ++i) {
    for (const auto& entry : fs::recursive_directory_iterator(place_.storageOf(recorderName(i)))) {
      if (entry.is_regular_file()) bytes += entry.file_size();
    }
  }
  return bytes;
}

void LiveStreams::removeFiles() const {
  for (unsigned int i = 0; i < recorders_.size(); ++i) {
    fs::remove_all(place_.storageOf(recorderName(i)));
  }
}
