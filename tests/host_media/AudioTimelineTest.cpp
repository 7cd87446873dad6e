#include "host/media/AudioTimeline.h"

#include <gtest/gtest.h>

namespace {

using Place = std::optional<std::int64_t>;

class AudioTimelineTest : public testing::Test {
 protected:
  AudioTimelineTest() { picture(0); }

  void picture(std::int64_t us) { (void)pictures_.place(us, us); }
  Place sound(AudioTimeline::Stamp us, std::int64_t durationUs = 20'000) {
    return timeline_.place(us, durationUs, pictures_);
  }

  MediaTimeline pictures_{40'000, 0};
  AudioTimeline timeline_;
};

TEST_F(AudioTimelineTest, TimesPassUnchanged) {
  EXPECT_EQ(sound(-23'000), Place(-23'000));
  EXPECT_EQ(sound(7'000), Place(7'000));
  EXPECT_EQ(sound(9'000'000), Place(9'000'000));
}

TEST_F(AudioTimelineTest, RoundedTimesAreMadeEven) {
  EXPECT_EQ(sound(0, 23'220), Place(0));
  EXPECT_EQ(sound(23'000, 23'220), Place(23'220));
  EXPECT_EQ(sound(46'000, 23'220), Place(46'440));
  EXPECT_EQ(sound(69'660 + 2'001, 23'220), Place(71'661));
}

TEST_F(AudioTimelineTest, WithoutTimesThePacketsAreCounted) {
  picture(5'000'000);
  EXPECT_EQ(sound({}), Place(5'000'000));
  EXPECT_EQ(sound({}), Place(5'020'000));
}

TEST_F(AudioTimelineTest, SoundJumpsWithThePictures) {
  picture(4'000'000);
  EXPECT_EQ(sound(4'000'000), Place(4'000'000));
  EXPECT_EQ(sound(10'000), Place());  // the pictures have not jumped yet
  picture(0);                         // placed at 4.04 s
  EXPECT_EQ(sound(30'000), Place(4'070'000));
  EXPECT_EQ(sound(50'000), Place(4'090'000));
}

TEST_F(AudioTimelineTest, SoundFromBeforeTheJumpOfThePicturesKeepsItsPlace) {
  picture(4'000'000);
  EXPECT_EQ(sound(4'000'000), Place(4'000'000));
  picture(0);
  EXPECT_EQ(sound(4'020'000), Place(4'020'000));
  EXPECT_EQ(sound(10'000), Place(4'050'000));
}

TEST_F(AudioTimelineTest, PauseOfTheSourceIsNoPauseOnTheTimeline) {
  EXPECT_EQ(sound(0), Place(0));
  picture(60'000'000);  // placed at 40 ms
  EXPECT_EQ(sound(60'010'000), Place(50'000));
}

TEST_F(AudioTimelineTest, ClockThatOnlyTheSoundChangedIsSetToThePicture) {
  EXPECT_EQ(sound(0), Place(0));
  EXPECT_EQ(sound(500'000'000), Place());
  picture(1'000'000);
  EXPECT_EQ(sound(501'000'000), Place());
  picture(2'000'000);
  EXPECT_EQ(sound(502'000'000), Place(2'000'000));
  picture(2'040'000);
  EXPECT_EQ(sound(502'020'000), Place(2'020'000));
}

}  // namespace
