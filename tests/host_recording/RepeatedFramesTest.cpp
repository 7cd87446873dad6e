#include "host/play/RepeatedFrames.h"

#include <gtest/gtest.h>

namespace {

class RepeatedFramesTest : public testing::Test {
 protected:
  static KTDataBlock frame(unsigned char content) { return {&content, 1}; }
  /** Hands out frames of a time and a content each, beginning with a key frame. */
  void hand(int first, int last) {
    for (int i = first; i <= last; ++i) {
      repeated_.note(i, frame(static_cast<unsigned char>(i)), i == first);
    }
  }
  bool has(int timeMs, unsigned char content) { return repeated_.has(timeMs, frame(content)); }
  bool has(int i) { return has(i, static_cast<unsigned char>(i)); }

  RepeatedFrames repeated_;
};

}  // namespace

TEST_F(RepeatedFramesTest, TheGroupOfPicturesThatASessionEndedInIsKnown) {
  hand(1, 3);
  repeated_.enterSession();
  EXPECT_TRUE(has(1));
  EXPECT_TRUE(has(2));
  EXPECT_TRUE(has(3));
  EXPECT_FALSE(has(4));
}

TEST_F(RepeatedFramesTest, GroupsBeforeItAreNot) {
  hand(1, 3);
  hand(4, 5);
  repeated_.enterSession();
  EXPECT_FALSE(has(1));
}

TEST_F(RepeatedFramesTest, BehindANewFrameNoneIsRepeated) {
  hand(1, 3);
  repeated_.enterSession();
  EXPECT_TRUE(has(1));
  EXPECT_FALSE(has(9));
  EXPECT_FALSE(has(2));
}

TEST_F(RepeatedFramesTest, TimeAndContentMakeAFrame) {
  hand(1, 1);
  repeated_.enterSession();
  EXPECT_FALSE(has(1, 7));
  repeated_.enterSession();
  EXPECT_FALSE(has(2, 1));
}

TEST_F(RepeatedFramesTest, AThirdSessionMayRepeatThemToo) {
  hand(1, 2);
  for (int session = 0; session < 2; ++session) {
    repeated_.enterSession();
    EXPECT_TRUE(has(1));
    EXPECT_TRUE(has(2));
  }
}
