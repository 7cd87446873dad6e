#include "tests/faults/FaultFixture.h"

namespace {

using testing::ElementsAreArray;

/** Each error of the server, for each kind of statement that a recording sends. */
class ServerErrorsTest : public FaultFixture, public testing::WithParamInterface<unsigned int> {
 protected:
  // A deadlock and a killed connection are for the host to try again.
  [[nodiscard]] static bool endsASession() { return GetParam() == 1213 || GetParam() == 1927; }
  [[nodiscard]] static bool isDuplicate() { return GetParam() == 1062; }

  void fail(const std::string& words) { calls_.failNextStatements(words, {GetParam()}); }
};

TEST_P(ServerErrorsTest, AnIndexRowIsStoredOrEndsASessionThatKeepsItsFrames) {
  roll();
  film(10);
  fail("INSERT INTO dataStreams");
  film(6);
  EXPECT_EQ(ended(), endsASession());
  const int filmed = elapsed() + 1;
  EXPECT_EQ(filmed, endsASession() ? 11 : 16);
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, filmed)));
  EXPECT_EQ(index(2).behind, 0U);
  EXPECT_EQ(index(2).found, endsASession() ? 1U : isDuplicate() ? 2U : 3U);
  expectError("addRowRes error !!! fileindex:0 record:2  offset:" +
                  std::to_string(10 * recordSize()) + " !",
              endsASession() ? 1 : 0);
  expectNextSessionWorks();
}

TEST_P(ServerErrorsTest, ASessionIsBornWholeOrNotAtAll) {
  fail("INSERT INTO recordSessions");
  roll();
  film(6);
  const bool born = !endsASession() && !isDuplicate();
  EXPECT_EQ(ended(), !born);
  finish();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), born ? "2" : "1");
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, born ? 6 : 0)));
  expectNextSessionWorks();
}

TEST_P(ServerErrorsTest, SettingsAreStoredOrEndTheSession) {
  fail("INSERT INTO streamSettings");
  KTRStreamRecordParams other = params();
  other.videoSettings = KTRVideoSettingsRow("other", 15, 0, "h265", "320x240", "");
  roll(other);
  film(6);
  const bool stored = !endsASession() && !isDuplicate();
  EXPECT_EQ(ended(), !stored);
  finish();
  EXPECT_EQ(value("SELECT count(*) FROM streamSettings WHERE name='other'"), stored ? "1" : "0");
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), stored ? "2" : "1");
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, stored ? 6 : 0)));
  expectNextSessionWorks(other);
}

TEST_P(ServerErrorsTest, AnUpdateThatIsLostIsMadeUpForByTheNext) {
  roll();
  film(10);
  fail("UPDATE recordSessions");
  film(20);
  EXPECT_FALSE(ended());
  finish();
  EXPECT_EQ(value("SELECT end_time-start_time FROM recordSessions WHERE id=2"), "25");
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 30)));
  expectNextSessionWorks();
}

INSTANTIATE_TEST_SUITE_P(, ServerErrorsTest,
                         testing::Values(1205U, 1062U, 1213U, 1927U, 2002U, 2006U, 2013U));

}  // namespace
