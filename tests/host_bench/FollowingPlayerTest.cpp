#include "host/bench/FollowingPlayer.h"

#include "host/bench/BenchRecording.h"
#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr std::chrono::milliseconds PAUSE{20};

class FollowingPlayerTest : public BenchFixture {};

}  // namespace

TEST_F(FollowingPlayerTest, PlaysWhatComesAfterItHasBegun) {
  BenchRecording recording(place(), "followed", 30);
  (void)place().recorder("followed");
  const long noon = BenchRecording::noonOfYesterday();
  FollowingPlayer player("followed", BenchRecording::STREAM, noon, PAUSE);
  recording.record();
  ASSERT_EQ(noon, recording.start());
  player.finish();
  EXPECT_EQ(recording.frames(), player.frames());
  EXPECT_EQ(recording.frames(), player.latencies().count());
  EXPECT_EQ(place().clip().bytes(750) + 750 * 8, player.bytes());
  EXPECT_EQ(0U, player.displaced());
}

TEST_F(FollowingPlayerTest, CountsFramesThatAreNotWhereTheyShouldBe) {
  BenchRecording recording(place(), "displaced", 15);
  recording.record();
  FollowingPlayer player("displaced", BenchRecording::STREAM, recording.start() - 1, PAUSE);
  player.finish();
  EXPECT_EQ(recording.frames(), player.frames());
  EXPECT_EQ(1U, player.displaced());
}
