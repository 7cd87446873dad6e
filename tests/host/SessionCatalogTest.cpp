#include "host/SessionCatalog.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "db/KTRAudioSettingsRow.h"
#include "db/KTRVideoSettingsRow.h"
#include "handles/KTR_DB_factory.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

using testing::ElementsAre;
using testing::Field;

namespace {

constexpr unsigned int NOW = 1767348000;

class SessionCatalogTest : public testing::Test {
 protected:
  SessionCatalogTest() : handle_(factory_.createDB("catalog")) {}
  ~SessionCatalogTest() override {
    (void)factory_.db_do_query("DROP DATABASE ktr_catalog");
    factory_.destroy(handle_);
  }

  unsigned int addSettings(const KTRSettingsRow& row) {
    EXPECT_NE(-1, handle_->settingsTable()->addKTRRow(row, KTR_DBTable::TB_STREAM_SETTINGS));
    return static_cast<unsigned int>(handle_->settingsTable()->getSettingsID(row));
  }

  unsigned int addSession(unsigned int stream, unsigned int start, unsigned int end,
                          unsigned int settings = 0, unsigned int available = 1) {
    KTRRecorderSessionRow row;
    row.streamID = stream;
    row.settingsID = settings;
    row.start_time = start;
    row.end_time = end;
    row.dataAvailable = available;
    row.storage = dir_.path().c_str();
    row.streamType = STREAM_VIDEO;
    row.realFps = 20;
    return handle_->recordSessionTable()->addRow(row);
  }

  void addFile(unsigned int session, const std::string& name, size_t bytes) {
    std::ofstream(std::string(handle_->getFullPrefixFileName(static_cast<int>(session)).c_str()) +
                  name)
        << std::string(bytes, 'x');
  }

  std::vector<RecordedSession> read(bool isRecording = false,
                                    std::optional<unsigned char> stream = std::nullopt) {
    return SessionCatalog(*handle_, isRecording).read(stream);
  }

  ManualClock clock_{NOW};
  TempDir dir_;
  ServerLease lease_ = ServerLease::acquire(HostTestRoot::shared().paths());
  KTR_DB_factory factory_;
  KTR_DB_handle* handle_;
};

}  // namespace

TEST_F(SessionCatalogTest, IsEmptyAtFirst) {
  EXPECT_THAT(read(), testing::IsEmpty());
}

TEST_F(SessionCatalogTest, ReadsByStreamThenStart) {
  addSession(2, 100, 200);
  addSession(1, 300, 400);
  addSession(1, 100, 200);
  EXPECT_THAT(read(), ElementsAre(Field(&RecordedSession::id, 3), Field(&RecordedSession::id, 2),
                                  Field(&RecordedSession::id, 1)));
}

TEST_F(SessionCatalogTest, ReadsOneStream) {
  addSession(2, 100, 200);
  addSession(12, 100, 200);
  EXPECT_THAT(read(false, 2), ElementsAre(Field(&RecordedSession::stream, 2)));
}

TEST_F(SessionCatalogTest, ReadsVideoSettings) {
  const unsigned int settings =
      addSettings(KTRVideoSettingsRow("n", 25, 0, "h264", "1280x720", ""));
  addSession(1, 100, 160, settings);
  const RecordedSession session = read().at(0);
  EXPECT_EQ("video", session.kind);
  EXPECT_EQ("h264", session.codec);
  EXPECT_EQ("1280x720", session.format);
  EXPECT_EQ(25U, session.fps);
  EXPECT_EQ(100, session.start);
  EXPECT_EQ(60, session.seconds());
}

TEST_F(SessionCatalogTest, ReadsAudioSettings) {
  KTString codec = "aac";
  addSession(129, 100, 160, addSettings(KTRAudioSettingsRow("a", 8, codec, 48000)));
  const RecordedSession session = read().at(0);
  EXPECT_EQ("audio", session.kind);
  EXPECT_EQ("aac", session.codec);
  EXPECT_EQ("48000 Hz", session.format);
}

TEST_F(SessionCatalogTest, ManagesWithoutSettings) {
  addSession(1, 100, 160, 4711);
  EXPECT_EQ("unknown", read().at(0).kind);
}

TEST_F(SessionCatalogTest, CountsTheFilesOfTheSessionOnly) {
  addSession(1, 100, 200);
  addFile(1, "F0", 1000);
  addFile(1, "F1", 500);
  std::ofstream(dir_.path() + "/record_ktr_catalog_R11_F0") << "1234567";
  EXPECT_EQ(1500U, read().at(0).bytes);
}

TEST_F(SessionCatalogTest, TellsDeletedSessions) {
  addSession(1, 100, 200, 0, 0);
  EXPECT_STREQ("deleted", read().at(0).stateName());
}

TEST_F(SessionCatalogTest, TellsTheSessionsThatAreBeingRecorded) {
  addSession(1, NOW - 200, NOW - 10);
  addSession(1, NOW - 100, NOW - 10);
  addSession(2, NOW - 200, NOW - 61);
  EXPECT_STREQ("stored", read(false).at(1).stateName());
  const auto sessions = read(true);
  EXPECT_STREQ("stored", sessions.at(0).stateName());
  EXPECT_STREQ("recording", sessions.at(1).stateName());
  EXPECT_STREQ("stored", sessions.at(2).stateName());
}

TEST_F(SessionCatalogTest, TellsWindowsThatNothingHasConfirmed) {
  addSession(1, NOW - 200, NOW - 10, 0, 2);
  addSession(1, NOW - 100, NOW - 10, 0, 2);
  for (const RecordedSession& session : read(false)) {
    EXPECT_STREQ("unconfirmed", session.stateName());
    EXPECT_FALSE(session.isOpen());
  }
  const auto sessions = read(true);
  EXPECT_STREQ("unconfirmed", sessions.at(0).stateName());
  EXPECT_STREQ("pre-event", sessions.at(1).stateName());
  EXPECT_TRUE(sessions.at(1).isOpen());
}

TEST_F(SessionCatalogTest, TakesNoNegativeLength) {
  addSession(1, 200, 0);
  EXPECT_EQ(0, read().at(0).seconds());
}
