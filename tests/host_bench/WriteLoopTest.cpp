#include "host/bench/rivals/WriteLoop.h"

#include "host/HostError.h"
#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr unsigned int SECONDS = 8;
constexpr std::uint64_t BYTES = std::uint64_t{BenchClip::BIT_RATE} / 8 * SECONDS;

class WriteLoopTest : public BenchFixture {};

}  // namespace

TEST_F(WriteLoopTest, EveryFormWritesTheFootage) {
  const auto loops = WriteLoop::all(place(), SECONDS);
  EXPECT_EQ(WriteLoop::directWorks(place().directory()) ? 5U : 2U, loops.size());
  for (const auto& loop : loops) {
    const Measurement result = loop->run();
    EXPECT_GE(result.bytes, BYTES) << loop->name();
    EXPECT_LT(result.bytes, BYTES + (6 << 20)) << loop->name();
    EXPECT_GT(result.operations, 0U) << loop->name();
  }
}

TEST_F(WriteLoopTest, PiecesAreOfTheSizeAskedFor) {
  WriteLoop loop(place(), {"small", 1 << 20, false}, SECONDS,
                 std::make_shared<ColdBytes>(ColdBytes::Pages::Large));
  const Measurement result = loop.run();
  EXPECT_EQ(4U, result.operations);
  EXPECT_EQ(4U << 20, result.bytes);
  EXPECT_EQ("small", loop.name());
}

// Each frame begins at a page of the source, so that collecting takes more of it than is written.
TEST_F(WriteLoopTest, CollectedFramesAreTakenOneByOne) {
  const auto source = std::make_shared<ColdBytes>(ColdBytes::Pages::Large);
  const auto takenOfSource = [&](bool collects) {
    const unsigned char* const before = source->next(1);
    WriteLoop loop(place(), {"frames", 1 << 20, false, collects}, SECONDS, source);
    const Measurement result = loop.run();
    EXPECT_EQ(4U, result.operations);
    EXPECT_EQ(4U << 20, result.bytes);
    return source->next(1) - before - static_cast<long>(ColdBytes::ALIGNMENT);
  };
  EXPECT_EQ(4 << 20, takenOfSource(false));
  EXPECT_GT(takenOfSource(true), 4 << 20);
}

TEST_F(WriteLoopTest, FileSystemWithoutWaysPastTheCacheIsNoted) {
  EXPECT_FALSE(WriteLoop::directWorks("/nowhere"));
}
