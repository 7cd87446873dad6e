#include "tests/support/HostileTexts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "db/KTRTextGuard.h"
#include "playback/KTRAudioStreamReadSession.h"
#include "playback/KTREventStreamReadSession.h"
#include "playback/KTRVideoStreamReadSession.h"
#include "tests/playback/PlaybackFixture.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/ShellCalls.h"

namespace {

// Every entry of the library that takes a text of the host and puts it near SQL, a path or a shell.
class HostileTextsTest : public PlaybackFixture {
 protected:
  using Entry = std::function<void(const KTString&)>;

  void SetUp() override {
    HostileTexts::removeTraces();
    recordSeconds(3);
    exec("CREATE TABLE canary (alive INT)");
    exec("INSERT INTO canary VALUES (1)");
    std::ofstream(dir_.path() + "/canary") << "alive";
  }

  // Gives every text to an entry; what reached the server holds it as data or not at all.
  void tryAll(const Entry& entry) {
    ASSERT_GE(HostileTexts::all().size(), 100U);
    const std::vector<std::string> tree = files();
    const std::vector<std::string> databases = rows("SHOW DATABASES");
    for (const std::string& text : HostileTexts::all()) {
      calls_.forget();
      entry(KTString(text));
      for (const std::string& statement : calls_.statements()) {
        EXPECT_FALSE(HostileTexts::escapedInto(statement)) << statement;
      }
    }
    EXPECT_EQ(files(), tree);
    EXPECT_EQ(rows("SHOW DATABASES"), databases);
    EXPECT_EQ(value("SELECT alive FROM canary"), "1");
    EXPECT_TRUE(HostileTexts::traces().empty());
  }

  [[nodiscard]] std::vector<std::string> files() const {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir_.path())) {
      paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  [[nodiscard]] static Parameters with(const char* key, const KTString& text) {
    Parameters params = at(START, 60);
    params[key] = text;
    return params;
  }
  [[nodiscard]] unsigned int refusals() const { return log_.countContaining("[ TEXT REFUSED ] "); }

  /** A new directory, so deep that no text climbs out of it. */
  [[nodiscard]] std::string scratch() const {
    std::string path = dir_.path() + "/scratch/of/one/of/the/texts";
    std::filesystem::create_directories(path);
    return path;
  }
  /** Records a key frame into a directory whose path ends in text: whether its bytes are stored. */
  [[nodiscard]] bool recordsBelow(const std::string& directory, const KTString& text) {
    KTRStreamRecordParams hostile = params();
    hostile.storageDir = KTString(directory + "/") + text;
    begin(hostile);
    key();
    session_.reset();
    const std::filesystem::recursive_directory_iterator all(dir_.path() + "/scratch");
    return std::any_of(std::filesystem::begin(all), std::filesystem::end(all),
                       [](const auto& entry) {
                         return entry.path().extension() == ".dat" && entry.file_size() > 0;
                       });
  }

  ClientCalls calls_;
};

TEST_F(HostileTextsTest, AsTheNameOfARecorder) {
  tryAll([this](const KTString& text) {
    EXPECT_EQ(factory_->createDB(text), nullptr) << text.c_str();
    EXPECT_EQ(factory_->db_instance(text), nullptr) << text.c_str();
    EXPECT_EQ(factory_->dbIsLoaded(text), nullptr) << text.c_str();
    EXPECT_FALSE(factory_->deleteDB(text)) << text.c_str();
    EXPECT_TRUE(calls_.statements().empty()) << text.c_str();
  });
  EXPECT_GE(refusals(), 4 * HostileTexts::all().size());
}

TEST_F(HostileTextsTest, AsTheRecorderOfAPlayer) {
  tryAll([](const KTString& text) {
    EXPECT_FALSE(KTRVideoStreamReadSession(text, 0).load(at(START)));
    EXPECT_FALSE(KTRAudioStreamReadSession(text, 0).load(at(START)));
    EXPECT_EQ(KTREventStreamReadSession(text, 0).load(at(START)), -1);
  });
}

TEST_F(HostileTextsTest, AsAParameterOfPlayback) {
  for (const char* key :
       {"streamid", "starttime", "settingsid", "duration", "size", "framerate", "bitrate"}) {
    SCOPED_TRACE(key);
    tryAll([key](const KTString& text) {
      KTRVideoStreamReadSession player("cam", 0);
      (void)player.dummyload(with(key, text));
      (void)player.load(with(key, text));
      (void)player.loadNextRecordSession();
    });
  }
}

TEST_F(HostileTextsTest, AsAParameterOfTheEventQueries) {
  for (const char* key : {"sensorid", "starttime", "duration", "sort"}) {
    SCOPED_TRACE(key);
    tryAll([key](const KTString& text) {
      KTREventStreamReadSession events("cam", 0);
      Parameters params = with(key, text);
      params["event_query"] = KTREventStreamReadSession::buildLoadEventSQLQuery(params);
      EXPECT_GE(events.load(params), 0);
      params["load_events"] = text;
      EXPECT_EQ(events.load(params), 1);
      params["event_query"] = KTREventStreamReadSession::buildLoadTimeOfFirstEventSQLQuery(params);
      EXPECT_GE(events.getTimeOfFirstEvent(params), 0);
    });
  }
  EXPECT_EQ(refusals(), 0U);
}

TEST_F(HostileTextsTest, AsTheQueryOfEvents) {
  tryAll([this](const KTString& text) {
    KTREventStreamReadSession events("cam", 0);
    Parameters params = with("event_query", text);
    EXPECT_EQ(events.load(params), -1) << text.c_str();
    EXPECT_EQ(events.getTimeOfFirstEvent(params), -1) << text.c_str();
    params["load_events"] = "";
    EXPECT_EQ(events.load(params), -1) << text.c_str();
    for (const std::string& statement : calls_.statements()) {
      EXPECT_EQ(statement.find("eventsList WHERE"), std::string::npos) << statement;
    }
  });
  EXPECT_EQ(refusals(), 3 * HostileTexts::all().size());
}

TEST_F(HostileTextsTest, AsSettings) {
  tryAll([this](const KTString& text) {
    KTString codec(text);
    const KTRVideoSettingsRow named(text, 25, 0, "h264", "1x1", "");
    const KTRVideoSettingsRow video("v", 25, 0, text, text, text);
    const KTRAudioSettingsRow audio("a", 1, codec, 8000);
    for (const KTRSettingsRow* row :
         {static_cast<const KTRSettingsRow*>(&named), static_cast<const KTRSettingsRow*>(&video),
          static_cast<const KTRSettingsRow*>(&audio)}) {
      (void)db()->settingsTable()->addKTRRow(*row, KTR_DBTable::TB_STREAM_SETTINGS);
      (void)db()->settingsTable()->getSettingsID(*row);
    }
  });
}

TEST_F(HostileTextsTest, AsTheStorageOfARow) {
  tryAll([this](const KTString& text) {
    KTRRecordSessionTable& table = *db()->recordSessionTable();
    KTRRecorderSessionRow row;
    row.storage = text;
    (void)table.addRow(row);
    long time = 0;
    KTDLList<unsigned int> ids;
    (void)table.getOlderSessionIDByPath(text, time);
    table.getOlderSessionIDListByPath(text, ids);
  });
}

// With a backslash the row names another directory than the one that was made, and nothing is
// stored.
TEST_F(HostileTextsTest, AsTheDirectoryOfARecording) {
  const ShellCalls shell;
  unsigned int accepted = 0;
  unsigned int recorded = 0;
  tryAll([&](const KTString& text) {
    const bool accepts = KTRTextGuard::refusal(KTRTextGuard::Quoted, text) == nullptr;
    const bool isThere = recordsBelow(scratch(), text);
    EXPECT_EQ(accepts && text.view().find('\\') == std::string::npos, isThere) << text.c_str();
    accepted += accepts ? 1 : 0;
    recorded += isThere ? 1 : 0;
    std::filesystem::remove_all(dir_.path() + "/scratch");
  });
  EXPECT_EQ(accepted + refusals(), HostileTexts::all().size());
  EXPECT_GE(HostileTexts::all().size(), 200U);
  EXPECT_GE(recorded, 80U);
  EXPECT_TRUE(shell.commands().empty());
}

TEST_F(HostileTextsTest, AsTheRecorderOfARecording) {
  tryAll([this](const KTString& text) {
    KTRStreamRecordParams hostile = params();
    hostile.dbName = text;
    begin(hostile);
    key();
    session_.reset();
  });
}

TEST_F(HostileTextsTest, AsTheDataOfAnEvent) {
  tryAll([this](const KTString& text) {
    KTREventRow row;
    row.data = text.dataBlock();
    const int id = db()->eventTable()->addRow(row);
    KTDataBlock stored;
    EXPECT_EQ(db()->eventTable()->getEventData(static_cast<unsigned int>(id), stored),
              static_cast<int>(text.length()));
    EXPECT_EQ(stored, text.dataBlock());
  });
}

// However such a row came to be: nothing is run for it, and nothing goes.
TEST_F(HostileTextsTest, AsAStorageThatIsRemoved) {
  tryAll([this](const KTString& text) {
    exec("DELETE FROM recordSessions WHERE start_time IN (1, 9999)");
    KTString storage;
    db()->escape_string(storage, KTString(dir_.path() + "/" + text.c_str()).dataBlock());
    if (storage.length() > 255) return;
    exec("INSERT INTO recordSessions (start_time,storage) VALUES (9999,'x'),(1,'" +
         std::string(storage.view()) + "')");
    const std::vector<std::string> ids = rows("SELECT id FROM recordSessions WHERE start_time=1");
    if (ids.empty()) return;  // no text of the server's character set
    db()->deleteAllDataFiles(static_cast<unsigned int>(std::stoul(ids.front())));
    EXPECT_FALSE(db()->deleteOlderDay()) << text.c_str();
    EXPECT_EQ(rows("SELECT id FROM recordSessions WHERE start_time=1"), ids);
  });
  EXPECT_EQ(log_.countContaining("[deleteCmd]"), 0U);
  EXPECT_GE(log_.countContaining("[ REMOVE REFUSED ]"), 200U);
}

}  // namespace
