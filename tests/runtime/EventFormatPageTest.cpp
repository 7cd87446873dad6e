#include <gtest/gtest.h>

#include "runtime/KTREventFormat.h"
#include "runtime/KTREventFrame.h"
#include "runtime/KTREventWriter.h"
#include "tests/support/FormatPage.h"
#include "tests/support/LogCapture.h"

namespace {

class EventFormatPageTest : public testing::Test {
 protected:
  EventFormatPageTest() {
    door_.sensorID = 12;
    door_.timeStamp = 1700000000;
    door_.eventID = 3;
    door_.eventType = 1;
    door_.data = KTString("open").dataBlock();
    motion_.sensorID = 13;
    motion_.timeStamp = 1700000001;
    motion_.eventID = 4;
    motion_.eventType = 4294967295U;
  }

  static void expectEqual(const KTREventRow& row, const KTREventRow& expected) {
    EXPECT_EQ(row.sensorID, expected.sensorID);
    EXPECT_EQ(row.timeStamp, expected.timeStamp);
    EXPECT_EQ(row.eventID, expected.eventID);
    EXPECT_EQ(row.eventType, expected.eventType);
    EXPECT_TRUE(row.data == expected.data);
  }

  const KTDataBlock example_ = workedExample("event.md");
  KTREventRow door_;
  KTREventRow motion_;
};

TEST_F(EventFormatPageTest, TheExampleIsWhatTheWriterWrites) {
  EXPECT_EQ(example_.size, 44U);
  EXPECT_TRUE(example_ == KTREventWriter::build(door_) + KTREventWriter::build(motion_));
}

TEST_F(EventFormatPageTest, TheExampleIsWhatTheParserReads) {
  const LogCapture log;
  KTREventFrame parser;
  ASSERT_TRUE(parser.parse(example_));
  expectEqual(parser.getRow(), door_);
  ASSERT_TRUE(parser.next());
  expectEqual(parser.getRow(), motion_);
  EXPECT_FALSE(parser.next());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(EventFormatPageTest, TheLimitsAreThoseOfThePage) {
  static_assert(KTREventFormat::MAX_DATA_SIZE == 1048576 && KTREventFormat::HEAD_SIZE == 20);
}

}  // namespace
