#include "host/check/SessionFiles.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

SessionFiles filesOf(const std::vector<std::string>& names) {
  SessionFiles files;
  files.prefix = "/v/2026/01/02/record_ktr_cam_R7_";
  for (const std::string& name : names) files.add(name, 10);
  return files;
}

}  // namespace

TEST(SessionFilesTest, SortsFilesByTheirNames) {
  const SessionFiles files =
      filesOf({"F0.dat", "F12.dat", "audioHeader.dat", "session.json", "F0.dat.unfinished",
               "F0.damaged", "F01.dat", "F256.dat", "F.dat", "Fx.dat"});
  EXPECT_THAT(files.slices, ElementsAre(std::pair(0U, 10U), std::pair(12U, 10U)));
  EXPECT_TRUE(files.audioHeader);
  EXPECT_TRUE(files.sidecar);
  EXPECT_THAT(files.leftovers, ElementsAre(files.prefix + "F0.dat.unfinished"));
  EXPECT_EQ("/v/2026/01/02/", files.directory());
  EXPECT_EQ(files.prefix + "F12.dat", files.slicePath(12));
  EXPECT_EQ(20U, files.bytes());
}

TEST(SessionFilesTest, TheChainGoesOverTheEndOfTheRing) {
  EXPECT_THAT(filesOf({}).chain(), IsEmpty());
  EXPECT_THAT(filesOf({"F10.dat", "F9.dat"}).chain(), ElementsAre(9, 10));
  EXPECT_THAT(filesOf({"F0.dat", "F1.dat", "F254.dat", "F255.dat"}).chain(),
              ElementsAre(254, 255, 0, 1));
}

TEST(SessionFilesTest, GapsLieWithinTheChain) {
  EXPECT_THAT(filesOf({"F3.dat", "F4.dat"}).gaps(), IsEmpty());
  EXPECT_THAT(filesOf({"F3.dat", "F6.dat"}).gaps(), ElementsAre(4, 5));
  EXPECT_THAT(filesOf({"F0.dat", "F2.dat", "F254.dat", "F255.dat"}).gaps(), ElementsAre(1));
}
