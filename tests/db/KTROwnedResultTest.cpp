#include "db/KTROwnedResult.h"

#include "tests/db/DatabaseTest.h"

class KTROwnedResultTest : public DatabaseTest {};

TEST_F(KTROwnedResultTest, FreesItsSetAtTheEndOfItsScope) {
  for (int i = 0; i < 2; ++i) {
    KTROwnedResult r;
    EXPECT_EQ(api.get_query_result("SELECT 1", r), 1);
    EXPECT_NE(r.res, nullptr);
  }
}

TEST_F(KTROwnedResultTest, MayBeFreedBefore) {
  KTROwnedResult r;
  EXPECT_EQ(api.get_query_result("SELECT 1", r), 1);
  r.free();
  EXPECT_EQ(r.res, nullptr);
}
