#include "host/bench/SessionFeeding.h"

#include "host/bench/FrameClock.h"
#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr long NOON = 1700049600;
constexpr unsigned int NOON_STAMP = 43'200'000;

class SessionFeedingTest : public BenchFixture {
 protected:
  /** Feeds frames of one stream, the first one given, as fast as it goes. */
  static void feed(SessionFeeding& session, FrameClock& clock, std::uint64_t first,
                   std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
      clock.moveTo(static_cast<std::int64_t>(i * BenchClip::FRAME_MS));
      session.waitForRoom();
      const auto stamp = NOON_STAMP + static_cast<unsigned int>(i * BenchClip::FRAME_MS);
      ASSERT_TRUE(session.commit(place().clip().frame(first + i, stamp)));
    }
  }
};

}  // namespace

TEST_F(SessionFeedingTest, StoresWhatItIsFed) {
  KTR_DB_handle& db = place().recorder("fed");
  FrameClock clock(NOON);
  SessionFeeding session(place(), "fed", 3, NOON);
  feed(session, clock, 0, 300);
  EXPECT_EQ(300U, session.finish());
  KTDLList<KTString> sessions;
  db.getQueryResultList(sessions, "SELECT streamID FROM recordSessions");
  ASSERT_EQ(1U, sessions.count);
  EXPECT_STREQ("3", sessions.head.next->value.c_str());
}

// One that gets no key frame ends by itself.
TEST_F(SessionFeedingTest, TellsThatTheSessionHasEnded) {
  constexpr int MANY = 1'000'000;
  (void)place().recorder("delta");
  FrameClock clock(NOON);
  SessionFeeding session(place(), "delta", 1, NOON);
  clock.moveTo(600'000);
  const KTDataBlock frame = place().clip().frame(1, NOON_STAMP);
  int taken = 0;
  while (taken < MANY && session.commit(frame)) {
    session.waitForRoom();
    ++taken;
  }
  EXPECT_LT(taken, MANY);
  EXPECT_EQ(0U, session.finish());
}
