#include "host/record/StoredFrames.h"

#include "runtime/KTRFrameWriter.h"
#include "tests/support/RecorderFixture.h"

namespace {

class StoredFramesTest : public RecorderFixture {
 protected:
  StoredFramesTest() {
    begin();
    keyEvery(1, 5);  // seconds 1 to 5
    stop();
  }
  /** A frame as the fixture records it in a second behind START. */
  [[nodiscard]] StreamFrame frame(long second, KTRFrameFormat::Kind kind = KTRFrameFormat::Key) {
    StreamFrame made;
    const auto stamp = static_cast<unsigned int>((START + second) % 86400 * 1000);
    made.bytes = makeFrame(kind, stamp);
    made.timeMs = (START + second) * std::int64_t{1000};
    made.settings = std::make_shared<const StreamSettings>(params().videoSettings);
    return made;
  }

  StoredFrames stored_{"cam", STREAM};
};

}  // namespace

TEST_F(StoredFramesTest, KnowsNothingBeforeItHasRead) {
  EXPECT_FALSE(stored_.has(frame(3)));
}

TEST_F(StoredFramesTest, KnowsWhatIsStoredFromAFrameOn) {
  stored_.readFrom(frame(1));
  for (long second = 1; second <= 5; ++second) EXPECT_TRUE(stored_.has(frame(second))) << second;
  EXPECT_FALSE(stored_.has(frame(6)));
}

TEST_F(StoredFramesTest, AFrameOfTheSameTimeIsAnotherOne) {
  stored_.readFrom(frame(1));
  EXPECT_FALSE(stored_.has(frame(3, KTRFrameFormat::Delta)));
  StreamFrame later = frame(3);
  later.timeMs += 86'400'000;
  EXPECT_FALSE(stored_.has(later));
}

TEST_F(StoredFramesTest, FramesOfOtherStreamsAreNotMeant) {
  StoredFrames other("cam", STREAM + 1);
  other.readFrom(frame(1));
  EXPECT_FALSE(other.has(frame(3)));
}
