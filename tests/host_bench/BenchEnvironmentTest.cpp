#include "host/bench/BenchEnvironment.h"

#include <sys/utsname.h>

#include <algorithm>

#include "tests/host_bench/BenchFixture.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

namespace {

class BenchEnvironmentTest : public BenchFixture {
 protected:
  const BenchEnvironment environment_ = BenchEnvironment::read(place());
};

#ifdef __OPTIMIZE__
constexpr bool OPTIMIZED = true;
#else
constexpr bool OPTIMIZED = false;
#endif

}  // namespace

TEST_F(BenchEnvironmentTest, TellsWhatFiguresDependOn) {
  utsname system{};
  uname(&system);
  const auto& lines = environment_.lines();
  EXPECT_THAT(lines, Contains(Pair("build", HasSubstr("ktr "))));
  EXPECT_THAT(lines, Contains(Pair("processor", Not(HasSubstr("unknown")))));
  EXPECT_THAT(lines, Contains(Pair("memory", HasSubstr("kB"))));
  EXPECT_THAT(lines, Contains(Pair("kernel", HasSubstr(system.release))));
  EXPECT_THAT(lines, Contains(Pair("file system", HasSubstr(" free"))));
  EXPECT_THAT(lines, Contains(Pair("server", HasSubstr("MariaDB"))));
  EXPECT_THAT(
      lines, Contains(Pair("settings",
                           testing::ContainsRegex(
                               "innodb_buffer_pool_size [0-9]+, innodb_log_file_size 100663296"))));
}

TEST_F(BenchEnvironmentTest, WarnsOfABuildThatIsNotMadeForSpeed) {
  const auto& warnings = environment_.warnings();
  const bool warned = std::any_of(warnings.begin(), warnings.end(), [](const std::string& text) {
    return text.starts_with("this build is not made for speed");
  });
  EXPECT_TRUE(OPTIMIZED || warned);
  EXPECT_THAT(environment_.lines().front().second,
              HasSubstr(OPTIMIZED ? ", optimised" : ", not optimised"));
}

TEST_F(BenchEnvironmentTest, ServerThatDoesNotAnswerIsSaid) {
  place().context().close();
  EXPECT_THAT(BenchEnvironment::read(place()).lines(),
              Contains(Pair("server", HasSubstr("does not answer"))));
}
