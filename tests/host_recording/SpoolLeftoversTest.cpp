#include "host/record/SpoolLeftovers.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "host/record/FrameSpool.h"
#include "tests/support/RecorderFixture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

class SpoolLeftoversTest : public RecorderFixture {
 protected:
  SpoolLeftoversTest() {
    (void)db();
    options_.recorder = "cam";
    options_.storageDirectory = dir_.path();
    options_.sliceSize = 1'000'000;
    options_.spoolDirectory = dir_.path() + "/spool";
    options_.spoolBytes = 1 << 30;
  }
  /** An earlier process leaves a group of pictures of a stream. */
  void leave(unsigned int stream) const {
    FrameSpool spool(directory(stream), options_.spoolBytes);
    for (long second = 0; second < 3; ++second) {
      StreamFrame frame;
      frame.bytes = makeFrame(second == 0 ? KTRFrameFormat::Key : KTRFrameFormat::Delta,
                              static_cast<unsigned int>((START + second) % 86400 * 1000));
      frame.timeMs = (START + second) * std::int64_t{1000};
      frame.startsPlayback = second == 0;
      frame.settings = std::make_shared<const StreamSettings>(params().videoSettings);
      ASSERT_EQ(FrameSpool::Stored, spool.append(frame));
    }
  }
  [[nodiscard]] std::string directory(unsigned int stream) const {
    return options_.spoolDirectory + "/" + std::to_string(stream);
  }
  void recordLeftovers(const std::set<unsigned int>& recorded) {
    SpoolLeftovers leftovers;
    leftovers.start(options_, recorded);
    leftovers.finish();
  }

  StreamRecorder::Options options_;
};

}  // namespace

TEST_F(SpoolLeftoversTest, AreRecordedWithTheirOwnTimes) {
  leave(7);
  leave(200);
  recordLeftovers({});
  EXPECT_THAT(rows("SELECT streamID,start_time,end_time FROM recordSessions ORDER BY streamID"),
              ElementsAre("7," + std::to_string(START) + "," + std::to_string(START + 2),
                          "200," + std::to_string(START) + "," + std::to_string(START + 2)));
  EXPECT_TRUE(fs::is_empty(directory(7)));
}

TEST_F(SpoolLeftoversTest, OfStreamsThatAreRecordedAreLeftToThem) {
  leave(7);
  recordLeftovers({7});
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM recordSessions"));
  EXPECT_FALSE(fs::is_empty(directory(7)));
}

TEST_F(SpoolLeftoversTest, WhatIsNoDirectoryOfAStreamIsLeftAlone) {
  fs::create_directories(options_.spoolDirectory + "/notes");
  fs::create_directories(options_.spoolDirectory + "/256");
  recordLeftovers({});
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM recordSessions"));
}

TEST_F(SpoolLeftoversTest, WithoutASpoolThereAreNone) {
  recordLeftovers({});
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM recordSessions"));
}
