#include "tables/KTRSettingsTable.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

#include "db/KTRAudioSettingsRow.h"
#include "db/KTRVideoSettingsRow.h"
#include "runtime/KTLogger.h"
#include "tests/support/DatabaseFixture.h"

namespace {

class KTRSettingsTableTest : public DatabaseFixture {
 protected:
  KTRSettingsTable table{connection()};
  const KTRSettingsRow wanted{"cam", STREAM_VIDEO, "25,4,a,b,c"};

  void store(const std::string& name, const std::string& settings, int streamType) {
    server.exec("INSERT INTO " + in("streamSettings") + " (name,settings,streamType) VALUES ('" +
                name + "','" + settings + "'," + std::to_string(streamType) + ")");
  }
  std::vector<std::string> list(const KTString& condition) {
    KTDLList<KTString> all;
    const unsigned int count = table.getVideoSettingsList(all, condition);
    EXPECT_EQ(count, all.count);
    std::vector<std::string> texts;
    for (const KTString& each : all) texts.emplace_back(each.c_str());
    return texts;
  }
};

TEST_F(KTRSettingsTableTest, NamesItself) {
  EXPECT_STREQ(table.name(), "KTRSettingsTable");
  EXPECT_EQ(table.getName(), KTString("streamSettings"));
}

TEST_F(KTRSettingsTableTest, LogsThatItCouldNotCreateItsTable) {
  forget();
  KTRSettingsTable failed(nowhere());
  EXPECT_TRUE(log.has(128, "[ KTRSettingsTable constructor ] CREATE TABLE FAILED !!!"));
  EXPECT_EQ(failed.getSettingsID(wanted), -1);
}

TEST_F(KTRSettingsTableTest, FindsTheIdOfStoredSettings) {
  store("other", "1,1,a,b,c", 0);
  EXPECT_EQ(table.addKTRRow(wanted, KTR_DBTable::TB_STREAM_SETTINGS), 2);
  EXPECT_EQ(table.getSettingsID(wanted), 2);
  EXPECT_EQ(sent("SELECT id FROM streamSettings WHERE name='cam' AND settings='25,4,a,b,c'  AND "
                 "streamType=0 LIMIT 1"),
            1U);
}

TEST_F(KTRSettingsTableTest, SettingsUnderAnotherNameOrTypeAreNotFound) {
  store("other", "25,4,a,b,c", 0);
  store("cam", "25,4,a,b,c", 1);
  EXPECT_EQ(table.getSettingsID(wanted), -1);
}

TEST_F(KTRSettingsTableTest, AddingStoredSettingsAgainKeepsTheirId) {
  table.addKTRRow(wanted, KTR_DBTable::TB_STREAM_SETTINGS);
  table.addKTRRow(wanted, KTR_DBTable::TB_STREAM_SETTINGS);
  EXPECT_EQ(table.getSettingsID(wanted), 1);
  EXPECT_EQ(list("").size(), 1U);
}

TEST_F(KTRSettingsTableTest, ReadsVideoSettingsBack) {
  store("cam", "25,4,a,b,c", 0);
  KTRVideoSettingsRow row("x", 1, 2, "x", "y", "z");
  EXPECT_TRUE(table.getSettingsByID(1, row));
  EXPECT_EQ(sent("SELECT  name,settings,streamType FROM streamSettings WHERE id=1"), 1U);
  EXPECT_EQ(row.name, KTString("cam"));
  EXPECT_EQ(row.settings, KTString("25,4,a,b,c"));
  EXPECT_EQ(row.streamType, STREAM_VIDEO);
  EXPECT_EQ(row.videoParam1, 25);
  EXPECT_EQ(row.videoText3, KTString("c"));
}

TEST_F(KTRSettingsTableTest, APlainRowTakesTheStoredType) {
  store("mic", "8", 1);
  KTRSettingsRow row("", STREAM_UNKNOWN, "");
  EXPECT_TRUE(table.getSettingsByID(1, row));
  EXPECT_EQ(row.streamType, STREAM_AUDIO);
}

TEST_F(KTRSettingsTableTest, AudioSettingsOfOneFieldTakeTheDefaults) {
  store("mic", "8", 1);
  KTString codec("pcm");
  KTRAudioSettingsRow row("x", 1, codec, 8000);
  EXPECT_TRUE(table.getSettingsByID(1, row));
  EXPECT_EQ(row.streamType, STREAM_AUDIO);
  EXPECT_EQ(row.audioParam, 8U);
  EXPECT_EQ(row.codec, KTString("speex"));
  EXPECT_EQ(row.sampleRate, 16000U);
}

TEST_F(KTRSettingsTableTest, AnUnknownIdLeavesTheRow) {
  KTRSettingsRow row("kept", STREAM_AUDIO, "1,2,3");
  EXPECT_FALSE(table.getSettingsByID(5, row));
  EXPECT_EQ(row.name, KTString("kept"));
  EXPECT_EQ(row.settings, KTString("1,2,3"));
  EXPECT_EQ(row.streamType, STREAM_AUDIO);
}

TEST_F(KTRSettingsTableTest, ANameOfNineteenCharactersIsRead) {
  const std::string name(19, 'n');
  store(name, "25,4,a,b,c", 0);
  KTRSettingsRow row("x", STREAM_AUDIO, "");
  EXPECT_TRUE(table.getSettingsByID(1, row));
  EXPECT_STREQ(row.name.c_str(), name.c_str());
}

TEST_F(KTRSettingsTableTest, ANameOfTwentyCharactersEndsTheProcessAfterALogLine) {
  store(std::string(20, 'n'), "25,4,a,b,c", 0);
  KTRSettingsRow row("x", STREAM_AUDIO, "");
  const auto readIt = [&] {
    KTLogger::instance()->setSink(nullptr);
    (void)table.getSettingsByID(1, row);
  };
  EXPECT_EXIT(readIt(), testing::KilledBySignal(SIGABRT),
              "\\[error\\] \\[ getSettingsByID \\] settings 1 : the name has 20 characters, "
              "19 are allowed\n");
}

TEST_F(KTRSettingsTableTest, ListsEveryKindOfSettings) {
  store("cam", "25,4,a,b,c", 0);
  store("mic", "8", 1);
  EXPECT_EQ(list(""), (std::vector<std::string>{"1,cam,25,4,a,b,c,0", "2,mic,8,1"}));
  EXPECT_EQ(sent("SELECT * FROM streamSettings  "), 1U);
}

TEST_F(KTRSettingsTableTest, ListsWhatAConditionSelects) {
  store("cam", "25,4,a,b,c", 0);
  store("mic", "8", 1);
  EXPECT_EQ(list("WHERE streamType=1"), (std::vector<std::string>{"2,mic,8,1"}));
  EXPECT_EQ(sent("SELECT * FROM streamSettings WHERE streamType=1 "), 1U);
}

TEST_F(KTRSettingsTableTest, AFailedListIsEmpty) {
  EXPECT_TRUE(list("WHERE nonsense").empty());
}

}  // namespace
