// The copy of 275 frames of 20 kB into the buffer that the disk has taken the last ones from. Both
// copies take turns in each iteration: what makes one of them slow comes and goes by the second.
#include "store/DirectWriter.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "bench/BenchCheck.h"
#include "bench/BenchDir.h"
#include "bench/Latencies.h"
#include "runtime/KTDataBlock.h"

namespace {

constexpr size_t FRAME_SIZE = 20000;
constexpr size_t FRAMES = 275;
constexpr size_t FLUSH_SIZE = FRAMES * FRAME_SIZE;
constexpr size_t FLUSHES_AT_HAND = 46;  // 253 MB: more than a cache of the processor holds

using Copy = void (*)(unsigned char* dst, const unsigned char* src, size_t n);

void plainCopy(unsigned char* dst, const unsigned char* src, size_t n) {
  std::memcpy(dst, src, n);
}

KTDataBlock inLargePages(size_t n) {
  KTDataBlock block;
  block.reserveLargePages(static_cast<unsigned int>(n));
  block.resize(static_cast<unsigned int>(n));
  unsigned char* const bytes = block.writable();
  for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(i * 31 + i / FRAME_SIZE);
  return block;
}

class Flushes {
 public:
  explicit Flushes(const BenchDir& dir)
      : fd_(::open(dir.entry("flush").c_str(), O_RDWR | O_CREAT, 0644)) {}
  Flushes(const Flushes&) = delete;
  Flushes& operator=(const Flushes&) = delete;
  ~Flushes() { ::close(fd_); }

  // False when the disk or the copy has failed.
  [[nodiscard]] bool flush(Copy copy, Latencies& copies) {
    const unsigned char* const frames = frames_.data + next_ * FLUSH_SIZE;
    next_ = (next_ + 1) % FLUSHES_AT_HAND;
    unsigned char* const buffer = buffer_.writable();
    copies.time([&] {
      for (size_t at = 0; at < FLUSH_SIZE; at += FRAME_SIZE) {
        copy(buffer + at, frames + at, FRAME_SIZE);
      }
    });
    return writer_.write(fd_, buffer, FLUSH_SIZE, 0) == static_cast<ssize_t>(FLUSH_SIZE) &&
           std::memcmp(buffer, frames, FRAME_SIZE) == 0;
  }

 private:
  int fd_;
  DirectWriter writer_;
  KTDataBlock frames_ = inLargePages(FLUSHES_AT_HAND * FLUSH_SIZE);
  KTDataBlock buffer_ = inLargePages(FLUSH_SIZE);
  size_t next_ = 0;
};

void flushCopy(benchmark::State& state) {
  const BenchDir dir;
  Flushes flushes(dir);
  Latencies collected;
  Latencies plain;
  bool whole = true;
  for ([[maybe_unused]] auto iteration : state) {
    whole = flushes.flush(&DirectWriter::collect, collected) && whole;
    whole = flushes.flush(&plainCopy, plain) && whole;
  }
  BenchCheck::that(state, whole, "each iteration copies and writes two flushes");
  state.SetBytesProcessed(
      static_cast<int64_t>(static_cast<size_t>(state.iterations()) * 2 * FLUSH_SIZE));
  collected.report(state, "collect_");
  plain.report(state, "memcpy_");
}

BENCHMARK(flushCopy)->Name("DirectWriterCollect")->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
