// Recording: one iteration is what a stream of 4 Mbit/s flushes in 11 seconds, 275 frames of 20 kB.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "bench/BenchCheck.h"
#include "bench/BenchClock.h"
#include "bench/BenchDir.h"
#include "bench/Latencies.h"
#include "store/KTRFile.h"

namespace {

constexpr unsigned int FRAME_SIZE = 20000;
constexpr unsigned int FRAMES = 275;
constexpr size_t FLUSH_SIZE = size_t{FRAMES} * (FRAME_SIZE + KTRFile::RECORD_HEAD_SIZE);
constexpr unsigned int FLUSHES_A_FILE = 48;
constexpr auto FRAME_TIME = std::chrono::milliseconds(40);

class Stream {
 public:
  explicit Stream(const BenchDir& dir) : prefix_(dir.entry("cam_").c_str()) { begin(); }

  // A file of its own for every few flushes, so that the disk is not filled.
  void begin() {
    if (file_) file_->_remove();
    file_ = std::make_unique<KTRFile>(prefix_, 0, KTRFile::WRITE_FLAGS, 0x7FFFFFFF);
    append();  // the interval begins with the first frame
    flushed_ = 0;
  }
  // The frames of 11 seconds, of which the last one flushes.
  void record(Latencies& flushes) {
    for (unsigned int i = 1; i < FRAMES; ++i) append();
    flushes.time([this] { append(); });
    ++flushed_;
  }
  [[nodiscard]] bool isFull() const { return flushed_ == FLUSHES_A_FILE; }
  [[nodiscard]] bool flushedAll() const {
    return !failed_ && file_->pos() >= static_cast<long>(flushed_ * FLUSH_SIZE);
  }

 private:
  void append() {
    failed_ = file_->writeKTRData(frame_) != 0 || failed_;
    clock_.advance(FRAME_TIME);
  }

  BenchClock clock_;
  KTString prefix_;
  KTDataBlock frame_{FRAME_SIZE};
  std::unique_ptr<KTRFile> file_;
  unsigned int flushed_ = 0;
  bool failed_ = false;
};

// write(2) of the same chunks, with or without O_DIRECT.
class BareFile {
 public:
  BareFile(const BenchDir& dir, int flags, size_t chunk)
      : path_(dir.entry("bare")), flags_(flags), chunk_(chunk) {
    void* raw = mmap(nullptr, chunk, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    bytes_ = static_cast<unsigned char*>(raw);
    std::fill_n(bytes_, chunk, 7);
    begin();
  }
  BareFile(const BareFile&) = delete;
  BareFile& operator=(const BareFile&) = delete;
  ~BareFile() {
    ::close(fd_);
    munmap(bytes_, chunk_);
  }

  void begin() {
    if (fd_ >= 0) ::close(fd_);
    unlink(path_.c_str());
    fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | flags_, 0644);
    written_ = 0;
  }
  [[nodiscard]] bool record(Latencies& writes) {
    ssize_t put = 0;
    writes.time([this, &put] { put = ::write(fd_, bytes_, chunk_); });
    written_ += chunk_;
    return put == static_cast<ssize_t>(chunk_);
  }
  [[nodiscard]] bool isFull() const { return written_ >= FLUSHES_A_FILE * FLUSH_SIZE; }

 private:
  std::string path_;
  int flags_;
  size_t chunk_;
  unsigned char* bytes_ = nullptr;
  int fd_ = -1;
  size_t written_ = 0;
};

template <typename File>
void beginAnew(benchmark::State& state, File& file) {
  state.PauseTiming();
  file.begin();
  state.ResumeTiming();
}

void KTRFileAppend(benchmark::State& state) {
  const BenchDir dir;
  Stream stream(dir);
  Latencies flushes;
  for ([[maybe_unused]] auto iteration : state) {
    if (stream.isFull()) beginAnew(state, stream);
    stream.record(flushes);
  }
  BenchCheck::that(state, stream.flushedAll(), "each iteration flushes 275 frames");
  state.SetBytesProcessed(
      static_cast<int64_t>(static_cast<size_t>(state.iterations()) * FLUSH_SIZE));
  flushes.report(state);
}

void bareAppend(benchmark::State& state, int flags, size_t chunk) {
  const BenchDir dir;
  BareFile file(dir, flags, chunk);
  Latencies writes;
  bool whole = true;
  for ([[maybe_unused]] auto iteration : state) {
    if (file.isFull()) beginAnew(state, file);
    whole = file.record(writes) && whole;
  }
  BenchCheck::that(state, whole, "each iteration writes its chunk");
  state.SetBytesProcessed(static_cast<int64_t>(static_cast<size_t>(state.iterations()) * chunk));
  writes.report(state);
}

BENCHMARK(KTRFileAppend)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(bareAppend, write, 0, FLUSH_SIZE)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK_CAPTURE(bareAppend, direct_4MiB, O_DIRECT, size_t{4} << 20)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
