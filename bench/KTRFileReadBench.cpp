// Playback of a slice of 120 MB that the kernel's cache holds: one iteration reads all of it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <vector>

#include "bench/BenchCheck.h"
#include "bench/BenchDir.h"
#include "store/KTRFile.h"

namespace {

constexpr unsigned int FRAME_SIZE = 20000;
constexpr unsigned int RECORD_SIZE = FRAME_SIZE + KTRFile::RECORD_HEAD_SIZE;
constexpr unsigned int FRAMES = 6000;
constexpr size_t SLICE_SIZE = size_t{FRAMES} * RECORD_SIZE;

class Slice {
 public:
  // One for all scenarios.
  static const Slice& instance() {
    static const Slice slice;
    return slice;
  }

  Slice() : prefix_(dir_.entry("cam_").c_str()) {
    KTRFile file(prefix_, 0, KTRFile::WRITE_FLAGS, 0x7FFFFFFF);
    const KTDataBlock frame(FRAME_SIZE);
    for (unsigned int i = 0; i < FRAMES; ++i) (void)file.writeKTRData(frame);
    (void)file._close();
    (void)bytesBare(1U << 20);  // into the cache
  }

  [[nodiscard]] size_t framesFrom(unsigned int first, unsigned int most) const {
    KTRFile file(prefix_, 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
    if (file.go_to_pos(first * RECORD_SIZE) != 0) return 0;
    KTDataBlock frame;
    size_t count = 0;
    while (count < most && file.readKTRData(frame) > 0) ++count;
    return count;
  }
  [[nodiscard]] size_t bytesBare(size_t block) const {
    std::vector<unsigned char> bytes(block);
    const int fd = ::open(dir_.entry("cam_F0.dat").c_str(), O_RDONLY | O_CLOEXEC);
    size_t total = 0;
    for (ssize_t got = 1; got > 0;) {
      got = ::read(fd, bytes.data(), block);
      if (got > 0) total += static_cast<size_t>(got);
    }
    ::close(fd);
    return total;
  }

 private:
  BenchDir dir_;
  KTString prefix_;
};

void KTRFileRead(benchmark::State& state) {
  const Slice& slice = Slice::instance();
  size_t frames = FRAMES;
  for ([[maybe_unused]] auto iteration : state) frames = slice.framesFrom(0, FRAMES);
  BenchCheck::that(state, frames == FRAMES, "each iteration reads 6000 frames");
  state.SetBytesProcessed(
      static_cast<int64_t>(static_cast<size_t>(state.iterations()) * SLICE_SIZE));
}

void bareRead(benchmark::State& state) {
  const Slice& slice = Slice::instance();
  size_t bytes = SLICE_SIZE;
  const auto block = static_cast<size_t>(state.range(0));
  for ([[maybe_unused]] auto iteration : state) bytes = slice.bytesBare(block);
  BenchCheck::that(state, bytes == SLICE_SIZE, "each iteration reads the slice");
  state.SetBytesProcessed(
      static_cast<int64_t>(static_cast<size_t>(state.iterations()) * SLICE_SIZE));
}

// Opens the slice, goes to a record and reads it.
void KTRFileFirstFrame(benchmark::State& state) {
  const Slice& slice = Slice::instance();
  unsigned int next = 0;
  size_t frames = 1;
  for ([[maybe_unused]] auto iteration : state) {
    next = (next + 37) % FRAMES;
    frames = slice.framesFrom(next, 1);
  }
  BenchCheck::that(state, frames == 1, "each iteration reads a frame");
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(KTRFileRead);
BENCHMARK(bareRead)->Arg(65536)->Arg(262144)->Arg(1048576)->Arg(4194304);
BENCHMARK(KTRFileFirstFrame);

}  // namespace
