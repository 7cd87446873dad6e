#include "runtime/KTREventFrame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "runtime/KTREventFormat.h"
#include "runtime/KTREventWriter.h"
#include "runtime/LittleEndian.h"
#include "tests/support/LogCapture.h"

using Format = KTREventFormat;

namespace {

class KTREventFrameTest : public testing::Test {
 protected:
  static KTDataBlock event(unsigned int sensor, const std::string& data) {
    KTREventRow row;
    row.sensorID = sensor;
    row.timeStamp = 1700000000;
    row.eventID = 3;
    row.eventType = 4;
    row.data = KTString(data).dataBlock();
    return KTREventWriter::build(row);
  }

  static KTDataBlock raw(std::uint32_t length, unsigned int dataSize) {
    KTDataBlock b(Format::HEAD_SIZE + dataSize);
    storeLittleEndian(b.writable() + Format::LENGTH_OFFSET, length);
    return b;
  }

  void expectOnNothing() const {
    const KTREventRow row = parser_.getRow();
    EXPECT_EQ(row.sensorID, 0U);
    EXPECT_EQ(row.timeStamp, 0U);
    EXPECT_EQ(row.data.size, 0U);
  }

  void expectRefused(const KTDataBlock& message, const std::string& reason) {
    log_.clear();
    EXPECT_FALSE(parser_.parse(message)) << reason;
    expectOnNothing();
    EXPECT_TRUE(log_.has(64, "[ KTREventFrame ] " + std::to_string(message.size) +
                                 " bytes dropped at byte 0: " + reason))
        << reason;
    EXPECT_FALSE(parser_.next());
    EXPECT_EQ(log_.lines().size(), 1U);
  }

  LogCapture log_;
  KTREventFrame parser_;
};

TEST_F(KTREventFrameTest, StandsOnNothingFromTheStart) {
  expectOnNothing();
  EXPECT_FALSE(parser_.next());
  EXPECT_FALSE(parser_.parse(KTDataBlock(0)));
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(KTREventFrameTest, ReadsEveryFieldOfAnEvent) {
  ASSERT_TRUE(parser_.parse(event(0xFFFFFFFF, "door")));
  const KTREventRow row = parser_.getRow();
  EXPECT_EQ(row.sensorID, 0xFFFFFFFFU);
  EXPECT_EQ(row.timeStamp, 1700000000U);
  EXPECT_EQ(row.eventID, 3U);
  EXPECT_EQ(row.eventType, 4U);
  EXPECT_TRUE(row.data == KTString("door").dataBlock());
  EXPECT_TRUE(row.escapedData.empty());
}

TEST_F(KTREventFrameTest, WalksEveryEventOfAMessage) {
  ASSERT_TRUE(parser_.parse(event(1, "a") + event(2, "") + event(3, "ccc")));
  EXPECT_EQ(parser_.getRow().sensorID, 1U);
  ASSERT_TRUE(parser_.next());
  EXPECT_EQ(parser_.getRow().sensorID, 2U);
  EXPECT_EQ(parser_.getRow().data.size, 0U);
  ASSERT_TRUE(parser_.next());
  EXPECT_EQ(parser_.getRow().sensorID, 3U);
  EXPECT_FALSE(parser_.next());
  expectOnNothing();
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(KTREventFrameTest, EveryTruncationIsRefused) {
  const KTDataBlock whole = event(1, "data");
  for (unsigned int n = 1; n < whole.size; ++n) {
    expectRefused(whole.copy(0, n), n < Format::HEAD_SIZE ? "the head is cut short"
                                                          : "the length runs past the message");
  }
}

TEST_F(KTREventFrameTest, EveryTruncationOfTheSecondEventKeepsTheFirst) {
  const KTDataBlock second = event(2, "data");
  for (unsigned int n = 1; n < second.size; ++n) {
    ASSERT_TRUE(parser_.parse(event(1, "x") + second.copy(0, n)));
    EXPECT_EQ(parser_.getRow().sensorID, 1U);
    EXPECT_FALSE(parser_.next());
    expectOnNothing();
  }
}

TEST_F(KTREventFrameTest, TheLargestEventIsTakenAndOneByteMoreIsNot) {
  ASSERT_TRUE(parser_.parse(raw(Format::MAX_DATA_SIZE, Format::MAX_DATA_SIZE)));
  EXPECT_EQ(parser_.getRow().data.size, 1048576U);
  expectRefused(raw(Format::MAX_DATA_SIZE + 1, Format::MAX_DATA_SIZE + 1),
                "larger than an event may be");
  expectRefused(raw(0xFFFFFFFF, 8), "larger than an event may be");
}

TEST_F(KTREventFrameTest, ARefusedMessageDoesNotReachTheNextOne) {
  EXPECT_FALSE(parser_.parse(event(1, "data").copy(0, 22)));
  ASSERT_TRUE(parser_.parse(event(2, "data")));
  EXPECT_EQ(parser_.getRow().sensorID, 2U);
}

}  // namespace
