#include "host/repair/SessionIdMove.h"

#include <gmock/gmock.h>

#include "host/HostError.h"
#include "tests/host/SliceFixture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

class SessionIdMoveTest : public SliceFixture {
 protected:
  SessionIdMoveTest() {
    for (const char* name : {"R7_F0.dat", "R7_F1.dat", "R7_session.json", "R77_F0.dat"}) {
      write(path(name), name);
    }
  }
  [[nodiscard]] std::string path(const std::string& name) const {
    return day_ + "record_ktr_cam_" + name;
  }
  void move(unsigned int nextId) const {
    const DiskCatalog disk(dir_.path() + "/cam", "ktr_cam");
    SessionIdMove::move(disk.sessions().at(7).front(), disk, nextId);
  }
  /** Names and contents of all files, as "R7_F0.dat: ...". */
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(day_)) {
      const std::string name =
          entry.path().filename().string().substr(path("").size() - day_.size());
      found.push_back(name + ": " + contents(entry.path()));
    }
    std::sort(found.begin(), found.end());
    return found;
  }
};

}  // namespace

TEST_F(SessionIdMoveTest, GivesAllFilesOfASessionANewId) {
  move(80);
  EXPECT_THAT(names(), ElementsAre("R77_F0.dat: R77_F0.dat", "R80_F0.dat: R7_F0.dat",
                                   "R80_F1.dat: R7_F1.dat", "R80_session.json: R7_session.json"));
}

TEST_F(SessionIdMoveTest, FinishesAMoveThatWasCutOff) {
  fs::create_hard_link(path("R7_F0.dat"), path("R78_F0.dat"));
  move(80);
  EXPECT_THAT(names(), ElementsAre("R77_F0.dat: R77_F0.dat", "R78_F0.dat: R7_F0.dat",
                                   "R78_F1.dat: R7_F1.dat", "R78_session.json: R7_session.json"));
}

TEST_F(SessionIdMoveTest, WritesOverNoFile) {
  const auto before = names();
  EXPECT_THROW(move(77), HostError);
  EXPECT_EQ(before.size(), names().size());
  EXPECT_EQ("R77_F0.dat", contents(path("R77_F0.dat")));
  EXPECT_EQ("R7_F0.dat", contents(path("R7_F0.dat")));
}
