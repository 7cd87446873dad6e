#include "host/bench/BenchPlace.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/HostError.h"
#include "host/bench/StoredPast.h"
#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "tests/host_bench/BenchFixture.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned int ROWS = 20'000;

class BenchPlaceTest : public BenchFixture {
 protected:
  /** How many pages the server has changed and not yet written. */
  static std::string dirtyPages() {
    ServerConnection server;
    EXPECT_TRUE(server.connectTo(place().serverPaths().socket(), OptionFile::currentUser()));
    return server.value("SHOW GLOBAL STATUS LIKE 'Innodb_buffer_pool_pages_dirty'", 1).value_or("");
  }
};

}  // namespace

TEST_F(BenchPlaceTest, WorksBelowTheRootInADirectoryOfItsOwn) {
  EXPECT_EQ(root() + "/bench." + std::to_string(getpid()), place().directory());
  EXPECT_TRUE(fs::is_directory(place().directory()));
}

TEST_F(BenchPlaceTest, FreshDirectoriesAreEmpty) {
  const std::string path = place().freshDirectory("fresh");
  std::ofstream(path + "/file") << "left";
  EXPECT_EQ(path, place().freshDirectory("fresh"));
  EXPECT_TRUE(fs::is_empty(path));
}

TEST_F(BenchPlaceTest, HasAServerWithTheRecordersOfScenarios) {
  EXPECT_GT(place().serverPid(), 0);
  EXPECT_NE(getpid(), place().serverPid());
  KTR_DB_handle& recorder = place().recorder("one");
  EXPECT_TRUE(recorder.isConnected());
  EXPECT_EQ(&recorder, &place().recorder("one"));
  EXPECT_TRUE(fs::is_directory(place().storageOf("one")));
}

TEST_F(BenchPlaceTest, ShortFormTakesTheSmallerSize) {
  EXPECT_TRUE(place().shortForm());
  EXPECT_EQ(3, place().size(100, 3));
}

TEST_F(BenchPlaceTest, NothingIsLeftToWriteBehindAnIndexThatIsWrittenDown) {
  KTR_DB_handle& recorder = place().recorder("written");
  StoredPast past(recorder);
  const unsigned int id = past.addSession(place().storageOf("written"), 0, 1, ROWS);
  for (unsigned int second = 1; second <= ROWS; ++second) past.addRow(id, 0, second, 0);
  past.finish();
  ASSERT_EQ(ROWS, BenchPlace::rows(recorder, KTR_DBTable::TB_DATA_STREAMS));
  place().writeDownIndex(recorder);
  EXPECT_EQ("0", dirtyPages());
}

TEST_F(BenchPlaceTest, EncodesFootageOnce) {
  EXPECT_EQ(&place().clip(), &place().clip());
}

TEST_F(BenchPlaceTest, RootThatCannotBeMadeIsAnError) {
  std::ostringstream text;
  HostContext context(text, text);
  EXPECT_THROW(BenchPlace(context, StorageRoot::parse("/proc/nowhere"), true), HostError);
}
