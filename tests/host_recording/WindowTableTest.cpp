#include "host/byevents/WindowTable.h"

#include <gmock/gmock.h>

#include "tests/support/RecorderFixture.h"

using testing::ElementsAre;

namespace {

class WindowTableTest : public RecorderFixture {
 protected:
  WindowTableTest() : table_(*db()) {}
  [[nodiscard]] std::vector<std::string> listed() {
    return rows("SELECT id FROM eventWindows ORDER BY id");
  }

  WindowTable table_;
};

}  // namespace

TEST_F(WindowTableTest, HoldsASessionOnce) {
  EXPECT_TRUE(table_.add(7));
  EXPECT_TRUE(table_.add(4'000'000'000));
  EXPECT_TRUE(table_.add(7));
  EXPECT_THAT(listed(), ElementsAre("7", "4000000000"));
}

TEST_F(WindowTableTest, LosesNoOtherSession) {
  EXPECT_TRUE(table_.add(7));
  EXPECT_TRUE(table_.add(77));
  table_.unlist(7);
  table_.unlist(8);
  EXPECT_THAT(listed(), ElementsAre("77"));
}

TEST_F(WindowTableTest, SaysWhenASessionCouldNotBeEntered) {
  exec("CREATE TABLE eventWindows (name INT, day DATE)");
  EXPECT_FALSE(table_.add(7));
}

TEST_F(WindowTableTest, NothingIsListedWithoutATable) {
  table_.unlist(7);
  EXPECT_EQ(0U, log_.countContaining("[ DO QUERY ]"));
}
