#include "host/byevents/EventWindow.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "host/record/SessionFeed.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/RecorderFixture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/** A feed that records by events, on a clock that the test moves. */
class EventWindowTest : public RecorderFixture {
 protected:
  static constexpr long AFTER = 30;  // seconds that an event lasts from its last confirmation on

  EventWindowTest() {
    (void)db();
    make(4);
  }
  ~EventWindowTest() override { feed_.reset(); }

  void make(int keyFrames) {
    KTRStreamRecordParams byEvents = params();
    byEvents.storageDir = KTString(disk());
    byEvents.preEventKeyFrames = keyFrames;
    feed_ = std::make_unique<SessionFeed>(SessionFeed::Options{byEvents, "", 0, &gate_});
    feed_->use(StreamSettings(byEvents.videoSettings));
  }
  [[nodiscard]] std::string disk() const { return dir_.path() + "/disk"; }
  void feed(KTRFrameFormat::Kind kind, unsigned int stampMs = stampNow()) {
    feed_->feed(makeFrame(kind, stampMs), kind != KTRFrameFormat::Delta,
                now() / 86400 * std::int64_t{86'400'000} + stampMs);
    settleFeed();
  }
  /** A key frame in each of the next seconds. */
  void keys(int count) {
    for (int i = 0; i < count; ++i) {
      clock_.advanceSeconds(1);
      feed(KTRFrameFormat::Key);
    }
  }
  void delta() { feed(KTRFrameFormat::Delta); }
  void settleFeed() {
    while (feed_->progress().queue != 0 || clock_.waiters() == 0) std::this_thread::yield();
    look();
  }
  /** Has the feed look at its window, which it does in its own time else. */
  void look() {
    feed_->passConfirmation();
    while (feed_->isPassingConfirmation()) std::this_thread::yield();
  }
  void confirm() {
    gate_.confirm();
    look();
    settleFeed();
  }
  /** Lets an event pass without a key frame. */
  void passEvent() {
    for (long passed = 0; passed < AFTER; passed += 10) {
      clock_.advanceSeconds(10);
      delta();
    }
  }
  /** Lets the session die of silence. */
  void starve() {
    clock_.advanceSeconds(16);
    while (log_.countContaining("NO VIDEO PACKET -> CLOSING") == 0 || clock_.waiters() != 0) {
      std::this_thread::yield();
    }
  }
  /** "1:2" is session 1, undecided; in the database, not in memory. */
  [[nodiscard]] std::vector<std::string> sessions() {
    return rows("SELECT CONCAT(id,':',dataAvailable) FROM recordSessions ORDER BY id");
  }
  [[nodiscard]] std::vector<std::string> indexed() {
    return rows("SELECT DISTINCT _id FROM dataStreams ORDER BY _id");
  }
  /** Sessions that count as windows that nothing has confirmed. */
  [[nodiscard]] std::vector<std::string> windows() {
    return rows("SELECT id FROM eventWindows ORDER BY id");
  }
  /** "1F0" is slice 0 of session 1. */
  [[nodiscard]] std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(disk())) {
      if (!entry.is_regular_file()) continue;
      std::string name = entry.path().filename().string();
      name.erase(0, std::string("record_ktr_cam_R").size());
      name.erase(name.find("_"), 1);
      names.push_back(name.substr(0, name.find('.')));
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  /** Those of them that hold frames; the sidecar file comes in its own time. */
  [[nodiscard]] std::vector<std::string> slices() const {
    std::vector<std::string> names = files();
    std::erase_if(names, [](const std::string& name) { return name.ends_with("session"); });
    return names;
  }

  FaultCalls faults_;
  EventGate gate_{std::chrono::seconds(AFTER)};
  std::unique_ptr<SessionFeed> feed_;
};

}  // namespace

TEST_F(EventWindowTest, WhatIsNotConfirmedLeavesNeitherRowsNorFiles) {
  keys(7);
  EXPECT_THAT(files(), testing::Not(IsEmpty()));
  feed_->finish();
  EXPECT_THAT(sessions(), IsEmpty());
  EXPECT_THAT(indexed(), IsEmpty());
  EXPECT_THAT(files(), IsEmpty());
  EXPECT_EQ(0U, feed_->progress().stored.frames);
  EXPECT_EQ(0U, feed_->progress().lost);
}

TEST_F(EventWindowTest, HoldsNoMoreThanTheWindow) {
  keys(30);
  EXPECT_THAT(slices(), ElementsAre("1F13", "1F14", "1F15"));
}

TEST_F(EventWindowTest, OutlivesTheRingOfItsSlices) {
  make(2);
  keys(300);
  feed_->beginNewSession();
  keys(1);
  EXPECT_EQ(1U, feed_->progress().open);
  EXPECT_THAT(slices(), ElementsAre("1F43", "1F44", "1F45"));
  confirm();
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
}

TEST_F(EventWindowTest, AConfirmedEventKeepsTheWindowBefore) {
  keys(7);
  const std::vector<std::string> window = files();
  confirm();
  keys(20);
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(files(), testing::IsSupersetOf(window));
  EXPECT_EQ(27U, feed_->progress().stored.frames);
}

TEST_F(EventWindowTest, TheDatabaseSaysAtOnceWhetherAnEventIsConfirmed) {
  keys(2);
  EXPECT_THAT(sessions(), ElementsAre("1:2"));
  confirm();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
}

TEST_F(EventWindowTest, AConfirmationThatWaitsForTheDatabaseHoldsNobody) {
  keys(3);
  {
    const KTCriticalCode away(KTR_MYSQL_api::_staticMysqlMux);  // as a lost server's reconnects do
    gate_.confirm();
    feed_->passConfirmation();
    clock_.advanceSeconds(1);
    feed_->feed(makeFrame(KTRFrameFormat::Key, stampNow()), true, now() * std::int64_t{1000});
    EXPECT_EQ(1U, feed_->progress().open);
    EXPECT_TRUE(feed_->isPassingConfirmation());
  }
  settleFeed();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_EQ(4U, feed_->progress().stored.frames);
}

TEST_F(EventWindowTest, AConfirmationNeedsNoFurtherFrame) {
  keys(3);
  confirm();
  starve();
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(files(), testing::Not(IsEmpty()));
}

TEST_F(EventWindowTest, AConfirmationReachesASessionThatIsStoppedAtOnce) {
  keys(3);
  gate_.confirm();
  feed_->finish();
  db()->recordSessionTable()->updateDataBase(true);
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(files(), testing::Not(IsEmpty()));
}

TEST_F(EventWindowTest, ASessionThatBeginsDuringAnEventIsNoWindow) {
  gate_.confirm();
  keys(12);
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(slices(), ElementsAre("1F0"));
}

TEST_F(EventWindowTest, AWindowBeginsWithTheFirstKeyFrameAfterAnEvent) {
  keys(3);
  confirm();
  passEvent();
  EXPECT_EQ(1U, feed_->progress().open);
  keys(3);
  EXPECT_EQ(2U, feed_->progress().open);
  EXPECT_THAT(sessions(), ElementsAre("1:1", "2:2"));
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(indexed(), ElementsAre("1"));
  for (const std::string& file : files()) EXPECT_EQ('1', file[0]);
  EXPECT_EQ(3U + 3U, feed_->progress().stored.frames);
}

TEST_F(EventWindowTest, AnEventThatIsConfirmedAgainLastsLonger) {
  keys(3);
  confirm();
  keys(AFTER - 1);
  confirm();
  keys(AFTER - 1);
  EXPECT_EQ(1U, feed_->progress().open);
  keys(1);
  EXPECT_EQ(2U, feed_->progress().open);
}

TEST_F(EventWindowTest, StoppingBetweenAnEventAndTheNextKeyFrameKeepsTheEvent) {
  keys(3);
  confirm();
  passEvent();
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(indexed(), ElementsAre("1"));
}

TEST_F(EventWindowTest, AWindowThatCannotBeginCostsNoEvent) {
  keys(3);
  confirm();
  passEvent();
  fs::rename(disk(), disk() + ".away");
  std::ofstream(disk()) << "no directory";
  clock_.advanceSeconds(1);
  feed_->feed(makeFrame(KTRFrameFormat::Key, stampNow()), true, now() * std::int64_t{1000});
  feed_->finish();
  EXPECT_EQ(1U, log_.countContaining("Cant Create Directory !!"));
  EXPECT_THAT(sessions(), ElementsAre("1:1"));
  EXPECT_THAT(indexed(), ElementsAre("1"));
}

TEST_F(EventWindowTest, ASessionThatEndsByItselfTakesItsFilesAlong) {
  keys(3);
  starve();
  feed_->feed(makeFrame(KTRFrameFormat::Key, stampNow()), true, now() * std::int64_t{1000});
  feed_->finish();
  EXPECT_THAT(sessions(), IsEmpty());
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(EventWindowTest, AWindowThatTheLibraryKeepsKeepsItsFiles) {
  keys(3);
  const std::vector<std::string> window = slices();
  while (log_.countContaining("NO IFRAMES for 180 sec") == 0) {
    clock_.advanceSeconds(10);
    feed_->feed(makeFrame(KTRFrameFormat::Delta, stampNow()), false, now() * std::int64_t{1000});
    while (feed_->progress().queue != 0) std::this_thread::yield();
  }
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:2"));
  EXPECT_EQ(window, slices());
}

TEST_F(EventWindowTest, AClockThatGoesBackDividesTheWindow) {
  keys(4);
  feed(KTRFrameFormat::Key, stampNow() - 5000);
  clock_.advanceSeconds(1);
  delta();  // shows the new session
  EXPECT_THAT(sessions(), ElementsAre("1:2"));
  keys(1);
  keys(1);
  EXPECT_EQ(2U, feed_->progress().open);
  EXPECT_THAT(sessions(), ElementsAre("1:2", "2:2"));
  confirm();
  feed_->finish();
  EXPECT_THAT(sessions(), ElementsAre("1:1", "2:1"));
}

TEST_F(EventWindowTest, ThePartBeforeTheClockWentBackGoesWhenTheRestIsAWindow) {
  keys(4);
  feed(KTRFrameFormat::Key, stampNow() - 5000);
  keys(3);
  EXPECT_THAT(indexed(), testing::Contains("1"));
  keys(6);
  EXPECT_THAT(sessions(), ElementsAre("2:2"));
  for (const std::string& file : files()) EXPECT_EQ('2', file[0]);
}

TEST_F(EventWindowTest, BothPartsGoWhenNothingConfirmsThem) {
  keys(4);
  feed(KTRFrameFormat::Key, stampNow() - 5000);
  keys(2);
  feed_->finish();
  EXPECT_THAT(sessions(), IsEmpty());
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(EventWindowTest, AnEventThatGoesOverMidnightStaysWhole) {
  keys(3);
  confirm();
  feed(KTRFrameFormat::Key, stampNow() - 5000);
  keys(3);
  EXPECT_EQ(2U, feed_->progress().open);
  feed_->finish();
  db()->recordSessionTable()->updateDataBase(true);
  EXPECT_THAT(sessions(), ElementsAre("1:1", "2:1"));
  EXPECT_THAT(indexed(), ElementsAre("1", "2"));
}

TEST_F(EventWindowTest, AServerThatDoesNotAnswerCostsNoFile) {
  keys(4);
  const std::vector<std::string> window = slices();
  exec("DROP TABLE recordSessions");
  feed_->finish();
  EXPECT_EQ(window, slices());
}

TEST_F(EventWindowTest, IsListedUntilItIsConfirmed) {
  keys(2);
  EXPECT_THAT(windows(), ElementsAre("1"));
  confirm();
  EXPECT_THAT(windows(), IsEmpty());
}

TEST_F(EventWindowTest, IsListedUntilItsFilesAreGone) {
  keys(2);
  EXPECT_THAT(windows(), ElementsAre("1"));
  feed_->finish();
  EXPECT_THAT(windows(), IsEmpty());
}

TEST_F(EventWindowTest, StaysListedWhileItsFilesCannotBeRemoved) {
  keys(2);
  faults_.fail("unlink", "_F0.dat", EACCES);
  feed_->finish();
  EXPECT_THAT(sessions(), IsEmpty());
  EXPECT_THAT(files(), testing::Contains("1F0"));
  EXPECT_THAT(windows(), ElementsAre("1"));
}

TEST_F(EventWindowTest, AllItsPartsAreListed) {
  keys(4);
  feed(KTRFrameFormat::Key, stampNow() - 5000);
  keys(2);
  EXPECT_THAT(windows(), ElementsAre("1", "2"));
  confirm();
  EXPECT_THAT(windows(), IsEmpty());
}

TEST_F(EventWindowTest, RemovesOnlyFilesOfItsOwnSession) {
  keys(3);
  const std::string day = fs::path(feed_->progress().open == 1 ? disk() : "").string();
  std::string directory;
  for (const auto& entry : fs::recursive_directory_iterator(day)) {
    if (entry.is_regular_file()) directory = entry.path().parent_path();
  }
  std::ofstream(directory + "/record_ktr_cam_R11_F0.dat") << "another session";
  std::ofstream(directory + "/record_ktr_hall_R1_F0.dat") << "another recorder";
  feed_->finish();
  EXPECT_TRUE(fs::exists(directory + "/record_ktr_cam_R11_F0.dat"));
  EXPECT_TRUE(fs::exists(directory + "/record_ktr_hall_R1_F0.dat"));
  EXPECT_FALSE(fs::exists(directory + "/record_ktr_cam_R1_F0.dat"));
}
