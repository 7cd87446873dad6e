#include "host/bench/rivals/ContainerSeek.h"

#include <filesystem>

#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr unsigned int SECONDS = 10;
constexpr unsigned int SEEKS = 20;

class ContainerSeekTest : public BenchFixture {
 protected:
  static std::string pathOf(ContainerSeek::Kind kind) {
    return place().directory() +
           (kind == ContainerSeek::Matroska ? "/matroska/footage.mkv" : "/mp4/footage.mp4");
  }

  static inline const std::vector<ContainerSeek::Kind> KINDS = {ContainerSeek::FragmentedMp4,
                                                                ContainerSeek::Matroska};
};

}  // namespace

TEST_F(ContainerSeekTest, FindsTheKeyFrameOfEverySecondItAsksFor) {
  for (const ContainerSeek::Kind kind : KINDS) {
    ContainerSeek seek(place(), kind, SECONDS, SEEKS);
    const Measurement result = seek.run();
    EXPECT_THAT(result.flaws, testing::IsEmpty());
    EXPECT_EQ(SEEKS, result.operations) << seek.name();
    EXPECT_EQ(SEEKS, result.latencies.count()) << seek.name();
    EXPECT_THAT(seek.name(), testing::HasSubstr(" of 10 s"));
  }
}

TEST_F(ContainerSeekTest, HoldsTheFootageAndLeavesNothing) {
  for (const ContainerSeek::Kind kind : KINDS) {
    {
      const ContainerSeek seek(place(), kind, SECONDS, SEEKS);
      EXPECT_GE(std::filesystem::file_size(pathOf(kind)), place().clip().bytes(250) / 100 * 98);
    }
    EXPECT_FALSE(std::filesystem::exists(pathOf(kind)));
  }
}

TEST_F(ContainerSeekTest, FileThatCannotBeReadIsAFlaw) {
  ContainerSeek seek(place(), ContainerSeek::Matroska, SECONDS, SEEKS);
  std::filesystem::resize_file(pathOf(ContainerSeek::Matroska), 10);
  EXPECT_THAT(seek.run().flaws, testing::ElementsAre(testing::HasSubstr(": 0 instead of 20")));
}
