#include "host/bench/rivals/SegmentPrograms.h"

#include "tests/host_bench/BenchFixture.h"

namespace {

class SegmentProgramsTest : public BenchFixture {
 protected:
  static std::vector<std::string> namesOf(const std::vector<std::unique_ptr<Rival>>& rivals) {
    std::vector<std::string> names;
    for (const auto& rival : rivals) names.push_back(rival->name());
    return names;
  }
};

}  // namespace

TEST_F(SegmentProgramsTest, EveryProgramThatIsInstalledWritesTheFootage) {
  BenchMovie movie(place(), 10);
  const auto programs = SegmentPrograms::of(place(), movie);
  if (ProgramRival::isInstalled("ffmpeg")) {
    EXPECT_THAT(namesOf(programs),
                testing::IsSupersetOf({"ffmpeg's segments, .mp4", "ffmpeg's segments, .mkv"}));
  }
  for (const auto& program : programs) {
    const Measurement result = program->run();
    EXPECT_THAT(result.flaws, testing::IsEmpty()) << program->name();
    EXPECT_EQ(movie.bytes(), result.bytes) << program->name();
    EXPECT_EQ(250U, result.operations) << program->name();
  }
}

TEST_F(SegmentProgramsTest, LiveOnesTakeTheTimeOfTheFootageForAllStreamsAtOnce) {
  constexpr unsigned int SECONDS = 3;
  BenchMovie movie(place(), SECONDS);
  const auto programs = SegmentPrograms::live(place(), movie, 2);
  ASSERT_FALSE(programs.empty());
  for (const auto& program : programs) {
    const Measurement result = program->run();
    EXPECT_THAT(result.flaws, testing::IsEmpty()) << program->name();
    EXPECT_EQ(2 * movie.bytes(), result.bytes) << program->name();
    EXPECT_EQ(2 * SECONDS * 25U, result.operations) << program->name();
    EXPECT_GT(result.seconds, SECONDS - 1) << program->name();
  }
}
