#include "tables/KTREventTable.h"

#include <cstring>
#include <vector>

#include "tests/support/DatabaseFixture.h"

namespace {

KTDataBlock bytes(const std::string& text) {
  return KTDataBlock(reinterpret_cast<const unsigned char*>(text.data()),
                     static_cast<unsigned int>(text.size()));
}

unsigned int numberAt(const KTDataBlock& record, unsigned int offset) {
  unsigned int number = 0;
  std::memcpy(&number, record.data + offset, sizeof number);
  return number;
}

class KTREventTableTest : public DatabaseFixture {
 protected:
  KTREventTable table{connection()};

  int record(unsigned int sensor, unsigned int time, const std::string& payload = "",
             unsigned int type = 5) {
    KTREventRow row;
    row.sensorID = sensor;
    row.timeStamp = time;
    row.eventID = 77;
    row.eventType = type;
    row.data = bytes(payload);
    return table.addRow(row);
  }
  std::string times() {
    return server.value("SELECT group_concat(timeStamp ORDER BY timeStamp) FROM " +
                        in("eventsList"));
  }
  void loseTheTable() {
    server.exec("DROP TABLE " + in("eventsList"));
    forget();
  }
  std::string missing() const { return "Table '" + database + ".eventsList' doesn't exist"; }
};

TEST_F(KTREventTableTest, NamesItself) {
  EXPECT_STREQ(table.name(), "KTREventTable");
  EXPECT_EQ(table.getName(), KTString("eventsList"));
  EXPECT_TRUE(table.usable());
}

TEST_F(KTREventTableTest, IsNotUsableWhenTheTableCannotBeCreated) {
  connection();
  forget();
  const KTREventTable failed(nowhere());
  EXPECT_FALSE(failed.usable());
  EXPECT_EQ(log.countContaining("[ CREATE_TABLE ] creation failed: table: eventsList res='"), 1U);
}

TEST_F(KTREventTableTest, AddsEventsAndTellsTheirIds) {
  EXPECT_EQ(record(3, 100, "it's"), 1);
  EXPECT_EQ(record(4, 101), 2);
  EXPECT_EQ(sent("INSERT INTO eventsList  ( sensorID,timeStamp,eventID,eventType,data) VALUES ( "
                 "3,100,77,5,'it\\'s' ) "),
            1U);
  EXPECT_EQ(server.query("SELECT * FROM " + in("eventsList") + " WHERE id=1"),
            (std::vector<MariaDbServer::Row>{{"1", "3", "100", "77", "5", "it's"}}));
}

TEST_F(KTREventTableTest, AddingLeavesTheCallersRow) {
  KTREventRow row;
  row.data = bytes("it's");
  EXPECT_EQ(table.addRow(row), 1);
  EXPECT_TRUE(row.escapedData.empty());
}

TEST_F(KTREventTableTest, AddingToAMissingTableFails) {
  loseTheTable();
  EXPECT_EQ(record(3, 100), -1);
}

TEST_F(KTREventTableTest, EveryByteOfAPayloadComesBack) {
  std::string all("''\"\\%_\0;--", 10);
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  ASSERT_EQ(record(3, 100, all), 1);

  KTDataBlock data;
  EXPECT_EQ(table.getEventData(1, data), static_cast<int>(all.size()));
  EXPECT_TRUE(data == bytes(all));
  KTDLList<KTDataBlock> list;
  EXPECT_EQ(table.getEventList(list, ""), 1U);
  EXPECT_TRUE(list.head.next->value.copy(20, 1000) == bytes(all));
}

TEST_F(KTREventTableTest, TellsAnEventsPayload) {
  record(3, 100);
  KTDataBlock data = bytes("old");
  EXPECT_EQ(table.getEventData(1, data), 0);
  EXPECT_EQ(data.size, 0U);
  EXPECT_EQ(sent("select data from eventsList  WHERE id=1  LIMIT 1"), 1U);
}

TEST_F(KTREventTableTest, AnUnknownEventHasNoPayload) {
  KTDataBlock data = bytes("old");
  EXPECT_EQ(table.getEventData(9, data), -1);
  EXPECT_TRUE(data == bytes("old"));
}

TEST_F(KTREventTableTest, AListedEventIsTwentyBytesAndItsPayload) {
  record(3, 100, "abc");
  KTDLList<KTDataBlock> list;
  EXPECT_EQ(table.getEventList(list, "WHERE sensorID=3"), 1U);
  EXPECT_EQ(sent("SELECT id,sensorID,timeStamp,eventID,eventType,data FROM eventsList WHERE "
                 "sensorID=3 "),
            1U);
  const KTDataBlock& record = list.head.next->value;
  EXPECT_EQ(numberAt(record, 0), 1U);
  EXPECT_EQ(numberAt(record, 4), 3U);
  EXPECT_EQ(numberAt(record, 8), 100U);
  EXPECT_EQ(numberAt(record, 12), 77U);
  EXPECT_EQ(numberAt(record, 16), 0x80000005U);
  EXPECT_TRUE(record.copy(20, 100) == bytes("abc"));
}

TEST_F(KTREventTableTest, TheGreatestNumbersComeBackUnsigned) {
  record(4294967295U, 4294967294U, "", 0x7FFFFFFFU);
  KTDLList<KTDataBlock> list;
  EXPECT_EQ(table.getEventList(list, ""), 1U);
  EXPECT_EQ(numberAt(list.head.next->value, 4), 4294967295U);
  EXPECT_EQ(numberAt(list.head.next->value, 8), 4294967294U);
  EXPECT_EQ(numberAt(list.head.next->value, 16), 0xFFFFFFFFU);
  EXPECT_EQ(table.getMinTimeStamp(""), 4294967294U);
}

TEST_F(KTREventTableTest, AnEmptyPayloadAddsNothingToTheRecord) {
  record(3, 100);
  KTDLList<KTDataBlock> list;
  table.getEventList(list, "");
  EXPECT_EQ(list.head.next->value.size, 20U);
}

TEST_F(KTREventTableTest, ListsGrow) {
  record(3, 100);
  record(4, 101);
  KTDLList<KTDataBlock> list;
  EXPECT_EQ(table.getEventList(list, ""), 2U);
  EXPECT_EQ(table.getEventList(list, "WHERE sensorID=4"), 3U);
  EXPECT_EQ(table.getEventList(list, "WHERE sensorID=9"), 3U);
  EXPECT_EQ(table.getEventList(list, "WHERE nonsense"), 3U);
}

TEST_F(KTREventTableTest, ListsIds) {
  record(3, 100);
  record(4, 101);
  KTDLList<KTString> ids;
  EXPECT_EQ(table.getEventIDList(ids, "ORDER BY id DESC"), 2U);
  EXPECT_EQ(ids.head.next->value, KTString("2"));
  EXPECT_EQ(sent("SELECT id FROM eventsList ORDER BY id DESC "), 1U);
}

TEST_F(KTREventTableTest, CountsWhatAConditionSelects) {
  record(3, 100);
  record(4, 101);
  EXPECT_EQ(table.getEventListNum(""), 2U);
  EXPECT_EQ(table.getEventListNum("WHERE sensorID=4"), 1U);
  EXPECT_EQ(sent("SELECT count(*) FROM eventsList WHERE sensorID=4 "), 1U);
  EXPECT_EQ(table.getEventListNum("WHERE nonsense"), 0U);
}

TEST_F(KTREventTableTest, TellsTheOldestTime) {
  EXPECT_EQ(table.getMinTimeStamp(""), 0U);
  record(3, 101);
  record(4, 100);
  EXPECT_EQ(table.getMinTimeStamp(""), 100U);
  EXPECT_EQ(table.getMinTimeStamp("WHERE sensorID=3"), 101U);
  EXPECT_EQ(sent("SELECT min(timeStamp) FROM eventsList WHERE sensorID=3"), 1U);
  EXPECT_EQ(table.getMinTimeStamp("WHERE nonsense"), 0U);
}

TEST_F(KTREventTableTest, DeletesTheOldestEvents) {
  record(1, 102);
  record(1, 100);
  record(1, 101);
  EXPECT_TRUE(table.deleteRow(2));
  EXPECT_EQ(sent("DELETE FROM  eventsList  ORDER BY  timeStamp LIMIT 2"), 1U);
  EXPECT_EQ(times(), "102");
}

TEST_F(KTREventTableTest, DeletingNoneSucceeds) {
  record(1, 100);
  EXPECT_TRUE(table.deleteRow(0));
  EXPECT_EQ(sent("DELETE FROM  eventsList  ORDER BY  timeStamp LIMIT 0"), 1U);
  EXPECT_EQ(times(), "100");
}

TEST_F(KTREventTableTest, DeletesWhatIsOlderThanATime) {
  record(1, 99);
  record(1, 100);
  EXPECT_TRUE(table.deleteRowByTime(100));
  EXPECT_EQ(sent("DELETE FROM  eventsList   WHERE timeStamp< 100"), 1U);
  EXPECT_EQ(times(), "100");
}

TEST_F(KTREventTableTest, AFailedDeletionIsLoggedWithItsCause) {
  loseTheTable();
  EXPECT_FALSE(table.deleteRow(2));
  EXPECT_TRUE(log.has(128, "[ DELETE EVENTS ] 2 oldier events delete FAILED !! 1 " + missing()));
  EXPECT_FALSE(table.deleteRowByTime(100));
  EXPECT_TRUE(log.has(128, "[ DELETE EVENTS ] events delete by time 100 FAILED !! 1 " + missing()));
}

TEST_F(KTREventTableTest, WithoutMemoryForAConnectionADeletionFails) {
  calls.failInit();
  KTREventTable lonely(nullptr);
  EXPECT_FALSE(lonely.deleteRow(2));
  EXPECT_EQ(log.countContaining("[ DELETE EVENTS ] 2 oldier events delete FAILED !! 4294967295"),
            1U);
  EXPECT_FALSE(lonely.deleteRowByTime(100));
  EXPECT_EQ(log.countContaining("[ DELETE EVENTS ] events delete by time 100 FAILED !! 4294967295"),
            1U);
}

}  // namespace
