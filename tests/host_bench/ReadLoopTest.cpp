#include "host/bench/rivals/ReadLoop.h"

#include <gmock/gmock.h>

#include <fstream>

#include "host/HostError.h"
#include "tests/support/TempDir.h"

namespace {

class ReadLoopTest : public testing::Test {
 protected:
  std::string file(const std::string& name, size_t bytes) {
    const std::string path = dir_.path() + "/" + name;
    std::ofstream(path) << std::string(bytes, 'x');
    return path;
  }

  TempDir dir_;
};

}  // namespace

TEST_F(ReadLoopTest, ReadsEveryFileToItsEnd) {
  ReadLoop loop({file("a", 5000), file("b", 1024), file("empty", 0)}, 1024);
  const Measurement result = loop.run();
  EXPECT_EQ(6024U, result.bytes);
  EXPECT_EQ(6U, result.operations);
  EXPECT_EQ("read(2), 1 KiB at a time", loop.name());
}

TEST_F(ReadLoopTest, BestIsOneThatReadsTheSame) {
  const auto best = ReadLoop::best({file("a", 300'000)});
  EXPECT_EQ(300'000U, best->run().bytes);
  EXPECT_THAT(best->name(), testing::MatchesRegex("read\\(2\\), (64|128|256|1024|4096) KiB.*"));
}

TEST_F(ReadLoopTest, FileThatIsNotThereIsAnError) {
  EXPECT_THROW((void)ReadLoop({dir_.path() + "/none"}, 1024).run(), HostError);
}
