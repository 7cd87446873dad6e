#include "host/bench/BenchRecording.h"

#include <filesystem>

#include "host/play/RecordingReader.h"
#include "tests/host_bench/BenchFixture.h"

class BenchRecordingTest : public BenchFixture {};

TEST_F(BenchRecordingTest, HoldsEveryFrameAtItsTime) {
  BenchRecording recording(place(), "minute", 60);
  recording.record();
  EXPECT_EQ(12 * 3600, recording.start() % 86400);
  RecordingReader reader("minute", BenchRecording::STREAM);
  ASSERT_TRUE(reader.seek(recording.start(), 3600));
  std::uint64_t read = 0;
  for (RecordingReader::Frame frame; reader.next(frame); ++read) {
    ASSERT_EQ(recording.start() * std::int64_t{1000} +
                  static_cast<std::int64_t>(read * BenchClip::FRAME_MS),
              frame.timeMs);
    ASSERT_EQ(read, recording.numberOf(frame.frame.timeStamp()));
  }
  EXPECT_EQ(recording.frames(), read);
}

TEST_F(BenchRecordingTest, NamesItsSlicesAndRecordsOnce) {
  BenchRecording recording(place(), "once", 20);
  recording.record();
  ASSERT_EQ(1U, recording.files().size());
  const auto bytes = std::filesystem::file_size(recording.files().front());
  EXPECT_EQ(bytes, place().clip().bytes(500) + 500 * 8);
  recording.record();
  EXPECT_EQ(1U, recording.files().size());
  EXPECT_EQ(bytes, std::filesystem::file_size(recording.files().front()));
}
