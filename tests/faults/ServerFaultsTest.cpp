#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "tests/faults/FaultFixture.h"
#include "tests/support/FaultLog.h"

namespace {

using testing::ElementsAreArray;

/** A server that dies, stands still, cuts connections off or has no room for another. */
class ServerFaultsTest : public FaultFixture {
 protected:
  void TearDown() override {
    release();
    FaultFixture::TearDown();
    server_.exec("SET GLOBAL max_connections=151");
  }

  // Takes every place that the others, which stay, do not have; the account is one that gets an
  // extra place.
  void fillConnectionTable(size_t others) {
    constexpr size_t PLACES = 10;
    server_.exec("SET GLOBAL max_connections=" + std::to_string(PLACES));
    while (connections_.size() + others < PLACES + 1) {
      auto connection = std::make_unique<KTR_MYSQL_api>();
      if (connection->db_connect("") != nullptr) connections_.push_back(std::move(connection));
    }
    FaultLog::note("the connection table is full");
  }
  // Returns when there is room.
  void release() {
    if (connections_.empty()) return;
    for (const auto& connection : connections_) connection->db_disconnect();
    connections_.clear();
    KTR_MYSQL_api probe;
    while (probe.db_connect("") == nullptr) std::this_thread::yield();
    probe.db_disconnect();
  }
  void killRecordersConnection() {
    FaultLog::note("the recorder's connection is killed");
    server_.exec("KILL " + server_.value(RECORDERS_CONNECTION));
    while (!server_.value(RECORDERS_CONNECTION).empty()) std::this_thread::yield();
  }

  static constexpr const char* RECORDERS_CONNECTION =
      "SELECT id FROM information_schema.processlist WHERE db='ktr_cam'";
  std::vector<std::unique_ptr<KTR_MYSQL_api>> connections_;
};

TEST_F(ServerFaultsTest, AServerThatStaysAwayEndsTheSessionAndCostsNoFrameThatItHas) {
  roll();
  film(8);
  server_.kill();
  film(10);
  EXPECT_TRUE(ended());
  EXPECT_EQ(log_.countContaining("[ DO QUERY ] failed reconnect db [ ktr_cam ]") % 31, 0U);
  EXPECT_EQ(log_.countContaining("addRowRes error !!!"), 1U);
  stop();
  server_.start();
  db()->recordSessionTable()->updateDataBase(true);
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 11)));
  EXPECT_EQ(index(2), (Index{1, 0}));
  expectNextSessionWorks();
}

TEST_F(ServerFaultsTest, AServerThatIsBackInTimeCostsNothing) {
  roll();
  film(8);
  server_.kill();
  std::atomic<bool> waits{false};
  std::atomic<bool> back{false};
  log_.whenLogged("[ DO QUERY ] trying reconnect db [ ktr_cam ]", [&] {
    for (waits = true; !back;) std::this_thread::yield();
  });
  for (int i = 0; i < 10; ++i) feed();
  while (!waits) std::this_thread::yield();
  server_.start();
  back = true;
  settle();
  EXPECT_FALSE(ended());
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 18)));
  EXPECT_EQ(index(2), (Index{3, 0}));
}

TEST_F(ServerFaultsTest, AKilledConnectionCostsNothing) {
  roll();
  film(8);
  killRecordersConnection();
  film(10);
  EXPECT_FALSE(ended());
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 18)));
  EXPECT_EQ(index(2), (Index{3, 0}));
}

TEST_F(ServerFaultsTest, WhileTheServerStandsStillFramesWaitAndNoneIsLost) {
  roll();
  film(8);
  server_.pause();
  for (int i = 0; i < 10; ++i) feed();
  while (session_->queueLength() > 7) std::this_thread::yield();
  EXPECT_EQ(session_->queueLength(), 7U) << "the key frame of second 10 waits for the server";
  server_.resume();
  settle();
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 18)));
  EXPECT_EQ(log_.countContaining("DO QUERY"), 0U);
}

TEST_F(ServerFaultsTest, AFullConnectionTableLeavesARunningRecorderAlone) {
  roll();
  film(8);
  fillConnectionTable(2);
  film(10);
  EXPECT_FALSE(ended());
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 18)));
}

TEST_F(ServerFaultsTest, ANewRecorderBeginsWhenThereIsRoomForItsConnection) {
  KTRStreamRecordParams door = params();
  door.dbName = "door";
  fillConnectionTable(2);
  log_.clear();
  roll(door);
  film(1);
  EXPECT_TRUE(ended());
  expectError("mysql_real_connect failed: Too many connections!");
  release();
  roll(door);
  film(3);
  EXPECT_FALSE(ended());
  stop();
  factory_->destroy(factory_->dbIsLoaded("door"));
}

TEST_F(ServerFaultsTest, ALostConnectionWaitsForAPlaceInTheTable) {
  roll();
  film(8);
  killRecordersConnection();
  fillConnectionTable(1);
  log_.whenLogged(
      "[ DO QUERY ] failed reconnect db [ ktr_cam ] Error:1040 Desc:Too many connections",
      [this] { release(); });
  film(10);
  EXPECT_FALSE(ended());
  EXPECT_EQ(log_.countContaining("[ DO QUERY ] success reconnect db [ ktr_cam ]"), 1U);
  finish();
  EXPECT_EQ(index(2).behind, 0U);
  EXPECT_EQ(index(2).found, 3U);
}

TEST_F(ServerFaultsTest, RetentionLeavesNoRowWithoutItsFile) {
  roll(smallSlices());
  film(10 * FLUSH);
  finish();
  for (const unsigned int error : {1205U, 1213U, 1927U, 2002U, 2006U, 2013U}) {
    calls_.failNextStatements("DELETE FROM  dataStreams", {error});
    EXPECT_TRUE(db()->deleteOlderSlicesOfRecorderSession(2));
    const std::string gone = value("SELECT min(_fileIndex) FROM dataStreams WHERE _id=2");
    for (unsigned int i = 0; i < 10; ++i) {
      EXPECT_EQ(std::filesystem::exists(storedSlice(2, i)), i >= std::stoul(gone)) << error;
    }
  }
}

}  // namespace
