// Result sets: how KTR_MYSQL_api stores, fetches and lists them.
#include <gmock/gmock.h>

#include "db/KTROwnedResult.h"
#include "tests/db/DatabaseTest.h"

using testing::ElementsAre;

class KTR_MYSQL_apiResultTest : public DatabaseTest {
 protected:
  static constexpr const char* TWO_ROWS = "SELECT 1, 'one' UNION SELECT 2, 'two'";
  static constexpr const char* NO_ROWS = "SELECT 1 FROM DUAL WHERE 0";

  KTROwnedResult r;
  char** row = nullptr;
};

TEST_F(KTR_MYSQL_apiResultTest, AStoredResultHasItsCounts) {
  EXPECT_TRUE(api.store_result(api.db_do_query(TWO_ROWS), r));
  EXPECT_EQ(r.numFields, 2U);
  EXPECT_EQ(r.numRows, 2U);
  EXPECT_EQ(api.num_fields(r), 2U);
  EXPECT_EQ(api.num_rows(r), 2U);
}

TEST_F(KTR_MYSQL_apiResultTest, RowsAreFetchedInOrder) {
  ASSERT_TRUE(api.store_result(api.db_do_query(TWO_ROWS), r));
  EXPECT_STREQ(api.fetch_row(r)[1], "one");
  EXPECT_EQ(api.fetch_lengths(r)[1], 3U);
  EXPECT_STREQ(api.fetch_row(r)[0], "2");
  EXPECT_EQ(api.fetch_row(r), nullptr);
}

TEST_F(KTR_MYSQL_apiResultTest, AnEmptyResultIsNotKept) {
  EXPECT_FALSE(api.store_result(api.db_do_query(NO_ROWS), r));
  EXPECT_EQ(r.res, nullptr);
  EXPECT_EQ(r.numRows, 0U);
  EXPECT_EQ(r.numFields, 1U);
}

TEST_F(KTR_MYSQL_apiResultTest, AFailedQueryLeavesTheHolder) {
  ASSERT_EQ(api.get_query_result(TWO_ROWS, r), 2);
  const MYSQL_RES* const former = r.res;
  EXPECT_FALSE(api.store_result(1, r));
  EXPECT_EQ(r.res, former);
  EXPECT_EQ(r.numFields, 2U);
  EXPECT_EQ(r.numRows, 2U);
}

TEST_F(KTR_MYSQL_apiResultTest, AStatementWithoutAResultStoresNone) {
  EXPECT_FALSE(api.store_result(api.db_do_query("SET @a = 1"), r));
  EXPECT_EQ(r.res, nullptr);
}

TEST_F(KTR_MYSQL_apiResultTest, AnEmptyHolderAnswersNothing) {
  EXPECT_EQ(api.fetch_row(r), nullptr);
  EXPECT_EQ(api.fetch_lengths(r), nullptr);
  EXPECT_EQ(api.num_fields(r), 0U);
  EXPECT_EQ(api.num_rows(r), 0U);
}

TEST_F(KTR_MYSQL_apiResultTest, AQueryResultTellsItsColumns) {
  EXPECT_EQ(api.get_query_result(TWO_ROWS, r), 2);
  EXPECT_EQ(r.numRows, 2U);
}

TEST_F(KTR_MYSQL_apiResultTest, AQueryWithoutRowsOrSuccessTellsNoColumns) {
  EXPECT_EQ(api.get_query_result(NO_ROWS, r), 0);
  EXPECT_EQ(api.get_query_result("NOT SQL", r), 0);
}

TEST_F(KTR_MYSQL_apiResultTest, GetsTheFirstRow) {
  ASSERT_TRUE(api.get_row(TWO_ROWS, row, r, 0));
  EXPECT_STREQ(row[0], "1");
  EXPECT_STREQ(row[1], "one");
  EXPECT_EQ(r.numRows, 2U);
}

TEST_F(KTR_MYSQL_apiResultTest, WithoutARowTheFormerOneStays) {
  char* former[] = {nullptr};
  row = former;
  EXPECT_FALSE(api.get_row(NO_ROWS, row, r, 0));
  EXPECT_EQ(row, former);
  EXPECT_EQ(r.res, nullptr);
  EXPECT_FALSE(api.get_row("NOT SQL", row, r, 0));
  EXPECT_EQ(row, former);
}

TEST_F(KTR_MYSQL_apiResultTest, ListsRowsWithCommasBetweenColumns) {
  EXPECT_THAT(list(TWO_ROWS), ElementsAre("1,one", "2,two"));
}

TEST_F(KTR_MYSQL_apiResultTest, LeadingEmptyColumnsLeaveNoComma) {
  EXPECT_THAT(list("SELECT '', '', 'a', '', 'b'"), ElementsAre("a,,b"));
}

TEST_F(KTR_MYSQL_apiResultTest, ANullColumnIsListedAsAnEmptyOne) {
  EXPECT_THAT(list("SELECT NULL, 'a', NULL"), ElementsAre("a,"));
}

TEST_F(KTR_MYSQL_apiResultTest, AListGrowsByTheRowsFound) {
  KTDLList<KTString> found;
  found.append("former");
  EXPECT_EQ(api.getQueryResultList(found, TWO_ROWS), 3U);
  EXPECT_EQ(api.getQueryResultList(found, NO_ROWS), 3U);
  EXPECT_EQ(api.getQueryResultList(found, "NOT SQL"), 3U);
  EXPECT_THAT(texts(found), ElementsAre("former", "1,one", "2,two"));
}
