#include <filesystem>
#include <memory>

#include "tests/faults/FaultFixture.h"
#include "tests/support/SmallFileSystem.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAreArray;

/** A recorder on a file system of its own, of two megabytes. */
class FullDiskTest : public FaultFixture {
 protected:
  static constexpr unsigned int DISK = 2 << 20;
  static constexpr unsigned int PICTURE = 100000;

  FullDiskTest() {
    fs::create_directory(path());
    disk_ = std::make_unique<SmallFileSystem>(path(), DISK);
  }
  ~FullDiskTest() override {
    session_.reset();
    player_.reset();
  }

  [[nodiscard]] std::string path() const { return dir_.path() + "/disk"; }
  [[nodiscard]] KTRStreamRecordParams onDisk(int sliceSize = 100000000) const {
    KTRStreamRecordParams there = params();
    there.storageDir = KTString(path());
    there.sliceSize = sliceSize;
    return there;
  }
  // Feeds a large key frame a second until the session has ended.
  void filmUntilTheEnd() {
    bigKey(PICTURE);
    while (!ended()) {
      clock_.advanceSeconds(1);
      bigKey(PICTURE);
    }
  }
  void expectRecordingGoesOn() {
    clock_.advanceSeconds(1);
    const int from = elapsed();
    roll(onDisk());
    film(KEY_PERIOD + 1);
    EXPECT_FALSE(ended());
    finish();
    EXPECT_THAT(played(from), ElementsAreArray(seconds(from, from + KEY_PERIOD + 1)));
  }

  std::unique_ptr<SmallFileSystem> disk_;
};

TEST_F(FullDiskTest, FillingUpCostsLessThanOneFlush) {
  roll(onDisk());
  filmUntilTheEnd();
  EXPECT_EQ(elapsed(), 22);
  finish();
  EXPECT_EQ(log_.countContaining("writeKTRData: NULL res:-1 , "), 1U);
  EXPECT_EQ(log_.countContaining("Saving error !!! fileindex:0 record:2"), 1U);
  EXPECT_EQ(fs::space(path()).available, 0U);
  const auto whole = static_cast<int>(fs::file_size(storedSlice(2, 0)) / PICTURE);
  EXPECT_GT(whole, 12) << "the beginning of the flush that failed";
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, whole)));
  const Index found = index(2);
  EXPECT_EQ(found.found, static_cast<unsigned int>(whole));
  EXPECT_EQ(found.found + found.behind, 21U);
}

TEST_F(FullDiskTest, RecordingGoesOnWhenTheOldestSliceIsGone) {
  roll(onDisk(1));
  filmUntilTheEnd();
  finish();
  EXPECT_TRUE(db()->deleteOlderSlicesOfRecorderSession(2));
  EXPECT_GT(fs::space(path()).available, 0U);
  expectRecordingGoesOn();
}

TEST_F(FullDiskTest, AFullDiskIsTriedAgainWithoutTouchingWhatIsThere) {
  roll(onDisk());
  filmUntilTheEnd();
  finish();
  const std::vector<int> before = played();
  const auto size = fs::file_size(storedSlice(2, 0));
  for (int i = 0; i < 3; ++i) {
    clock_.advanceSeconds(1);
    roll(onDisk());
    film(FLUSH + 1);
    EXPECT_TRUE(ended());
  }
  EXPECT_EQ(fs::file_size(storedSlice(2, 0)), size);
  std::vector<int> after = played();
  after.resize(before.size());
  EXPECT_EQ(after, before);
}

TEST_F(FullDiskTest, AReadOnlyDiskPlaysAndRecordsNothing) {
  roll(onDisk());
  film(12);
  finish();
  disk_->readOnly(true);
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 12)));
  clock_.advanceSeconds(1);
  roll(onDisk());
  film(1);
  EXPECT_TRUE(ended());
  EXPECT_EQ(log_.countContaining("opened Failed !!!!"), 1U);
  KTRStreamRecordParams deeper = onDisk();
  deeper.storageDir += "/new";
  roll(deeper);
  film(1);
  EXPECT_TRUE(ended());
  expectError(path() + "/new creation failed ");
  disk_->readOnly(false);
  expectRecordingGoesOn();
  EXPECT_THAT(played(), testing::Contains(11));
}

TEST_F(FullDiskTest, RetentionOnAReadOnlyDiskSaysWhichFileStays) {
  roll(onDisk(1));
  film(2 * FLUSH + 5);
  finish();
  disk_->readOnly(true);
  EXPECT_TRUE(db()->deleteOlderSlicesOfRecorderSession(2));
  expectError("[ REMOVE FILE ERROR] : " + storedSlice(2, 0));
  EXPECT_TRUE(fs::exists(storedSlice(2, 0)));
  EXPECT_THAT(played(), ElementsAreArray(seconds(15, 27)));
}

}  // namespace
