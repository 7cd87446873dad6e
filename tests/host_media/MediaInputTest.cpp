#include "host/media/MediaInput.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

#include "runtime/KTLogger.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

using testing::ElementsAre;
using Form = TestClip::Form;

class MediaInputTest : public testing::Test {
 protected:
  std::string clip(const std::string& name, const Form& form) {
    return TestClip::make(dir_.path() + "/" + name, form);
  }

  // Checks that every key frame holds each kind of parameter set once, before the picture.
  void expectSetsInKeyFrames(const std::string& url, MediaCodec codec, size_t keyFrames) {
    size_t seen = 0;
    for (const StoredUnit& unit : unitsOf(url)) {
      if (!unit.key) continue;
      ++seen;
      std::vector<NalKind> kinds = kindsOf(codec, unit.bytes);
      std::erase(kinds, NalKind::Other);
      std::erase(kinds, NalKind::Delimiter);
      if (codec == MediaCodec::Hevc) {
        ASSERT_THAT(kinds, ElementsAre(NalKind::Vps, NalKind::Sps, NalKind::Pps, NalKind::Picture));
      } else {
        ASSERT_THAT(kinds, ElementsAre(NalKind::Sps, NalKind::Pps, NalKind::Picture));
      }
    }
    EXPECT_EQ(seen, keyFrames);
  }

  // Checks that times of showing are those that ffprobe has, up to a constant.
  void expectShownAsIn(const std::string& url) {
    const std::vector<StoredUnit> units = unitsOf(url);
    const std::vector<std::string> shown = TestClip::packets(url, "pts_time");
    ASSERT_EQ(units.size(), shown.size());
    for (size_t i = 0; i < units.size(); ++i) {
      EXPECT_NEAR(static_cast<double>(units[i].ptsMs), std::stod(shown[i]) * 1000, 0.51) << i;
    }
  }

  [[nodiscard]] std::string path(const std::string& name) const { return dir_.path() + "/" + name; }

  TempDir dir_;
};

const Form H264{.encoderOptions = "-x264-params slices=1"};
const Form H264_B{.bFrames = 2, .encoderOptions = "-x264-params slices=1"};
const Form HEVC{.codec = "hevc"};
const Form HEVC_B{.codec = "hevc", .bFrames = 2};
const Form MJPEG{.codec = "mjpeg"};

TEST_F(MediaInputTest, TellsWhatTheSourceIs) {
  const auto info = MediaInput(clip("a.mp4", {.frameRate = 15, .size = "176x144"})).info();
  EXPECT_EQ(info.codec, MediaCodec::H264);
  EXPECT_EQ(info.width, 176);
  EXPECT_EQ(info.height, 144);
  EXPECT_EQ(info.frameRate, 15);
  EXPECT_FALSE(info.live);
  EXPECT_EQ(MediaInput(clip("a.mkv", HEVC)).info().codec, MediaCodec::Hevc);
  EXPECT_EQ(MediaInput(clip("b.mkv", MJPEG)).info().codec, MediaCodec::Mjpeg);
}

TEST_F(MediaInputTest, RawFilesTellTheirFrameRate) {
  EXPECT_EQ(MediaInput(clip("a.h264", {.frameRate = 15})).info().frameRate, 15);
  EXPECT_EQ(MediaInput(clip("a.mjpeg", MJPEG)).info().frameRate, 25);
}

TEST_F(MediaInputTest, KeyFramesOfMp4BeginWithTheirParameterSets) {
  expectSetsInKeyFrames(clip("a.mp4", H264), MediaCodec::H264, 5);
  expectSetsInKeyFrames(clip("b.mp4", HEVC_B), MediaCodec::Hevc, 5);
}

TEST_F(MediaInputTest, KeyFramesOfMatroskaBeginWithTheirParameterSets) {
  expectSetsInKeyFrames(clip("a.mkv", H264_B), MediaCodec::H264, 5);
  expectSetsInKeyFrames(clip("b.mkv", HEVC), MediaCodec::Hevc, 5);
}

TEST_F(MediaInputTest, KeyFramesOfATransportStreamBeginWithTheirParameterSets) {
  expectSetsInKeyFrames(clip("a.ts", H264_B), MediaCodec::H264, 5);
}

TEST_F(MediaInputTest, KeyFramesOfRawFilesBeginWithTheirParameterSets) {
  expectSetsInKeyFrames(clip("a.h264", H264), MediaCodec::H264, 5);
  expectSetsInKeyFrames(clip("a.hevc", HEVC), MediaCodec::Hevc, 5);
}

TEST_F(MediaInputTest, SetsInTheStreamAreNotDoubled) {
  Form form = HEVC;
  form.encoderOptions = "-bsf:v dump_extra=freq=keyframe";
  expectSetsInKeyFrames(clip("a.mp4", form), MediaCodec::Hevc, 5);
  form = H264;
  form.encoderOptions += " -bsf:v dump_extra=freq=keyframe";
  expectSetsInKeyFrames(clip("b.mp4", form), MediaCodec::H264, 5);
}

TEST_F(MediaInputTest, KeyFramesOfARecoveryPointGetTheParameterSets) {
  Form form = H264_B;
  form.encoderOptions = "-x264-params slices=1:open-gop=1";
  const std::string url = clip("a.mkv", form);
  expectSetsInKeyFrames(url, MediaCodec::H264, 5);
  unsigned int instantRefreshes = 0;
  for (const StoredUnit& unit : unitsOf(url)) {
    for (const auto& nalUnit : nalUnitsOf(unit.bytes)) instantRefreshes += (nalUnit[0] & 0x1F) == 5;
  }
  EXPECT_EQ(instantRefreshes, 1U);
}

TEST_F(MediaInputTest, SetsStandBehindTheDelimiterWhenTheyAreAdded) {
  Form form = H264;
  form.encoderOptions += ":aud=1";
  const StoredUnit key = unitsOf(clip("a.mp4", form)).at(10);
  std::vector<NalKind> kinds = kindsOf(MediaCodec::H264, key.bytes);
  std::erase(kinds, NalKind::Other);
  EXPECT_THAT(kinds, ElementsAre(NalKind::Delimiter, NalKind::Sps, NalKind::Pps, NalKind::Picture));
}

TEST_F(MediaInputTest, JpegPicturesAreWhole) {
  const std::vector<StoredUnit> units = unitsOf(clip("a.mkv", MJPEG));
  EXPECT_EQ(units.size(), 50U);
  for (const StoredUnit& unit : units) {
    ASSERT_TRUE(unit.key);
    ASSERT_EQ(unit.bytes[0] << 8 | unit.bytes[1], 0xFFD8);
    ASSERT_EQ(unit.bytes[unit.bytes.size() - 2] << 8 | unit.bytes.back(), 0xFFD9);
  }
}

TEST_F(MediaInputTest, PresentationTimesAreExactToTheMillisecond) {
  Form form = H264_B;
  form.frameRate = 30;
  for (const char* name : {"a.mp4", "a.mkv", "a.ts"}) expectShownAsIn(clip(name, form));
  expectShownAsIn(clip("b.mp4", HEVC_B));
}

TEST_F(MediaInputTest, RawFilesWithBFramesGetTheTimesOfTheirOrder) {
  const auto timesOf = [](const std::string& url) {
    std::vector<std::int64_t> times;
    for (const StoredUnit& unit : unitsOf(url)) times.push_back(unit.ptsMs);
    const std::int64_t first = times.front();
    for (std::int64_t& time : times) time -= first;
    return times;
  };
  EXPECT_EQ(timesOf(clip("a.h264", H264_B)), timesOf(clip("a.mp4", H264_B)));
  EXPECT_EQ(timesOf(clip("b.hevc", HEVC_B)), timesOf(clip("b.mp4", HEVC_B)));
}

TEST_F(MediaInputTest, DecodingTimesRiseAndNeverPassPresentation) {
  for (const char* name : {"a.mp4", "a.mkv", "a.ts", "a.h264"}) {
    const std::vector<StoredUnit> units = unitsOf(clip(name, H264_B));
    ASSERT_EQ(units.size(), 50U) << name;
    for (size_t i = 0; i < units.size(); ++i) {
      EXPECT_LE(units[i].dtsMs, units[i].ptsMs) << name;
      if (i == 0) continue;
      EXPECT_LT(units[i - 1].dtsMs, units[i].dtsMs) << name;
    }
  }
}

TEST_F(MediaInputTest, ChangedParameterSetsInTheStreamAreKept) {
  for (const auto& [extension, codec] :
       {std::pair(".h264", MediaCodec::H264), std::pair(".hevc", MediaCodec::Hevc)}) {
    Form form = codec == MediaCodec::Hevc ? HEVC : H264;
    const std::string small = clip(std::string("small") + extension, form);
    form.size = "320x240";
    const std::string large = clip(std::string("large") + extension, form);
    const std::string both = dir_.path() + "/both" + extension;
    ASSERT_EQ(system(("cat " + small + " " + large + " > " + both).c_str()), 0);
    std::vector<StoredUnit> expected = unitsOf(small);
    const std::vector<StoredUnit> second = unitsOf(large);
    expected.insert(expected.end(), second.begin(), second.end());
    const std::vector<StoredUnit> units = unitsOf(both);
    ASSERT_EQ(units.size(), expected.size());
    for (size_t i = 0; i < units.size(); ++i)
      EXPECT_EQ(nalUnitsOf(units[i].bytes), nalUnitsOf(expected[i].bytes)) << i;
  }
}

TEST_F(MediaInputTest, ClockThatBeginsAgainIsSaid) {
  const std::string once = clip("a.ts", H264);
  const std::string twice = dir_.path() + "/b.ts";
  ASSERT_EQ(system(("cat " + once + " " + once + " > " + twice).c_str()), 0);
  const std::vector<StoredUnit> units = unitsOf(twice);
  EXPECT_EQ(units.size(), 100U);
  EXPECT_EQ(std::count_if(units.begin(), units.end(), [](auto& unit) { return unit.jumped; }), 1);
  EXPECT_TRUE(std::is_sorted(units.begin(), units.end(),
                             [](auto& a, auto& b) { return a.dtsMs < b.dtsMs; }));
}

TEST_F(MediaInputTest, FilesArePacedInRealTime) {
  const std::string url = clip("a.mp4", H264);
  ManualClock clock;
  MediaInput input(url);
  for (AccessUnit unit; input.read(unit);) {
    EXPECT_EQ(clock.elapsed().count(), unit.dtsUs);
  }
  EXPECT_EQ(clock.elapsed(), std::chrono::milliseconds(1960));
}

TEST_F(MediaInputTest, UnpacedFilesDoNotSleep) {
  const std::string url = clip("a.mp4", H264);
  const ManualClock clock;
  EXPECT_EQ(unitsOf(url).size(), 50U);
  EXPECT_TRUE(clock.sleeps().empty());
}

TEST_F(MediaInputTest, StopEndsReading) {
  const std::string url = clip("a.mp4", H264);
  const ManualClock clock;
  MediaInput input(url);
  AccessUnit unit;
  ASSERT_TRUE(input.read(unit));
  input.stop();
  EXPECT_TRUE(input.stopped());
  EXPECT_FALSE(input.read(unit));
}

TEST_F(MediaInputTest, SharedStopFlagEndsReading) {
  std::atomic<bool> stop{false};
  MediaInput input(clip("a.mp4", H264), {.realtime = false, .stop = &stop});
  AccessUnit unit;
  ASSERT_TRUE(input.read(unit));
  stop = true;
  EXPECT_TRUE(input.stopped());
  EXPECT_FALSE(input.read(unit));
}

TEST_F(MediaInputTest, EndOfTheFileEndsReadingForGood) {
  MediaInput input(clip("a.mp4", H264), {.realtime = false});
  AccessUnit unit;
  while (input.read(unit)) {
  }
  EXPECT_FALSE(input.read(unit));
  EXPECT_FALSE(input.stopped());
}

TEST_F(MediaInputTest, CutOffFileGivesWhatThereIs) {
  const std::string whole = clip("a.ts", H264);
  const std::string cut = dir_.path() + "/b.ts";
  ASSERT_EQ(system(("head -c $(($(stat -c %s " + whole + ") / 2)) " + whole + " > " + cut).c_str()),
            0);
  const size_t units = unitsOf(cut).size();
  EXPECT_GT(units, 5U);
  EXPECT_LT(units, 50U);
}

TEST_F(MediaInputTest, SoundComesPacketForPacketWithItsTimes) {
  struct Case {
    const char* name;
    const char* encoder;
    AudioCodec codec;
  };
  for (const Case& each :
       {Case{"a.mp4", "aac", AudioCodec::Aac}, Case{"b.mkv", "libopus", AudioCodec::Opus},
        Case{"c.mkv", "pcm_alaw -ar 8000", AudioCodec::PcmAlaw},
        Case{"d.mkv", "pcm_mulaw -ar 8000", AudioCodec::PcmMulaw},
        Case{"e.mkv", "libmp3lame", AudioCodec::Mp3}}) {
    SCOPED_TRACE(each.name);
    const std::string url = TestClip::makeBeeps(path(each.name), each.encoder, H264);
    const StoredSound sound = soundOf(url);
    ASSERT_TRUE(sound.header.has_value());
    EXPECT_EQ(sound.header->codec, each.codec);
    EXPECT_EQ(std::to_string(sound.header->sampleRate), TestClip::audioStream(url, "sample_rate"));
    EXPECT_EQ(sound.header->channels, 1U);
    const std::vector<std::string> times = TestClip::audioPackets(url, "pts_time");
    const std::vector<std::string> sizes = TestClip::audioPackets(url, "size");
    ASSERT_EQ(sound.packets.size(), times.size());
    for (size_t i = 0; i < times.size(); ++i) {
      EXPECT_EQ(std::to_string(sound.packets[i].bytes.size), sizes[i]);
      EXPECT_NEAR(static_cast<double>(sound.packets[i].timeUs), std::stod(times[i]) * 1e6, 2000);
    }
  }
}

TEST_F(MediaInputTest, AacLosesItsAdtsHeads) {
  const std::string url = TestClip::makeBeeps(path("a.ts"), "aac", H264);
  const StoredSound sound = soundOf(url);
  ASSERT_TRUE(sound.header.has_value());
  EXPECT_FALSE(sound.header->extraData.empty());
  const std::vector<std::string> sizes = TestClip::audioPackets(url, "size");
  ASSERT_EQ(sound.packets.size(), sizes.size());
  for (size_t i = 0; i < sizes.size(); ++i) {
    EXPECT_EQ(sound.packets[i].bytes.size + 7, std::stoul(sizes[i]));
  }
}

TEST_F(MediaInputTest, SoundIsDeliveredOnlyWhenItIsWanted) {
  MediaInput input(TestClip::makeBeeps(path("a.mp4"), "aac", H264), {.realtime = false});
  for (AccessUnit unit; input.read(unit);) EXPECT_TRUE(input.takeAudio().empty());
  EXPECT_EQ(input.audioHeader(), nullptr);
}

TEST_F(MediaInputTest, SourceWithoutSoundHasNone) {
  EXPECT_FALSE(soundOf(clip("a.mp4", H264)).header.has_value());
}

TEST_F(MediaInputTest, SoundOfAnotherKindIsLeftOutWithOneWarning) {
  const LogCapture log;
  const std::string url =
      TestClip::makeBeeps(path("a.mkv"), "vorbis -strict experimental -ac 2", H264);
  EXPECT_FALSE(soundOf(url).header.has_value());
  EXPECT_TRUE(log.has(KTLogger::Warning,
                      "[ MediaSource ] " + url +
                          ": the sound (vorbis) is left out, only AAC, Opus, G.711 and MP3 are " +
                          "stored: set the camera to one of them or convert the file"));
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(MediaInputTest, SoundGoesOnBesideThePicturesWhenTheClockBeginsAgain) {
  const std::string once = TestClip::makeBeeps(path("a.ts"), "aac", H264);
  const std::string twice = path("b.ts");
  ASSERT_EQ(system(("cat " + once + " " + once + " > " + twice).c_str()), 0);
  const std::vector<AudioPacket> first = soundOf(once).packets;
  const std::vector<AudioPacket> both = soundOf(twice).packets;
  const std::vector<StoredUnit> pictures = unitsOf(twice);
  ASSERT_GE(both.size(), 2 * first.size() - 1);
  const std::int64_t shiftUs = (pictures[50].ptsMs - pictures[0].ptsMs) * 1000;
  EXPECT_NEAR(static_cast<double>(both.back().timeUs),
              static_cast<double>(first.back().timeUs + shiftUs), 2000);
}

}  // namespace
