// MediaInput with a camera at the other end.
#include <gmock/gmock.h>

#include <algorithm>

#include "host/media/MediaError.h"
#include "host/media/MediaSource.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/host_media/TestRtspServer.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

/** Lets a clock run, faster than time, once a camera has sent all that it sends. */
class PassingTime {
 public:
  PassingTime(const TestRtspServer& camera, ManualClock& clock)
      : thread_([&camera, &clock, this] {
          while (!done_ && !camera.hasSent()) std::this_thread::yield();
          while (!done_) clock.advance(std::chrono::milliseconds(20));
        }) {}
  PassingTime(const PassingTime&) = delete;
  PassingTime& operator=(const PassingTime&) = delete;
  ~PassingTime() {
    done_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> done_{false};
  std::thread thread_;
};

class RtspTest : public testing::Test {
 protected:
  std::string clip(const std::string& name, const TestClip::Form& form = {}) {
    return TestClip::make(dir_.path() + "/" + name, form);
  }

  // Checks that a camera that sends the clip gives the same pictures as the file.
  static void expectAsFile(const std::string& clip) {
    const TestRtspServer camera(clip, TestRtspServer::PlayAndClose);
    const std::vector<StoredUnit> received = unitsOf(camera.url());
    const std::vector<StoredUnit> expected = unitsOf(clip);
    ASSERT_EQ(received.size(), expected.size());
    for (size_t i = 0; i < received.size(); ++i) {
      EXPECT_EQ(nalUnitsOf(received[i].bytes), nalUnitsOf(expected[i].bytes)) << i;
      EXPECT_EQ(received[i].key, expected[i].key) << i;
    }
  }

  void expectGivenUp(TestRtspServer::Behaviour behaviour) {
    const TestRtspServer camera(clip("a.mp4"), behaviour);
    ManualClock clock;
    MediaInput input(camera.url());
    AccessUnit unit;
    ASSERT_TRUE(input.read(unit));
    const PassingTime time(camera, clock);
    EXPECT_EQ(endOf(input), "reading " + camera.url() + " failed: no answer for 10 seconds: " +
                                "check the camera and the network");
  }
  static std::string endOf(MediaInput& input) {
    try {
      for (AccessUnit unit; input.read(unit);) {
      }
    } catch (const MediaError& error) {
      return error.what();
    }
    return "the end of the stream";
  }

  TempDir dir_;
};

TEST_F(RtspTest, H264ArrivesWhole) {
  expectAsFile(clip("a.mp4"));
}

TEST_F(RtspTest, H265ArrivesWhole) {
  expectAsFile(clip("a.mp4", {.codec = "hevc"}));
}

TEST_F(RtspTest, MjpegArrivesAsPictures) {
  const std::string source =
      clip("a.mjpeg",
           {.codec = "mjpeg", .encoderOptions = "-huffman default -force_duplicated_matrix 1"});
  const TestRtspServer camera(source, TestRtspServer::PlayAndClose);
  const std::vector<KTDataBlock> frames = framesOf(camera.url());
  writeFrames(frames, dir_.path() + "/b.mjpeg", MediaCodec::Mjpeg);
  EXPECT_EQ(TestClip::pictures(dir_.path() + "/b.mjpeg"), TestClip::pictures(source));
}

TEST_F(RtspTest, PicturesWithBFramesKeepTheirTimes) {
  const std::string source = clip("a.mp4", {.bFrames = 2});
  const TestRtspServer camera(source, TestRtspServer::PlayAndClose);
  const std::vector<StoredUnit> received = unitsOf(camera.url());
  const std::vector<StoredUnit> expected = unitsOf(source);
  ASSERT_EQ(received.size(), expected.size());
  for (size_t i = 0; i < received.size(); ++i) {
    EXPECT_NEAR(static_cast<double>(received[i].ptsMs - received[0].ptsMs),
                static_cast<double>(expected[i].ptsMs - expected[0].ptsMs), 1);
  }
}

TEST_F(RtspTest, DataComesOverTcp) {
  const TestRtspServer camera(clip("a.mp4"), TestRtspServer::PlayAndClose);
  EXPECT_EQ(unitsOf(camera.url()).size(), 50U);
  camera.awaitSent();
  EXPECT_THAT(camera.transport(), HasSubstr("RTP/AVP/TCP"));
}

TEST_F(RtspTest, CamerasSetThePace) {
  const TestRtspServer camera(clip("a.mp4"), TestRtspServer::PlayAndClose);
  const ManualClock clock;
  MediaInput input(camera.url());
  EXPECT_TRUE(input.info().live);
  for (AccessUnit unit; input.read(unit);) {
  }
  EXPECT_TRUE(clock.sleeps().empty());
}

TEST_F(RtspTest, StopEndsAReadThatWaits) {
  const TestRtspServer camera(clip("a.mp4"), TestRtspServer::PlayAndStay);
  MediaInput input(camera.url());
  AccessUnit unit;
  ASSERT_TRUE(input.read(unit));
  std::thread stopper([&] {
    camera.awaitSent();
    input.stop();
  });
  while (input.read(unit)) {
  }
  stopper.join();
  EXPECT_TRUE(input.stopped());
}

TEST_F(RtspTest, CameraThatFallsSilentIsGivenUp) {
  expectGivenUp(TestRtspServer::PlayAndStay);
}

TEST_F(RtspTest, CameraThatFallsSilentWithinAPacketIsGivenUp) {
  expectGivenUp(TestRtspServer::PlayAndStick);
}

TEST_F(RtspTest, CameraWhosePictureStandsStillIsGivenUpThoughItsSoundGoesOn) {
  const std::string source =
      TestClip::makeBeeps(dir_.path() + "/a.mkv", "pcm_alaw -ar 8000",
                          {.seconds = 20, .encoderOptions = "-vf trim=end=1"});
  const TestRtspServer camera(source, TestRtspServer::PlayAndClose);
  ManualClock clock;
  const MediaStop stop;
  MediaSource opened(camera.url(), stop, true);
  const auto readAll = [&] {
    while (opened.next()) {
      if (opened.isAudio()) clock.advance(std::chrono::seconds(1));
    }
  };
  EXPECT_THAT(readAll, ThrowsMessage<MediaError>(HasSubstr("no answer for 10 seconds")));
}

TEST_F(RtspTest, CameraThatIsSilentFromTheBeginningIsNoCameraWithoutPictures) {
  const std::string source = clip("a.mjpeg", {.codec = "mjpeg"});
  const TestRtspServer camera(source, TestRtspServer::PlayNothing);
  ManualClock clock;
  const PassingTime time(camera, clock);
  EXPECT_THAT([&] { MediaInput(camera.url()); },
              ThrowsMessage<MediaError>("cannot open " + camera.url() +
                                        ": no answer for 10 seconds: check the URL and that the "
                                        "camera is switched on and can be reached"));
}

TEST_F(RtspTest, CameraThatNeverAnswersCanBeStopped) {
  const TestRtspServer camera(clip("a.mp4"), TestRtspServer::NeverAnswer);
  std::atomic<bool> stop{false};
  std::thread stopper([&] {
    camera.awaitClient();
    stop = true;
  });
  EXPECT_THAT([&] { MediaInput(camera.url(), {.stop = &stop}); },
              ThrowsMessage<MediaError>(HasSubstr("was stopped")));
  stopper.join();
}

TEST_F(RtspTest, CameraThatWantsAPasswordIsAnErrorThatSaysSo) {
  const TestRtspServer camera(clip("a.mp4"), TestRtspServer::WantsPassword);
  EXPECT_THAT([&] { MediaInput(camera.url()); },
              ThrowsMessage<MediaError>(HasSubstr("give user and password: USER:PASSWORD@")));
}

TEST_F(RtspTest, PasswordOfTheUrlOpensTheCamera) {
  const TestRtspServer camera(clip("a.mp4"), TestRtspServer::WantsPassword);
  std::string url = camera.url();
  MediaInput input(url.insert(url.find("127"), "admin:secret@"));
  EXPECT_EQ(input.name(), camera.url());
}

TEST_F(RtspTest, SoundArrivesBesideThePictures) {
  for (const char* audio : {"aac", "libopus", "pcm_alaw -ar 8000", "pcm_mulaw -ar 8000"}) {
    SCOPED_TRACE(audio);
    const std::string source =
        TestClip::makeBeeps(dir_.path() + "/a.mkv", audio, {.seconds = 3, .keyInterval = 5});
    const StoredSound expected = soundOf(source);
    const TestRtspServer camera(source, TestRtspServer::PlayAndClose);
    const StoredSound received = soundOf(camera.url());
    ASSERT_TRUE(received.header.has_value());
    EXPECT_EQ(received.header->codec, expected.header->codec);
    EXPECT_EQ(received.header->sampleRate, expected.header->sampleRate);
    std::uint64_t bytes = 0;
    std::uint64_t sent = 0;
    const std::uint64_t lastSize = expected.packets.back().bytes.size;
    for (const AudioPacket& packet : received.packets) bytes += packet.bytes.size;
    for (const AudioPacket& packet : expected.packets) sent += packet.bytes.size;
    EXPECT_LE(bytes, sent);
    EXPECT_LE(sent - bytes, lastSize);  // the sender's RTP muxer keeps its last AAC packet
    for (const AudioPacket& packet : received.packets) EXPECT_GT(packet.durationUs, 0);
  }
}

TEST_F(RtspTest, SoundIsNotAskedForWhenItIsNotWanted) {
  const std::string source = TestClip::makeBeeps(dir_.path() + "/a.mkv", "aac", {});
  const TestRtspServer camera(source, TestRtspServer::PlayAndClose);
  EXPECT_EQ(unitsOf(camera.url()).size(), 50U);
  EXPECT_EQ(camera.tracks().size(), 1U);
}

}  // namespace
