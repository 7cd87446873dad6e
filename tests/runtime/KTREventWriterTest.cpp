#include "runtime/KTREventWriter.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class KTREventWriterTest : public testing::Test {
 protected:
  static std::vector<unsigned int> bytes(const KTREventRow& row) {
    const KTDataBlock b = KTREventWriter::build(row);
    return std::vector<unsigned int>(b.data, b.data + b.size);
  }
};

using Bytes = std::vector<unsigned int>;

TEST_F(KTREventWriterTest, WritesFourNumbersTheLengthAndTheData) {
  KTREventRow row;
  row.sensorID = 0x04030201;
  row.timeStamp = 0x0D0C0B0A;
  row.eventID = 7;
  row.eventType = 0xFFFFFFFF;
  row.data = KTString("AB").dataBlock();
  EXPECT_EQ(bytes(row), (Bytes{1, 2,   3,   4,   10,  11, 12, 13, 7, 0,   0,
                               0, 255, 255, 255, 255, 2,  0,  0,  0, 'A', 'B'}));
}

TEST_F(KTREventWriterTest, AnEventWithoutDataIsItsHead) {
  EXPECT_EQ(bytes(KTREventRow()), Bytes(20, 0));
}

TEST_F(KTREventWriterTest, TheEscapedFormIsNotWritten) {
  KTREventRow row;
  row.escapedData = "escaped";
  EXPECT_EQ(bytes(row).size(), 20U);
}

}  // namespace
