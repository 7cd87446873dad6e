#include "host/play/PlayRun.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "host/input/TimeText.h"
#include "host/media/MediaError.h"
#include "host/system/StopSignal.h"
#include "tests/host_recording/ClipFixture.h"

using testing::HasSubstr;

namespace {

constexpr std::int64_t DAY = 86400;
constexpr double AUDIO_FRAME = 0.02;  // seconds, of Opus: the shortest

class PlayRunTest : public ClipFixture {
 protected:
  [[nodiscard]] PlayRun::Options options(const std::string& output) const {
    PlayRun::Options options;
    options.recorder = "cam";
    options.stream = STREAM;
    options.at = START;
    options.seconds = DAY;
    options.output = path(output);
    options.frameLog = path("out");
    options.audio = true;
    options.audioStream = SOUND;
    return options;
  }
  PlayRun::Result play(const PlayRun::Options& options) {
    PlayRun run(options);
    EXPECT_TRUE(run.find());
    run.open();
    const StopSignal stop;
    ended_ = run.writeAll(stop);
    return run.finish();
  }
  PlayRun::Result play(const std::string& output) { return play(options(output)); }
  /** Checks that each white picture has its beep in the played file as in the source. */
  void expectInStep(const std::string& source, const std::string& played, size_t count) {
    const std::vector<double> flashes = TestClip::flashes(path(played));
    const std::vector<double> beeps = TestClip::beeps(path(played));
    const double skew = TestClip::beeps(source).at(0) - TestClip::flashes(source).at(0);
    ASSERT_GE(flashes.size(), count);
    ASSERT_GE(beeps.size(), count);
    for (size_t i = 0; i < count; ++i) EXPECT_NEAR(beeps[i] - flashes[i], skew, AUDIO_FRAME) << i;
  }

  /** The last stretch was played to its end, which lay before that of the recording. */
  bool ended_ = false;
};

}  // namespace

TEST_F(PlayRunTest, PlaysWhatWasRecordedIntoEveryForm) {
  const std::string source = clip("a.mp4", {.bFrames = 2, .seconds = 3});
  record(source);
  for (const char* output : {"o.mp4", "o.mkv", "o.h264"}) {
    EXPECT_EQ(75U, play(output).frames);
    EXPECT_EQ(lines("in"), lines("out"));
    EXPECT_EQ(TestClip::pictures(source), TestClip::pictures(path(output)));
  }
  EXPECT_FALSE(ended_);
}

TEST_F(PlayRunTest, PlaysHevcAndJpegPictures) {
  for (const char* codec : {"hevc", "mjpeg"}) {
    const std::string source = clip(std::string(codec) + ".mkv", {.codec = codec, .seconds = 2});
    record(source);
    PlayRun::Options wanted = options("o.mkv");
    wanted.at = now();
    clock_.advanceSeconds(100);
    wanted.at -= 3;
    EXPECT_EQ(50U, play(wanted).frames);
    EXPECT_EQ(lines("in"), lines("out"));
    EXPECT_EQ(TestClip::pictures(source), TestClip::pictures(path("o.mkv")));
  }
}

TEST_F(PlayRunTest, PlaysAStretch) {
  record(clip("a.mp4", {.seconds = 6, .keyInterval = 5}));
  PlayRun::Options wanted = options("o.mp4");
  wanted.at = START + 2;
  wanted.seconds = 2;
  const PlayRun::Result result = play(wanted);
  EXPECT_TRUE(ended_);
  EXPECT_EQ(50U, result.frames);
  EXPECT_EQ((START + 2) * std::int64_t{1000}, result.firstMs);
  EXPECT_EQ((START + 4) * std::int64_t{1000} - 40, result.lastMs);
}

TEST_F(PlayRunTest, PlaysALengthFromTheLastKeyFrame) {
  record(clip("a.mp4", {.seconds = 4, .keyInterval = 50}));
  PlayRun::Options wanted = options("o.mp4");
  wanted.fromLast = true;
  wanted.seconds = 1;
  EXPECT_EQ(25U, play(wanted).frames);
  EXPECT_TRUE(ended_);
}

TEST_F(PlayRunTest, SaysWhenNothingIsThere) {
  PlayRun run(options("o.mp4"));
  EXPECT_FALSE(run.find());
  EXPECT_EQ("nothing of stream 3 is recorded at " + TimeText::format(START) +
                ": see ktr sessions for what there is",
            run.nothingFound().what());
  PlayRun::Options last = options("o.mp4");
  last.fromLast = true;
  EXPECT_STREQ("nothing of stream 3 is recorded: see ktr sessions for what there is",
               PlayRun(last).nothingFound().what());
  EXPECT_FALSE(std::filesystem::exists(path("o.mp4")));
}

TEST_F(PlayRunTest, TouchesNoFileThatCannotHoldTheVideo) {
  record(clip("a.mp4", {.seconds = 1}));
  std::ofstream(path("o.h265")) << "kept";
  PlayRun run(options("o.h265"));
  ASSERT_TRUE(run.find());
  EXPECT_THROW(run.open(), MediaError);
  EXPECT_EQ("kept", lines("o.h265").at(0));
  EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(PlayRunTest, TouchesNoOutputWhenTheFrameLogCannotBeMade) {
  record(clip("a.mp4", {.seconds = 1}));
  std::ofstream(path("o.mp4")) << "kept";
  PlayRun::Options wanted = options("o.mp4");
  wanted.frameLog = path("no/such/place");
  PlayRun run(wanted);
  ASSERT_TRUE(run.find());
  EXPECT_THROW(run.open(), MediaError);
  EXPECT_EQ("kept", lines("o.mp4").at(0));
}

TEST_F(PlayRunTest, LeavesNoEmptyFileBehind) {
  record(clip("a.mp4", {.seconds = 1}));
  {
    PlayRun run(options("o.mp4"));
    ASSERT_TRUE(run.find());
    run.open();
  }
  EXPECT_FALSE(std::filesystem::exists(path("o.mp4")));
}

TEST_F(PlayRunTest, EndsWhereTheCodecChanges) {
  record(clip("a.mp4", {.seconds = 1}));
  clock_.advanceSeconds(2);
  record(clip("b.mkv", {.codec = "mjpeg", .seconds = 1}));
  const PlayRun::Result result = play("o.mp4");
  EXPECT_TRUE(result.codecChanged);
  EXPECT_EQ(25U, result.frames);
  EXPECT_EQ(25U, TestClip::pictures(path("o.mp4")).size());
}

TEST_F(PlayRunTest, GoesOnWhereOnlyTheSizeChanges) {
  record(clip("a.mp4", {.seconds = 1}));
  clock_.advanceSeconds(2);
  record(clip("b.mp4", {.seconds = 1, .size = "320x240"}));
  const PlayRun::Result result = play("o.mkv");
  EXPECT_FALSE(result.codecChanged);
  EXPECT_EQ(50U, result.frames);
  EXPECT_EQ(50U, TestClip::pictures(path("o.mkv")).size());
}

TEST_F(PlayRunTest, GoesOnWithARecordingInProgress) {
  record(clip("a.mp4", {.seconds = 1}));
  std::vector<std::string> all = lines("in");
  PlayRun run(options("o.mkv"));
  ASSERT_TRUE(run.find());
  run.open();
  const StopSignal stop;
  EXPECT_FALSE(run.writeAll(stop));
  EXPECT_FALSE(run.hasMore());
  clock_.advanceSeconds(2);
  record(clip("b.mp4", {.seconds = 1}));
  for (const std::string& line : lines("in")) all.push_back(line);
  EXPECT_TRUE(run.hasMore());
  EXPECT_FALSE(run.writeAll(stop));
  EXPECT_EQ(50U, run.finish().frames);
  EXPECT_EQ(all, lines("out"));
}

TEST_F(PlayRunTest, AStopEndsTheWriting) {
  record(clip("a.mp4", {.seconds = 1}));
  PlayRun run(options("o.mp4"));
  ASSERT_TRUE(run.find());
  run.open();
  StopSignal stop;
  stop.request();
  EXPECT_TRUE(run.writeAll(stop));
  EXPECT_EQ(0U, run.finish().frames);
}

TEST_F(PlayRunTest, FlashesAndBeepsComeBackInStep) {
  int number = 0;
  for (const char* audio : {"aac", "libopus", "libmp3lame", "pcm_alaw -ar 8000"}) {
    const std::string source = beeps("a" + std::to_string(number++) + ".mkv", audio,
                                     {.bFrames = 2, .seconds = 8, .keyInterval = 25});
    PlayRun::Options wanted = options("o.mkv");
    wanted.at = now();
    record(source);
    SCOPED_TRACE(audio);
    EXPECT_LT(0U, play(wanted).audioPackets);
    expectInStep(source, "o.mkv", 4);
    if (std::string(audio).starts_with("pcm")) continue;
    wanted.output = path("o.mp4");
    EXPECT_LT(0U, play(wanted).audioPackets);
    expectInStep(source, "o.mp4", 4);
    clock_.advanceSeconds(100);
  }
}

TEST_F(PlayRunTest, AStretchFromTheMiddleIsInStep) {
  const std::string source = beeps("a.mp4", "aac", {.bFrames = 2, .seconds = 10});
  record(source);
  PlayRun::Options wanted = options("o.mp4");
  wanted.at = START + 4;
  wanted.seconds = 4;
  const PlayRun::Result result = play(wanted);
  expectInStep(source, "o.mp4", 2);
  const double seconds = static_cast<double>(result.audioPackets) * 1024 / 48000;
  EXPECT_NEAR(seconds, static_cast<double>(result.lastMs - result.firstMs) / 1000, 0.2);
}

TEST_F(PlayRunTest, SoundGoesOnInStepInTheNextSession) {
  const std::string source = beeps("a.mp4", "aac", {.seconds = 4});
  record(source);
  clock_.advanceSeconds(3);
  record(source);
  EXPECT_LT(300U, play("o.mkv").audioPackets);
  expectInStep(source, "o.mkv", 2);
  const std::vector<double> flashes = TestClip::flashes(path("o.mkv"));
  const std::vector<double> beeps = TestClip::beeps(path("o.mkv"));
  const double skew = TestClip::beeps(source).at(0) - TestClip::flashes(source).at(0);
  // The last two moments of the second session; what ends with a file counts as well.
  const auto nearest = [&](double flash) {
    double best = 1e9;
    for (const double beep : beeps) best = std::min(best, std::abs(beep - flash - skew));
    return best;
  };
  size_t late = 0;
  for (const double flash : flashes) late += flash > 7.5 && nearest(flash) < AUDIO_FRAME ? 1 : 0;
  EXPECT_GE(late, 2U);
}

TEST_F(PlayRunTest, SoundStaysOutWhenItIsNotWanted) {
  record(beeps("a.mp4", "aac", {.seconds = 2}));
  PlayRun::Options wanted = options("o.mp4");
  wanted.audio = false;
  EXPECT_EQ(0U, play(wanted).audioPackets);
  EXPECT_EQ("", TestClip::audioStream(path("o.mp4"), "codec_name"));
}

TEST_F(PlayRunTest, RawOutputCarriesThePicturesAlone) {
  record(beeps("a.mp4", "aac", {.seconds = 2}));
  EXPECT_EQ(0U, play("o.h264").audioPackets);
  EXPECT_EQ(50U, TestClip::pictures(path("o.h264")).size());
}

TEST_F(PlayRunTest, SaysWhichSoundAFileCannotHold) {
  record(beeps("a.mkv", "pcm_mulaw -ar 8000", {.seconds = 2}));
  const PlayRun::Result result = play("o.mp4");
  EXPECT_EQ("pcm_mulaw", result.audioLeftOut);
  EXPECT_EQ(50U, result.frames);
  EXPECT_EQ("", play("o.mkv").audioLeftOut);
}

TEST_F(PlayRunTest, SoundEndsWhereItBecomesAnother) {
  record(beeps("a.mp4", "aac", {.seconds = 2}));
  clock_.advanceSeconds(2);
  record(beeps("b.mkv", "libopus", {.seconds = 2}));
  const PlayRun::Result result = play("o.mkv");
  EXPECT_TRUE(result.audioChanged);
  EXPECT_EQ(100U, result.frames);
  EXPECT_NEAR(static_cast<double>(result.audioPackets), 2.0 * 48000 / 1024, 3);
}

TEST_F(PlayRunTest, SoundOfARecordingInProgressGoesOnToo) {
  record(beeps("a.mp4", "aac", {.seconds = 2}));
  PlayRun run(options("o.mkv"));
  ASSERT_TRUE(run.find());
  run.open();
  const StopSignal stop;
  EXPECT_FALSE(run.writeAll(stop));
  clock_.advanceSeconds(2);
  record(beeps("b.mp4", "aac", {.seconds = 2}));
  EXPECT_TRUE(run.hasMore());
  EXPECT_FALSE(run.writeAll(stop));
  EXPECT_NEAR(static_cast<double>(run.finish().audioPackets), 4.0 * 48000 / 1024, 6);
}
