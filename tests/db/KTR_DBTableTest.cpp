#include "db/KTR_DBTable.h"

#include <gmock/gmock.h>

#include <thread>

#include "db/KTRSettingsRow.h"
#include "db/KTRVideoStreamRow.h"
#include "tests/db/DatabaseTest.h"

using testing::ElementsAre;

class KTR_DBTableTest : public DatabaseTest {
 protected:
  static const KTString& nameOf(KTR_DBTable::KtrTableType type) {
    return KTR_DBTable::KTR_TableName[type];
  }

  void createTable(KTR_DBTable::KtrTableType type) {
    ASSERT_EQ(table.create(nameOf(type), KTR_DBTable::KTR_TableFields[type]), 0);
    calls.forget();
  }

  // Each column as its name and type.
  Texts columns(KTR_DBTable::KtrTableType type) {
    createTable(type);
    return list(std::string("SELECT CONCAT(column_name, ' ', column_type) FROM "
                            "information_schema.columns WHERE table_schema = DATABASE() AND "
                            "table_name = '") +
                nameOf(type).c_str() + "' ORDER BY ordinal_position");
  }

  // Each index as its name, whether it admits one row only, and its columns.
  Texts indexes(KTR_DBTable::KtrTableType type) {
    return list(std::string("SELECT CONCAT(index_name, IF(non_unique, ' ', ' unique '), "
                            "GROUP_CONCAT(column_name ORDER BY seq_in_index)) FROM "
                            "information_schema.statistics WHERE table_schema = DATABASE() AND "
                            "table_name = '") +
                nameOf(type).c_str() + "' GROUP BY index_name, non_unique ORDER BY index_name");
  }

  KTR_DBTable table{"things", connection};
};

TEST_F(KTR_DBTableTest, HasTheNamesOfTheFourTables) {
  EXPECT_EQ(nameOf(KTR_DBTable::TB_DATA_STREAMS), "dataStreams");
  EXPECT_EQ(nameOf(KTR_DBTable::TB_RECORD_SESSIONS), "recordSessions");
  EXPECT_EQ(nameOf(KTR_DBTable::TB_STREAM_SETTINGS), "streamSettings");
  EXPECT_EQ(nameOf(KTR_DBTable::TB_EVENTS_LIST), "eventsList");
}

TEST_F(KTR_DBTableTest, TheFrameIndexHasItsColumnsAndKeys) {
  EXPECT_THAT(
      columns(KTR_DBTable::TB_DATA_STREAMS),
      ElementsAre("_id int(10) unsigned", "_offset int(10) unsigned", "_time int(10) unsigned",
                  "_fileIndex tinyint(3) unsigned", "_delayUsec int(10) unsigned"));
  EXPECT_THAT(indexes(KTR_DBTable::TB_DATA_STREAMS),
              ElementsAre("idx_id_file _id,_fileIndex", "PRIMARY unique _id,_time"));
}

TEST_F(KTR_DBTableTest, TheRecordSessionsHaveTheirColumnsAndKeys) {
  EXPECT_THAT(columns(KTR_DBTable::TB_RECORD_SESSIONS),
              ElementsAre("id int(10) unsigned", "streamID tinyint(3) unsigned",
                          "settingsID int(10) unsigned", "start_time int(10) unsigned",
                          "end_time int(10) unsigned", "update_time int(10) unsigned",
                          "dataAvailable char(1)", "storage char(255)", "streamType char(1)",
                          "realFps int(10) unsigned"));
  EXPECT_THAT(indexes(KTR_DBTable::TB_RECORD_SESSIONS),
              ElementsAre("idx_dataavail dataAvailable", "idx_storage storage", "PRIMARY unique id",
                          "streamID unique streamID,settingsID,start_time,streamType"));
}

TEST_F(KTR_DBTableTest, TheSettingsHaveTheirColumnsAndKeys) {
  EXPECT_THAT(columns(KTR_DBTable::TB_STREAM_SETTINGS),
              ElementsAre("id int(10) unsigned", "name char(20)", "settings char(255)",
                          "streamType char(1)"));
  EXPECT_THAT(indexes(KTR_DBTable::TB_STREAM_SETTINGS),
              ElementsAre("PRIMARY unique id", "settings unique settings,streamType"));
}

TEST_F(KTR_DBTableTest, TheEventsHaveTheirColumnsAndKeys) {
  EXPECT_THAT(
      columns(KTR_DBTable::TB_EVENTS_LIST),
      ElementsAre("id int(10) unsigned", "sensorID int(10) unsigned", "timeStamp int(10) unsigned",
                  "eventID int(10) unsigned", "eventType int(10) unsigned", "data longblob"));
  EXPECT_THAT(indexes(KTR_DBTable::TB_EVENTS_LIST),
              ElementsAre("evt_idx_sensorID sensorID", "evt_idx_senstime sensorID,timeStamp",
                          "PRIMARY unique id"));
}

TEST_F(KTR_DBTableTest, TheColumnListsAreLetterForLetter) {
  EXPECT_EQ(KTR_DBTable::KTR_TableFields[0],
            "_id INT UNSIGNED, _offset INT UNSIGNED ,_time INT UNSIGNED, _fileIndex TINYINT "
            "UNSIGNED , _delayUsec INT UNSIGNED, PRIMARY KEY (_id, _time), INDEX "
            "idx_id_file(_id,_fileindex) ");
  EXPECT_EQ(KTR_DBTable::KTR_TableFields[1],
            "id INT UNSIGNED AUTO_INCREMENT NOT NULL, streamID TINYINT UNSIGNED , settingsID INT "
            "UNSIGNED , start_time INT UNSIGNED,end_time INT UNSIGNED,update_time INT UNSIGNED, "
            "dataAvailable CHAR, storage CHAR(255),streamType CHAR(1),realFps INT UNSIGNED,PRIMARY "
            "KEY (id), UNIQUE(streamID, settingsID , start_time, streamType), INDEX "
            "idx_dataavail(dataAvailable), INDEX idx_storage(storage) ");
  EXPECT_EQ(KTR_DBTable::KTR_TableFields[2],
            "id INT UNSIGNED AUTO_INCREMENT NOT NULL,name CHAR(20) , settings "
            "CHAR(255),streamType CHAR(1),PRIMARY KEY (id), UNIQUE(settings,streamType)");
  EXPECT_EQ(KTR_DBTable::KTR_TableFields[3],
            "id INT UNSIGNED AUTO_INCREMENT NOT NULL, sensorID INT UNSIGNED,timeStamp INT "
            "UNSIGNED,eventID INT UNSIGNED, eventType INT UNSIGNED,data LONGBLOB,PRIMARY KEY (id), "
            "INDEX evt_idx_sensorID(sensorID), INDEX evt_idx_senstime(sensorID, timeStamp) ");
}

TEST_F(KTR_DBTableTest, TellsItsNames) {
  EXPECT_STREQ(table.name(), "KTR_DBTable");
  EXPECT_EQ(table.getName(), "things");
}

TEST_F(KTR_DBTableTest, ConstructionSendsAndLogsNothing) {
  EXPECT_TRUE(calls.statements().empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTR_DBTableTest, DestructionLeavesTheConnectionOpen) {
  { const KTR_DBTable other("other", connection); }
  EXPECT_THAT(list("SELECT 1"), ElementsAre("1"));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTR_DBTableTest, CreatesAMissingTable) {
  EXPECT_EQ(table.create("things", "a INT"), 0);
  EXPECT_THAT(sent(), ElementsAre("SHOW TABLE STATUS LIKE 'things' ",
                                  "CREATE TABLE IF NOT EXISTS things ( a INT ) ENGINE = InnoDB "));
  EXPECT_TRUE(table.tb_exists("things"));
}

TEST_F(KTR_DBTableTest, LeavesAnExistingTable) {
  exec("CREATE TABLE things (a INT)");
  calls.forget();
  EXPECT_EQ(table.create("things", "b INT"), 0);
  EXPECT_THAT(sent(), ElementsAre("SHOW TABLE STATUS LIKE 'things' "));
}

TEST_F(KTR_DBTableTest, TwoThreadsCreateATableOnce) {
  std::thread other([&] { EXPECT_EQ(table.create("things", "a INT"), 0); });
  EXPECT_EQ(table.create("things", "a INT"), 0);
  other.join();
  EXPECT_EQ(calls.statements().size(), 3U);
}

TEST_F(KTR_DBTableTest, AFailedCreationIsLogged) {
  EXPECT_EQ(table.create("things", "no columns"), 1);
  EXPECT_EQ(log.lines().back(),
            LogLine(128, "[ CREATE_TABLE ] creation failed: table: things res='1 "));
}

TEST_F(KTR_DBTableTest, AFailedCreationIsLoggedInHexadecimal) {
  calls.failNextStatements({2014, 2014});
  EXPECT_EQ(table.create("things", "a INT"), -1);
  EXPECT_EQ(log.lines().back(),
            LogLine(128, "[ CREATE_TABLE ] creation failed: table: things res='ffffffff "));
}

TEST_F(KTR_DBTableTest, CreatesNothingWithoutAConnection) {
  KTR_DBTable lonely("things", nullptr);
  calls.failInit();
  EXPECT_EQ(lonely.create("things", "a INT"), -1);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine(128, "mysql_init failed: no memory"),
                                       LogLine(128, "database not initialized !!")));
}

TEST_F(KTR_DBTableTest, AddsARowToTheTableOfItsKind) {
  createTable(KTR_DBTable::TB_STREAM_SETTINGS);
  const KTRSettingsRow row("cam", STREAM_AUDIO, "8,speex,16000");
  EXPECT_EQ(table.addKTRRow(row, KTR_DBTable::TB_STREAM_SETTINGS), 1);
  EXPECT_THAT(sent(), ElementsAre("INSERT INTO streamSettings  ( name, settings, streamType) "
                                  "VALUES ('cam','8,speex,16000',1 ) "));
  EXPECT_THAT(list("SELECT * FROM streamSettings"), ElementsAre("1,cam,8,speex,16000,1"));
}

TEST_F(KTR_DBTableTest, TheFirstIndexRowOfASecondStays) {
  createTable(KTR_DBTable::TB_DATA_STREAMS);
  KTRVideoStreamRow row;
  row.setValues(1, 100, 5000, 0, 0);
  table.addKTRRow(row, KTR_DBTable::TB_DATA_STREAMS);
  row.setValues(1, 200, 5000, 1, 0);
  EXPECT_NE(table.addKTRRow(row, KTR_DBTable::TB_DATA_STREAMS), -1);
  EXPECT_THAT(list("SELECT * FROM dataStreams"), ElementsAre("1,100,5000,0,0"));
}

TEST_F(KTR_DBTableTest, ARowThatCannotBeAddedHasNoId) {
  EXPECT_EQ(table.addKTRRow(KTRVideoStreamRow(), KTR_DBTable::TB_DATA_STREAMS), -1);
}

TEST_F(KTR_DBTableTest, DisplaysItsRows) {
  exec("CREATE TABLE things (a INT, b INT)");
  exec("INSERT INTO things VALUES (1, NULL), (2, 3)");
  calls.forget();
  table.display();
  EXPECT_THAT(sent(), ElementsAre("select * from things"));
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine(16, "Data Table : things"), LogLine(16, "ROW: "),
                          LogLine(16, "\t1"), LogLine(16, "\tNULL"), LogLine(16, "ROW: "),
                          LogLine(16, "\t2"), LogLine(16, "\t3")));
}

TEST_F(KTR_DBTableTest, DisplaysNothingOfAnEmptyTable) {
  exec("CREATE TABLE things (a INT)");
  table.display();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTR_DBTableTest, DescribesItself) {
  exec("CREATE TABLE things (a INT)");
  calls.forget();
  table._describe();
  EXPECT_THAT(sent(), ElementsAre("describe things"));
  EXPECT_EQ(log.lines().front(), LogLine(16, "Describe Table : things"));
  EXPECT_TRUE(log.has(16, "\ta"));
}

TEST_F(KTR_DBTableTest, SharesTheMendedConnection) {
  exec("CREATE TABLE things (a INT)");
  server.restart();
  EXPECT_TRUE(table.tb_exists("things"));
  EXPECT_THAT(list("SELECT DATABASE()"), ElementsAre(database));
}
