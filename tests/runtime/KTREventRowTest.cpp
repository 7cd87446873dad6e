#include "runtime/KTREventRow.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

class KTREventRowTest : public testing::Test {
 protected:
  KTREventRowTest() {
    row_.sensorID = 1;
    row_.timeStamp = 4294967295U;
    row_.eventID = 3;
    row_.eventType = 4;
    row_.data = KTString("it's").dataBlock();
    row_.escapedData = "it\\'s";
  }

  KTREventRow row_;
};

TEST_F(KTREventRowTest, QueryIsTheTailOfAnInsert) {
  EXPECT_STREQ(
      row_.getQuery().c_str(),
      " ( sensorID,timeStamp,eventID,eventType,data) VALUES ( 1,4294967295,3,4,'it\\'s' ) ");
}

TEST_F(KTREventRowTest, QueryKeepsConversionsAndZeroBytesOfTheData) {
  row_.escapedData = KTString("%s%n\0z", 6);
  const std::string query(row_.getQuery().view());
  EXPECT_NE(query.find(std::string("'%s%n\0z'", 8)), std::string::npos);
}

TEST_F(KTREventRowTest, IsZeroAndEmptyFromTheStart) {
  const KTREventRow row;
  EXPECT_STREQ(row.getQuery().c_str(),
               " ( sensorID,timeStamp,eventID,eventType,data) VALUES ( 0,0,0,0,'' ) ");
  EXPECT_EQ(row.data.size, 0U);
}

TEST_F(KTREventRowTest, TheFourNumbersStandInOrderBehindTheVirtualTable) {
  static_assert(std::is_polymorphic_v<KTREventRow>);
  const unsigned int* numbers = &row_.sensorID;
  EXPECT_EQ(&row_.timeStamp, numbers + 1);
  EXPECT_EQ(&row_.eventID, numbers + 2);
  EXPECT_EQ(&row_.eventType, numbers + 3);
}

TEST_F(KTREventRowTest, AssignmentCopiesEveryField) {
  KTREventRow other;
  other = row_;
  row_.data.writable()[0] = 'X';
  row_.escapedData = "";
  EXPECT_EQ(other.timeStamp, 4294967295U);
  EXPECT_TRUE(other.data == KTString("it's").dataBlock());
  EXPECT_STREQ(other.escapedData.c_str(), "it\\'s");
}

}  // namespace
