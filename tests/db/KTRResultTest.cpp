#include "db/KTRResult.h"

#include "tests/db/DatabaseTest.h"

class KTRResultTest : public DatabaseTest {
 protected:
  MYSQL_RES* raw(const char* sql) {
    exec(sql);
    return mysql_store_result(connection);
  }

  KTRResult r;
};

TEST_F(KTRResultTest, IsEmptyAtFirst) {
  EXPECT_EQ(r.numFields, 0U);
  EXPECT_EQ(r.numRows, 0U);
  EXPECT_EQ(r.res, nullptr);
}

TEST_F(KTRResultTest, TakesASetWithItsCounts) {
  MYSQL_RES* const set = raw("SELECT 1, 2 UNION SELECT 3, 4 UNION SELECT 5, 6");
  EXPECT_EQ(&(r = set), &r);
  EXPECT_EQ(r.res, set);
  EXPECT_EQ(r.numFields, 2U);
  EXPECT_EQ(r.numRows, 3U);
  mysql_free_result(r.res);
}

TEST_F(KTRResultTest, DropsASetWithoutRows) {
  r = raw("SELECT 1, 2 FROM DUAL WHERE 0");
  EXPECT_EQ(r.res, nullptr);
  EXPECT_EQ(r.numFields, 2U);
  EXPECT_EQ(r.numRows, 0U);
}

TEST_F(KTRResultTest, NullLeavesTheCounts) {
  r = raw("SELECT 1, 2");
  r.free();
  r = nullptr;
  EXPECT_EQ(r.res, nullptr);
  EXPECT_EQ(r.numFields, 2U);
  EXPECT_EQ(r.numRows, 1U);
}

TEST_F(KTRResultTest, IsFreedOnce) {
  r = raw("SELECT 1");
  r.free();
  EXPECT_EQ(r.res, nullptr);
  r.free();
}
