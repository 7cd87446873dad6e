// Parsing: one iteration walks a message of so many frames of 20 kB and looks at each of them.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/BenchCheck.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/KTRVideoFrame.h"

namespace {

KTDataBlock message(int frames) {
  const std::vector<unsigned char> media(20000, 7);
  KTDataBlock all;
  for (int i = 0; i < frames; ++i) {
    const auto stamp = static_cast<std::uint32_t>(i * 40);
    all += KTRFrameWriter::build(KTRFrameFormat::Delta, stamp,
                                 {{media.data(), static_cast<unsigned int>(media.size())}});
  }
  return all;
}

void KTRVideoFrameParse(benchmark::State& state) {
  const KTDataBlock bytes = message(static_cast<int>(state.range(0)));
  KTRVideoFrame parser;
  int64_t frames = 0;
  for ([[maybe_unused]] auto iteration : state) {
    for (bool more = parser.parse(bytes); more; more = parser.next()) {
      benchmark::DoNotOptimize(parser.data().size + parser.timeStamp());
      ++frames;
    }
  }
  BenchCheck::that(state, frames == state.iterations() * state.range(0), "all frames are parsed");
  state.SetItemsProcessed(frames);
}

// What the parser saves by sharing the message's bytes.
void copyOfAFrame(benchmark::State& state) {
  const KTDataBlock bytes = message(1);
  KTDataBlock copy;
  for ([[maybe_unused]] auto iteration : state) {
    copy.setData(bytes.data, bytes.size);
    benchmark::DoNotOptimize(copy.data);
  }
  BenchCheck::that(state, copy == bytes, "the frame is copied");
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(KTRVideoFrameParse)->Arg(1)->Arg(10);
BENCHMARK(copyOfAFrame);

}  // namespace
