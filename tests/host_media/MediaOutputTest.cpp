#include "host/media/MediaOutput.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "host/media/MediaError.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

using testing::HasSubstr;

class MediaOutputTest : public testing::Test {
 protected:
  std::string clip(const std::string& name, const TestClip::Form& form = {}) {
    return TestClip::make(path(name), form);
  }
  [[nodiscard]] std::string path(const std::string& name) const { return dir_.path() + "/" + name; }

  // Records source as frames, writes them to result, and compares every decoded picture.
  void expectSamePictures(const std::string& source, const std::string& result, MediaCodec codec) {
    writeFrames(framesOf(source), result, codec);
    const std::vector<std::string> pictures = TestClip::pictures(source);
    EXPECT_EQ(pictures.size(), 50U);
    EXPECT_EQ(TestClip::pictures(result), pictures) << result;
  }

  // The error of looking at an output's name; empty when there is none.
  static std::string checkErrorOf(const std::string& path) {
    try {
      MediaOutput::checkName(path);
    } catch (const MediaError& error) {
      return error.what();
    }
    return "";
  }

  // The error of writing frames to an output; empty when there is none.
  static std::string errorOf(const std::string& path, const std::vector<KTDataBlock>& frames = {},
                             MediaCodec codec = MediaCodec::H264) {
    try {
      writeFrames(frames, path, codec);
    } catch (const MediaError& error) {
      return error.what();
    }
    return "";
  }

  // Writes the pictures of a source and then its sound, on one clock.
  static void writeWithSound(const std::string& source, const StoredSound& sound,
                             const std::string& path) {
    MediaOutput output(path, MediaCodec::H264, &*sound.header);
    KTRVideoFrame parser;
    const std::vector<KTDataBlock> frames = framesOf(source);
    std::int64_t startMs = 0;
    for (const KTDataBlock& frame : frames) {
      ASSERT_TRUE(parser.parse(frame));
      if (output.frames() == 0) startMs = parser.timeStamp();
      output.write(parser.timeStamp(), parser);
    }
    const std::int64_t firstUs = unitsOf(source).front().dtsMs * 1000;
    for (AudioPacket packet : sound.packets) {
      packet.timeUs += startMs * 1000 - firstUs;
      output.writeAudio(packet);
    }
    output.finish();
  }

  TempDir dir_;
};

TEST_F(MediaOutputTest, H264ComesBackPictureForPicture) {
  const std::string source = clip("a.mkv", {.bFrames = 2});
  for (const char* name : {"b.mp4", "b.mkv", "b.h264"}) {
    expectSamePictures(source, path(name), MediaCodec::H264);
  }
}

TEST_F(MediaOutputTest, H264WithoutBFramesComesBackPictureForPicture) {
  expectSamePictures(clip("a.ts"), path("b.mp4"), MediaCodec::H264);
}

TEST_F(MediaOutputTest, H265ComesBackPictureForPicture) {
  const std::string source = clip("a.mp4", {.codec = "hevc", .bFrames = 2});
  for (const char* name : {"b.mp4", "b.mkv", "b.hevc"}) {
    expectSamePictures(source, path(name), MediaCodec::Hevc);
  }
}

TEST_F(MediaOutputTest, MjpegComesBackPictureForPicture) {
  const std::string source = clip("a.mjpeg", {.codec = "mjpeg"});
  for (const char* name : {"b.mp4", "b.mkv", "b.mjpg"}) {
    expectSamePictures(source, path(name), MediaCodec::Mjpeg);
  }
}

TEST_F(MediaOutputTest, RawOutputIsTheStoredBytes) {
  const std::string source = clip("a.h264");
  writeFrames(framesOf(source), path("b.h264"), MediaCodec::H264);
  EXPECT_EQ(system(("cmp " + source + " " + path("b.h264")).c_str()), 0);
}

TEST_F(MediaOutputTest, NamesDecideWhatIsWritten) {
  for (const char* name : {"a.mp4", "a.mkv", "a.h264", "a.264", "-"}) {
    EXPECT_NO_THROW(MediaOutput::checkName(name, MediaCodec::H264)) << name;
  }
  for (const char* name : {"a.h265", "a.265", "a.hevc"}) {
    EXPECT_NO_THROW(MediaOutput::checkName(name, MediaCodec::Hevc)) << name;
  }
  EXPECT_NO_THROW(MediaOutput::checkName("a.mjpeg", MediaCodec::Mjpeg));
}

TEST_F(MediaOutputTest, UnknownExtensionIsAnErrorThatNamesTheChoices) {
  for (const char* name : {"clip.avi", "clip", ".mp4"}) {
    EXPECT_EQ(errorOf(name), std::string("the name ") + name +
                                 " does not say what to write: let it end in .mp4, .mkv, .h264, "
                                 ".h265 or .mjpeg, or give - for a pipe");
  }
}

TEST_F(MediaOutputTest, RawNameOfAnotherCodecIsAnError) {
  EXPECT_EQ(errorOf(path("a.h264"), {}, MediaCodec::Hevc),
            path("a.h264") + " cannot hold hevc video: let the name end in .mp4 or .mkv, or in " +
                "the codec's own name");
}

TEST_F(MediaOutputTest, OutputThatCannotBeMadeIsAnError) {
  for (const char* name : {"no/a.mp4", "no/a.h264"}) {
    EXPECT_EQ(errorOf(path(name)), "cannot write " + path(name) +
                                       ": No such file or directory: choose another place for "
                                       "the output");
  }
}

TEST_F(MediaOutputTest, FullDiskIsAnError) {
  const std::vector<KTDataBlock> frames = framesOf(clip("a.mp4"));
  for (const char* name : {"full.mp4", "full.mkv", "full.h264"}) {
    std::filesystem::create_symlink("/dev/full", path(name));
    EXPECT_EQ(errorOf(path(name), frames), "cannot write " + path(name) +
                                               ": No space left on device: make room there or "
                                               "choose another place");
  }
}

TEST_F(MediaOutputTest, PipeWithoutReaderIsAnError) {
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  const int output = dup(STDOUT_FILENO);
  ASSERT_EQ(dup2(ends[1], STDOUT_FILENO), STDOUT_FILENO);
  const std::string error = errorOf("-", framesOf(clip("a.mp4")));
  dup2(output, STDOUT_FILENO);
  close(output);
  close(ends[1]);
  std::signal(SIGPIPE, before);
  EXPECT_EQ(error, "cannot write the standard output: Broken pipe: the program that reads it has " +
                       std::string("ended"));
}

TEST_F(MediaOutputTest, OutputWithoutAFrameLeavesNoFile) {
  for (const char* name : {"a.mp4", "a.h264"}) {
    EXPECT_EQ(errorOf(path(name)), "");
    EXPECT_FALSE(std::filesystem::exists(path(name)));
  }
}

TEST_F(MediaOutputTest, BeginsAtAKeyFrame) {
  std::vector<KTDataBlock> frames = framesOf(clip("a.mp4", {.keyInterval = 10}));
  frames.erase(frames.begin());
  writeFrames(frames, path("b.mp4"), MediaCodec::H264);
  EXPECT_EQ(TestClip::packets(path("b.mp4"), "pts_time").size(), 40U);
}

TEST_F(MediaOutputTest, FramesThatAreNoVideoAreNotWritten) {
  static const unsigned char byte = 1;
  MediaOutput output(path("a.h264"), MediaCodec::H264);
  KTRVideoFrame frame;
  for (const auto kind : {KTRFrameFormat::Audio, KTRFrameFormat::Jpeg}) {
    ASSERT_TRUE(frame.parse(KTRFrameWriter::build(kind, 0, {{&byte, 1}})));
    output.write(0, frame);
  }
  EXPECT_EQ(output.frames(), 0U);
}

TEST_F(MediaOutputTest, ChecksNameAndPlaceWithoutMakingAnything) {
  for (const char* name : {"a.mp4", "a.mkv", "a.h264", "a.hevc", "a.mjpg"}) {
    EXPECT_EQ(checkErrorOf(path(name)), "");
    EXPECT_FALSE(std::filesystem::exists(path(name)));
  }
  EXPECT_EQ(checkErrorOf("-"), "");
  EXPECT_EQ(checkErrorOf("relative.mp4"), "");
  EXPECT_THAT(checkErrorOf(path("a.avi")), HasSubstr("does not say what to write"));
  EXPECT_EQ(checkErrorOf(path("no/a.mp4")),
            "cannot write " + path("no/a.mp4") +
                ": No such file or directory: choose another place for the output");
  std::filesystem::create_directory(path("folder.mp4"));
  EXPECT_THAT(checkErrorOf(path("folder.mp4")), HasSubstr("folder.mp4: Is a directory"));
}

TEST_F(MediaOutputTest, SoundComesBackPacketForPacket) {
  for (const char* encoder : {"aac", "libopus", "libmp3lame", "pcm_alaw -ar 8000"}) {
    const std::string source = TestClip::makeBeeps(path("a.mkv"), encoder, {});
    const StoredSound sound = soundOf(source);
    for (const char* name : {"b.mp4", "b.mkv"}) {
      if (!MediaOutput::holdsAudio(name, sound.header->codec)) continue;
      SCOPED_TRACE(std::string(encoder) + " " + name);
      writeWithSound(source, sound, path(name));
      EXPECT_EQ(TestClip::audioStream(path(name), "codec_name"),
                TestClip::audioStream(source, "codec_name"));
      std::vector<std::string> sizes = TestClip::audioPackets(source, "size");
      const std::int64_t startUs = unitsOf(source).front().dtsMs * 1000;
      const auto before = std::count_if(sound.packets.begin(), sound.packets.end(),
                                        [&](auto& packet) { return packet.timeUs < startUs; });
      sizes.erase(sizes.begin(), sizes.begin() + before);
      EXPECT_EQ(TestClip::audioPackets(path(name), "size"), sizes);
      EXPECT_EQ(TestClip::pictures(path(name)), TestClip::pictures(source));
    }
  }
}

TEST_F(MediaOutputTest, TellsWhichSoundAFileHolds) {
  EXPECT_TRUE(MediaOutput::holdsAudio("a.mp4", AudioCodec::Aac));
  EXPECT_TRUE(MediaOutput::holdsAudio("a.mkv", AudioCodec::PcmAlaw));
  EXPECT_FALSE(MediaOutput::holdsAudio("a.mp4", AudioCodec::PcmAlaw));
  EXPECT_FALSE(MediaOutput::holdsAudio("a.mp4", AudioCodec::PcmMulaw));
  for (const char* name : {"a.h264", "-"}) {
    EXPECT_FALSE(MediaOutput::holdsAudio(name));
    EXPECT_FALSE(MediaOutput::holdsAudio(name, AudioCodec::Aac));
  }
}

TEST_F(MediaOutputTest, RawOutputPassesOverSound) {
  const std::string source = TestClip::makeBeeps(path("a.mkv"), "aac", {});
  writeWithSound(source, soundOf(source), path("b.h264"));
  writeFrames(framesOf(source), path("c.h264"), MediaCodec::H264);
  EXPECT_EQ(system(("cmp " + path("b.h264") + " " + path("c.h264")).c_str()), 0);
}

}  // namespace
