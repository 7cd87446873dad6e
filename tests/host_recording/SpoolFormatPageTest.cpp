#include <gtest/gtest.h>

#include <fstream>

#include "host/record/SpoolSegment.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/support/FileText.h"
#include "tests/support/FormatPage.h"
#include "tests/support/TempDir.h"

namespace {

constexpr std::int64_t TIME_MS = 1700000000123;
constexpr unsigned char PICTURE[] = {0x65, 0x88};
constexpr unsigned char CHANGE[] = {0x41};

class SpoolFormatPageTest : public testing::Test {
 protected:
  template <size_t N>
  [[nodiscard]] StreamFrame frame(KTRFrameFormat::Kind kind, std::int64_t timeMs,
                                  const unsigned char (&media)[N]) const {
    StreamFrame made;
    made.bytes =
        KTRFrameWriter::build(kind, static_cast<std::uint32_t>(timeMs % 86'400'000), {{media, N}});
    made.timeMs = timeMs;
    made.startsPlayback = made.beginsSession = kind == KTRFrameFormat::Key;
    made.settings = settings_;
    return made;
  }
  /** The example, or the first bytes of it, as a file. */
  void putExample(size_t size = std::string::npos) const {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << example_.substr(0, size);
  }

  TempDir dir_;
  const std::string path_ = dir_.path() + "/1.spool";
  const KTDataBlock bytes_ = workedExample("spool.md");
  const std::string example_{reinterpret_cast<const char*>(bytes_.data), bytes_.size};
  const std::shared_ptr<const StreamSettings> settings_ = std::make_shared<const StreamSettings>(
      KTRVideoSettingsRow("n", 25, 0, "h264", "640x360", ""));
  const StreamFrame key_ = frame(KTRFrameFormat::Key, TIME_MS, PICTURE);
  const StreamFrame delta_ = frame(KTRFrameFormat::Delta, TIME_MS + 40, CHANGE);
};

}  // namespace

TEST_F(SpoolFormatPageTest, TheExampleIsWhatIsWritten) {
  const auto file = SpoolSegment::create(path_, settings_);
  ASSERT_NE(nullptr, file);
  ASSERT_TRUE(file->append(key_, SpoolSegment::Context));
  ASSERT_TRUE(file->append(delta_, SpoolSegment::Record));
  EXPECT_EQ(120U, example_.size());
  EXPECT_EQ(example_, contents(path_));
}

TEST_F(SpoolFormatPageTest, TheExampleIsWhatIsRead) {
  putExample();
  const auto file = SpoolSegment::open(path_);
  ASSERT_NE(nullptr, file);
  EXPECT_TRUE(*settings_ == *file->settings());
  StreamFrame frame;
  SpoolSegment::Use use = SpoolSegment::Record;
  EXPECT_EQ(59U, file->readOffset());
  ASSERT_TRUE(file->read(frame, use));
  EXPECT_TRUE(key_.bytes == frame.bytes && frame.startsPlayback && frame.beginsSession);
  EXPECT_EQ(TIME_MS, frame.timeMs);
  EXPECT_EQ(SpoolSegment::Context, use);
  EXPECT_EQ(90U, file->readOffset());
  ASSERT_TRUE(file->read(frame, use));
  EXPECT_TRUE(delta_.bytes == frame.bytes && !frame.startsPlayback && !frame.beginsSession);
  EXPECT_EQ(SpoolSegment::Record, use);
  EXPECT_FALSE(file->read(frame, use));
}

TEST_F(SpoolFormatPageTest, NothingOfATornRecordIsHandedOut) {
  for (size_t cut = 90; cut < example_.size(); ++cut) {
    putExample(cut);
    const auto file = SpoolSegment::open(path_);
    ASSERT_NE(nullptr, file) << cut;
    EXPECT_EQ(1U, file->unread()) << cut;
  }
}

TEST_F(SpoolFormatPageTest, AFileThatEndsInItsHeaderIsNone) {
  for (size_t cut = 0; cut < 59; ++cut) {
    putExample(cut);
    EXPECT_EQ(nullptr, SpoolSegment::open(path_)) << cut;
  }
}
