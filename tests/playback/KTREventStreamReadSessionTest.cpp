#include "playback/KTREventStreamReadSession.h"

#include <thread>

#include "runtime/LittleEndian.h"
#include "tests/playback/PlaybackFixture.h"
#include "tests/support/TableBlock.h"

namespace {

class KTREventStreamReadSessionTest : public PlaybackFixture {
 protected:
  void SetUp() override { ASSERT_NE(db(), nullptr); }

  // An event with id 7 and type 5.
  void add(unsigned int sensor, unsigned int time, const std::string& data = "") {
    KTREventRow row;
    row.sensorID = sensor;
    row.timeStamp = time;
    row.eventID = 7;
    row.eventType = 5;
    row.data = KTString(data).dataBlock();
    EXPECT_GT(db()->eventTable()->addRow(row), 0);
  }
  // Events of sensor 1 at the times 1 to count.
  void addMany(unsigned int count) {
    std::string values;
    for (unsigned int i = 1; i <= count; ++i) {
      values += (i == 1 ? "(1," : ",(1,") + std::to_string(i) + ",7,5,'')";
    }
    exec("INSERT INTO eventsList (sensorID,timeStamp,eventID,eventType,data) VALUES " + values);
  }
  [[nodiscard]] static Parameters with(const std::vector<std::pair<KTString, KTString>>& pairs) {
    Parameters params;
    for (const auto& [key, text] : pairs) params[key] = text;
    return params;
  }
  [[nodiscard]] static KTString loadQuery(const std::vector<std::pair<KTString, KTString>>& pairs) {
    return KTREventStreamReadSession::buildLoadEventSQLQuery(with(pairs));
  }
  [[nodiscard]] int count(const KTString& query) {
    return events_.load(with({{"event_query", query}}));
  }
  [[nodiscard]] int fetch(const KTString& query = " ORDER BY timeStamp ") {
    return events_.load(with({{"event_query", query}, {"load_events", ""}}));
  }
  [[nodiscard]] KTDataBlock batch() {
    KTDataBlock frame(3);
    unsigned int time = 0;
    const int size = events_.getFrame(frame, time);
    EXPECT_EQ(size, static_cast<int>(frame.size));
    EXPECT_EQ(time, 999999U);
    return frame;
  }
  // The time of each event of a batch whose events have no payload.
  [[nodiscard]] static std::vector<unsigned int> times(const KTDataBlock& batch) {
    std::vector<unsigned int> all;
    for (unsigned int at = 0; at < batch.size; at += 17) {
      all.push_back(loadLittleEndian(batch.data + at + 4));
    }
    return all;
  }

  KTREventStreamReadSession events_{"cam", 0};
};

TEST_F(KTREventStreamReadSessionTest, ConditionOfSensorIntervalAndOrder) {
  EXPECT_EQ(
      loadQuery({{"starttime", "100"}, {"duration", "60"}, {"sensorid", "3"}, {"sort", "desc"}}),
      "WHERE timeStamp >= 100 AND timeStamp < 160  AND  sensorID=3  ORDER BY timeStamp  "
      "DESC ");
}

TEST_F(KTREventStreamReadSessionTest, ConditionOfASensorAlone) {
  EXPECT_EQ(loadQuery({{"sensorid", "3"}}), " WHERE  sensorID=3  ORDER BY timeStamp ");
}

TEST_F(KTREventStreamReadSessionTest, ConditionOfAnOpenIntervalAndASensor) {
  EXPECT_EQ(loadQuery({{"starttime", "100"}, {"sensorid", "3"}}),
            "WHERE timeStamp >= 100  AND  sensorID=3  ORDER BY timeStamp ");
}

TEST_F(KTREventStreamReadSessionTest, SensorZeroIsEverySensor) {
  EXPECT_EQ(loadQuery({{"sensorid", "0"}}), " ORDER BY timeStamp ");
  EXPECT_EQ(loadQuery({}), " ORDER BY timeStamp ");
  EXPECT_EQ(loadQuery({{"starttime", "100"}, {"sensorid", "0"}}),
            "WHERE timeStamp >= 100  ORDER BY timeStamp ");
}

TEST_F(KTREventStreamReadSessionTest, DurationWithoutAStartIsIgnored) {
  EXPECT_EQ(loadQuery({{"duration", "60"}}), " ORDER BY timeStamp ");
}

TEST_F(KTREventStreamReadSessionTest, OnlyDescTurnsTheOrder) {
  EXPECT_EQ(loadQuery({{"sort", "DeSc"}}), " ORDER BY timeStamp  DESC ");
  EXPECT_EQ(loadQuery({{"sort", "ASC"}}), " ORDER BY timeStamp ");
  EXPECT_EQ(loadQuery({{"sort", "descending"}}), " ORDER BY timeStamp ");
}

TEST_F(KTREventStreamReadSessionTest, ConditionOfTheFirstEvent) {
  const auto query = [](const Parameters& params) {
    return KTREventStreamReadSession::buildLoadTimeOfFirstEventSQLQuery(params);
  };
  EXPECT_EQ(query(with({{"sensorid", "3"}})), " WHERE sensorID=3 ");
  EXPECT_EQ(query(with({{"sensorid", "0"}})), "");
  EXPECT_EQ(query(Parameters()), "");
}

TEST_F(KTREventStreamReadSessionTest, LoadCountsTheSelectedEvents) {
  add(3, 100);
  add(3, 159);
  add(3, 160);
  add(4, 120);
  EXPECT_EQ(count(loadQuery({{"starttime", "100"}, {"duration", "60"}, {"sensorid", "3"}})), 2);
  EXPECT_EQ(count(loadQuery({{"starttime", "100"}, {"duration", "60"}})), 3);
  EXPECT_EQ(count(""), 4);
  EXPECT_EQ(batch().size, 0U) << "counting loads nothing";
}

TEST_F(KTREventStreamReadSessionTest, LoadedEventsComeInTheOrderOfTheCondition) {
  add(1, 20);
  add(1, 10);
  add(1, 30);
  EXPECT_EQ(fetch(loadQuery({})), 1);
  EXPECT_EQ(times(batch()), (std::vector<unsigned int>{10, 20, 30}));
  EXPECT_EQ(fetch(loadQuery({{"sort", "DESC"}})), 1);
  EXPECT_EQ(times(batch()), (std::vector<unsigned int>{30, 20, 10}));
}

TEST_F(KTREventStreamReadSessionTest, EventWithoutDataBecomesSeventeenBytes) {
  add(3, 100);
  EXPECT_EQ(fetch(), 1);
  const unsigned char expected[] = {3, 0, 0, 0, 100, 0, 0, 0, 7, 0, 0, 0, 5, 0, 0, 0x80, 0};
  EXPECT_EQ(batch(), KTDataBlock(expected, sizeof expected));
}

TEST_F(KTREventStreamReadSessionTest, FiveBytesOfDataFollowTheirLength) {
  add(3, 100, "abcde");
  EXPECT_EQ(fetch(), 1);
  const KTDataBlock record = batch();
  ASSERT_EQ(record.size, 16U + 1 + 5);
  EXPECT_EQ(record.data[16], 5);
  EXPECT_EQ(record.copy(17, 5), KTString("abcde").dataBlock());
}

TEST_F(KTREventStreamReadSessionTest, LengthByteHoldsTheLowEightBits) {
  add(3, 100, std::string(300, 'x'));
  EXPECT_EQ(fetch(), 1);
  const KTDataBlock record = batch();
  ASSERT_EQ(record.size, 16U + 1 + 300);
  EXPECT_EQ(record.data[16], 300 - 256);
}

TEST_F(KTREventStreamReadSessionTest, EventsOfABatchStandBackToBack) {
  add(3, 100, "ab");
  add(4, 101);
  EXPECT_EQ(fetch(), 1);
  const KTDataBlock records = batch();
  ASSERT_EQ(records.size, 19U + 17);
  EXPECT_EQ(loadLittleEndian(records.data + 19), 4U);
}

TEST_F(KTREventStreamReadSessionTest, SixHundredEventsComeAs501And99) {
  addMany(600);
  EXPECT_EQ(fetch(), 1);
  EXPECT_EQ(batch().size, 501U * 17);
  const KTDataBlock rest = batch();
  EXPECT_EQ(rest.size, 99U * 17);
  EXPECT_EQ(times(rest).front(), 502U);
  EXPECT_EQ(batch().size, 0U);
}

TEST_F(KTREventStreamReadSessionTest, LoadAppendsToTheEventsThatWait) {
  add(1, 10);
  EXPECT_EQ(fetch(), 1);
  EXPECT_EQ(fetch(), 1);
  EXPECT_EQ(times(batch()), (std::vector<unsigned int>{10, 10}));
}

TEST_F(KTREventStreamReadSessionTest, WithoutEventsTheFrameIsEmpty) {
  EXPECT_EQ(fetch(), 1);
  EXPECT_EQ(batch().size, 0U);
}

TEST_F(KTREventStreamReadSessionTest, TimeOfTheFirstEventIsTheSmallest) {
  add(3, 200);
  add(4, 100);
  const auto first = [this](const KTString& query) {
    return events_.getTimeOfFirstEvent(with({{"event_query", query}}));
  };
  EXPECT_EQ(first(""), 100);
  EXPECT_EQ(first(" WHERE sensorID=3 "), 200);
  EXPECT_EQ(first(" WHERE sensorID=5 "), 0);
}

TEST_F(KTREventStreamReadSessionTest, UnknownDatabaseAnswersMinusOne) {
  KTREventStreamReadSession stranger("stranger", 0);
  EXPECT_EQ(stranger.load(Parameters()), -1);
  EXPECT_EQ(stranger.load(with({{"load_events", "1"}})), -1);
  EXPECT_EQ(stranger.getTimeOfFirstEvent(Parameters()), -1);
  KTDataBlock frame(3);
  unsigned int time = 5;
  EXPECT_EQ(stranger.getFrame(frame, time), -1);
  EXPECT_EQ(frame.size, 0U);
  EXPECT_EQ(time, 5U);
}

TEST_F(KTREventStreamReadSessionTest, DatabaseWithoutAnEventTableAnswersMinusOne) {
  MariaDbServer::instance().exec("CREATE DATABASE ktr_bare");
  const TableBlock block("ktr_bare", "eventsList");
  KTREventStreamReadSession bare("bare", 0);
  EXPECT_TRUE(bare.databaseAvailable());
  EXPECT_EQ(bare.load(Parameters()), -1);
  factory_->destroy(factory_->dbIsLoaded("bare"));
}

TEST_F(KTREventStreamReadSessionTest, StopHasNothingToDo) {
  add(1, 10);
  EXPECT_EQ(fetch(), 1);
  log_.clear();
  EXPECT_TRUE(events_.stop());
  EXPECT_TRUE(log_.lines().empty());
  EXPECT_EQ(times(batch()), (std::vector<unsigned int>{10}));
}

TEST_F(KTREventStreamReadSessionTest, GoesByTheRecordersName) {
  EXPECT_STREQ(events_.name(), "KTREventStreamRecordSession");
}

TEST_F(KTREventStreamReadSessionTest, LoaderAndReaderRunAtOnce) {
  addMany(100);
  constexpr int LOADS = 20;
  std::thread loader([this] {
    for (int i = 0; i < LOADS; ++i) EXPECT_EQ(fetch(), 1);
  });
  unsigned int bytes = 0;
  while (bytes < LOADS * 100U * 17) bytes += batch().size;
  loader.join();
  EXPECT_EQ(bytes, LOADS * 100U * 17);
}

}  // namespace
