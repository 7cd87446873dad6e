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

TEST_F(WriteLoopTest, PiecesOfCollectedFramesAreOfThatSizeToo) {
  WriteLoop loop(place(), {"frames", 1 << 20, false, true}, SECONDS,
                 std::make_shared<ColdBytes>(ColdBytes::Pages::Large));
  const Measurement result = loop.run();
  EXPECT_EQ(4U, result.operations);
  EXPECT_EQ(4U << 20, result.bytes);
}

TEST_F(WriteLoopTest, FileSystemWithoutWaysPastTheCacheIsNoted) {
  EXPECT_FALSE(WriteLoop::directWorks("/nowhere"));
}
