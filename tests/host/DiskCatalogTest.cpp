#include "host/check/DiskCatalog.h"

#include <gmock/gmock.h>

#include "host/HostError.h"
#include "tests/host/SliceFixture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

namespace {

class DiskCatalogTest : public SliceFixture {
 protected:
  /** Makes a file of so many bytes in a directory of the recorder. */
  void add(const std::string& day, const std::string& name, size_t bytes = 1) {
    fs::create_directories(recorder_ + day);
    write(recorder_ + day + name, std::string(bytes, 'x'));
  }
  [[nodiscard]] DiskCatalog catalog() const { return {recorder_, "ktr_cam"}; }

  const std::string recorder_ = dir_.path() + "/cam";
};

}  // namespace

TEST_F(DiskCatalogTest, SortsFilesIntoSessions) {
  add("/2026/01/01/", "record_ktr_cam_R7_F0.dat", 10);
  add("/2026/01/01/", "record_ktr_cam_R7_F1.dat", 20);
  add("/2026/01/01/", "record_ktr_cam_R7_audioHeader.dat");
  add("/2026/02/03/", "record_ktr_cam_R12_F0.dat");
  const DiskCatalog disk = catalog();
  ASSERT_THAT(disk.sessions(), ElementsAre(Key(7U), Key(12U)));
  const SessionFiles& seven = disk.sessions().at(7).front();
  EXPECT_THAT(seven.slices, ElementsAre(Pair(0U, 10U), Pair(1U, 20U)));
  EXPECT_TRUE(seven.audioHeader);
  EXPECT_EQ(recorder_ + "/2026/01/01/record_ktr_cam_R7_", seven.prefix);
  EXPECT_EQ(12U, disk.highestId());
  EXPECT_EQ(4U, disk.files());
}

TEST_F(DiskCatalogTest, PassesOverWhatIsNotTheRecorders) {
  for (const char* name :
       {"record_ktr_camera_R7_F0.dat", "record_ktr_cam_R_F0.dat", "record_ktr_cam_R0_F0.dat",
        "record_ktr_cam_Rx_F0.dat", "record_ktr_cam_R7", "record_ktr_cam_R99999999999_F0.dat",
        "record_ktr_cam_R-7_F0.dat", "notes.txt"}) {
    add("/2026/01/01/", name);
  }
  add("/2026/01/", "record_ktr_cam_R7_F0.dat");
  add("/2026/01/old/", "record_ktr_cam_R7_F0.dat");
  EXPECT_THAT(catalog().sessions(), IsEmpty());
  EXPECT_EQ(0U, catalog().highestId());
}

TEST_F(DiskCatalogTest, KnowsBothDirectoriesOfOneId) {
  add("/2026/01/01/", "record_ktr_cam_R7_F0.dat");
  add("/2026/01/02/", "record_ktr_cam_R7_F0.dat");
  const DiskCatalog disk = catalog();
  EXPECT_EQ(2U, disk.sessions().at(7).size());
  const SessionFiles* second = disk.find(7, recorder_ + "//2026/01/02");
  ASSERT_NE(nullptr, second);
  EXPECT_EQ(recorder_ + "/2026/01/02/", second->directory());
  EXPECT_NE(nullptr, disk.find(7, "/nowhere/"));
  EXPECT_EQ(nullptr, disk.find(8, recorder_ + "/2026/01/02/"));
}

TEST_F(DiskCatalogTest, TakesInADirectoryElsewhereOnce) {
  add("/elsewhere/", "record_ktr_cam_R9_F0.dat");
  DiskCatalog disk = catalog();
  EXPECT_THAT(disk.sessions(), IsEmpty());
  disk.addDirectory(recorder_ + "/elsewhere");
  disk.addDirectory(recorder_ + "//elsewhere/");
  EXPECT_EQ(1U, disk.files());
  EXPECT_EQ(1U, disk.sessions().at(9).size());
}

TEST_F(DiskCatalogTest, ADirectoryThatIsMissingIsEmpty) {
  DiskCatalog disk(dir_.path() + "/none", "ktr_cam");
  disk.addDirectory("/nowhere/at/all");
  EXPECT_EQ(0U, disk.files());
}

TEST_F(DiskCatalogTest, WhatCannotBeReadIsAnError) {
  write(dir_.path() + "/file", "no directory");
  EXPECT_THROW(DiskCatalog(dir_.path() + "/file", "ktr_cam"), HostError);
  DiskCatalog disk = catalog();
  EXPECT_THROW(disk.addDirectory(dir_.path() + "/file"), HostError);
}
