#include "host/bench/rivals/ProgramRival.h"

#include <filesystem>

#include "tests/host_bench/BenchFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ProgramRivalTest : public BenchFixture {
 protected:
  /** Runs a shell text in which $0 is the directory, instead of a program that records. */
  static Measurement run(const std::string& text, std::uint64_t bytes) {
    const auto words = [text](const std::string& directory) {
      return std::vector<std::string>{"sh", "-c", text, directory};
    };
    return ProgramRival(place(), {"it", words, bytes, 25, 1}).run();
  }
};

}  // namespace

TEST_F(ProgramRivalTest, IsMeasuredByWhatTheFootageWas) {
  const Measurement result = run("head -c 1000000 /dev/zero >$0/a", 1'000'000);
  EXPECT_THAT(result.flaws, IsEmpty());
  EXPECT_EQ(1'000'000U, result.bytes);
  EXPECT_EQ(25U, result.operations);
  EXPECT_GT(result.seconds, 0);
  EXPECT_FALSE(std::filesystem::exists(place().directory() + "/program"));
}

TEST_F(ProgramRivalTest, ProgramThatFailsIsAFlaw) {
  EXPECT_THAT(run("head -c 1000 /dev/zero >$0/a; exit 3", 1000).flaws,
              ElementsAre("it ends with 3"));
}

TEST_F(ProgramRivalTest, ProgramThatWritesTooLittleIsAFlaw) {
  EXPECT_THAT(run("head -c 900 /dev/zero >$0/a", 1000).flaws,
              ElementsAre("it writes 900 bytes of 1000"));
}

TEST_F(ProgramRivalTest, ProgramThatStandsStillIsRunAgain) {
  const Measurement result =
      run("if mkdir $0/../tried; then sleep 1000; fi; head -c 1000 /dev/zero >$0/a", 1000);
  EXPECT_THAT(result.flaws, IsEmpty());
}

TEST_F(ProgramRivalTest, ProgramThatAlwaysStandsStillIsAFlaw) {
  EXPECT_THAT(run("head -c 1000 /dev/zero >$0/a; sleep 1000", 1000).flaws,
              ElementsAre("it ends with 124"));
}

TEST_F(ProgramRivalTest, KnowsWhatIsInstalled) {
  EXPECT_TRUE(ProgramRival::isInstalled("sh"));
  EXPECT_FALSE(ProgramRival::isInstalled("no-such-program"));
  EXPECT_TRUE(ProgramRival::succeeds({"true"}));
  EXPECT_FALSE(ProgramRival::succeeds({"false"}));
  EXPECT_FALSE(ProgramRival::succeeds({"no-such-program"}));
}
