#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/crash/CrashFixture.h"
#include "tests/support/FileText.h"

namespace fs = std::filesystem;

// A repair is killed at each of its steps; the next one goes on and loses nothing.

namespace {

class CrashRepairTest : public CrashFixture {
 protected:
  void SetUp() override {
    if (!hasRecorded()) recordAhead(RECORDERS, "", {{1, "sound.mp4"}}, "audioHeader.dat");
    cam_ = takeRecorded();
    picture_ = sliceOf("1");
    sound_ = sliceOf("129");
  }

  void append(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::app) << bytes;
  }
  /** Puts bytes that are no record in front of one. */
  void insertGarbage() {
    const std::string at = value(cam_,
                                 "SELECT _offset FROM dataStreams JOIN recordSessions ON id=_id "
                                 "WHERE streamID=1 ORDER BY _time LIMIT 1,1");
    std::string bytes = ::contents(picture_);
    bytes.insert(std::stoul(at), 100, 'x');
    std::ofstream(picture_, std::ios::binary | std::ios::trunc) << bytes;
  }
  void dropDatabase() { (void)value(cam_, "DROP DATABASE ktr_" + cam_.name); }
  [[nodiscard]] std::string audioHeader() const {
    return sound_.substr(0, sound_.rfind("F0.dat")) + "audioHeader.dat";
  }

  /** Copies the session of the pictures to a day that nothing was recorded on. */
  void copyToAnotherDay() const {
    fs::create_directories(otherDay());
    for (const auto& [path, hash] : files(cam_)) {
      const std::string name = fs::path(path).filename();
      if (path.starts_with(prefix())) fs::copy_file(path, otherDay() + name);
    }
  }
  [[nodiscard]] std::string prefix() const { return picture_.substr(0, picture_.rfind("F0.dat")); }
  [[nodiscard]] std::string otherDay() const { return directory(cam_) + "/2020/01/01/"; }
  /** The copy is killed while it gets an id of its own; what has both names is no third session. */
  void crashAtAMove(unsigned int turn) {
    copyToAnotherDay();
    crashAt("unlink", "/2020/01/01/", turn);
    EXPECT_EQ("3", value(cam_, "SELECT COUNT(*) FROM recordSessions"));
    const std::string old = fs::path(prefix()).filename();
    for (const auto& entry : fs::directory_iterator(otherDay())) {
      EXPECT_FALSE(entry.path().filename().string().starts_with(old)) << entry.path();
    }
  }

  void crashAt(const std::string& call, const std::string& what, unsigned int turn = 1) {
    KtrProcess repair({{"repair", "--root", root_->path(), "--recorder", cam_.name, "--yes-really"},
                       path("repair"),
                       killAt(call, what, turn)});
    EXPECT_EQ(-SIGKILL, repair.wait()) << contents("repair");
    expectRepaired(cam_);
  }

  Recorder cam_;
  std::string picture_;  // the slice of stream 1
  std::string sound_;    // and of its sound

 private:
  static constexpr int RECORDERS = 11;

  std::string sliceOf(const std::string& stream) {
    const std::string id = value(cam_, "SELECT id FROM recordSessions WHERE streamID=" + stream);
    for (const auto& [path, hash] : files(cam_)) {
      if (path.ends_with("_R" + id + "_F0.dat")) return path;
    }
    ADD_FAILURE() << "no slice of stream " << stream << " of " << cam_.name;
    return "";
  }
};

}  // namespace

TEST_F(CrashRepairTest, AtTheNextId) {
  dropDatabase();
  crashAt("ALTER", "AUTO_INCREMENT");
}

TEST_F(CrashRepairTest, AtTheOldNamesOfAMovedSession) {
  crashAtAMove(1);
}

TEST_F(CrashRepairTest, BetweenTheOldNamesOfAMovedSession) {
  crashAtAMove(2);
}

TEST_F(CrashRepairTest, AtATornTail) {
  append(picture_, "\xA7\xA6\xA5\xA4\xFF\xFF");
  crashAt("ftruncate", "_F0.dat");
}

TEST_F(CrashRepairTest, BetweenAMendedSliceAndItsName) {
  insertGarbage();
  crashAt("rename", "_F0.dat");
}

TEST_F(CrashRepairTest, AtAnAudioHeader) {
  fs::remove(audioHeader());
  crashAt("rename", "audioHeader.dat");
}

TEST_F(CrashRepairTest, AtTheRemovalOfOldIndexRows) {
  (void)value(cam_, "UPDATE dataStreams SET _offset=_offset+1");
  crashAt("DELETE", "dataStreams");
}

TEST_F(CrashRepairTest, InTheMiddleOfNewIndexRows) {
  dropDatabase();
  crashAt("INSERT", "dataStreams");
}

TEST_F(CrashRepairTest, AtTheEndOfASessionsRows) {
  (void)value(cam_, "UPDATE dataStreams SET _offset=_offset+1");
  crashAt("COMMIT", "COMMIT");
}

TEST_F(CrashRepairTest, BetweenTheRowsAndTheFilesOfAnEmptySession) {
  fs::resize_file(sound_, 0);
  cam_.sent.erase(129);
  crashAt("unlink", "_F0.dat");
}

TEST_F(CrashRepairTest, AtRowsOfNoSession) {
  (void)value(cam_, "INSERT INTO dataStreams VALUES (4000,0,1,0,0)");
  crashAt("DELETE", "dataStreams");
}
