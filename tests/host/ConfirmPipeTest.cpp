#include "host/byevents/ConfirmPipe.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/host/UsageErrors.h"
#include "tests/support/TempDir.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ConfirmPipeTest : public testing::Test {
 protected:
  [[nodiscard]] bool send(ConfirmPipe::Confirmation what) const {
    return ConfirmPipe::send(dir_.path(), what);
  }
  [[nodiscard]] std::string pipe() const { return dir_.path() + "/recorder.confirm"; }

  TempDir dir_;
};

TEST_F(ConfirmPipeTest, HandsOutWhatWasSentOnce) {
  ConfirmPipe pipe(dir_.path());
  EXPECT_THAT(pipe.take(), IsEmpty());
  EXPECT_TRUE(send(std::nullopt));
  EXPECT_TRUE(send(static_cast<unsigned char>(255)));
  EXPECT_THAT(pipe.take(), ElementsAre(ConfirmPipe::Confirmation(),
                                       ConfirmPipe::Confirmation(static_cast<unsigned char>(255))));
  EXPECT_THAT(pipe.take(), IsEmpty());
}

TEST_F(ConfirmPipeTest, TellsWhenNobodyListens) {
  EXPECT_FALSE(send(std::nullopt));
  { const ConfirmPipe pipe(dir_.path()); }
  EXPECT_FALSE(fs::exists(pipe()));
  EXPECT_FALSE(send(std::nullopt));
}

TEST_F(ConfirmPipeTest, WhatACrashHasLeftIsNobodyAndIsReplaced) {
  ASSERT_EQ(0, mkfifo(pipe().c_str(), 0600));
  EXPECT_FALSE(send(std::nullopt));
  ConfirmPipe again(dir_.path());
  EXPECT_TRUE(send(std::nullopt));
  EXPECT_EQ(1U, again.take().size());
}

TEST_F(ConfirmPipeTest, AFileInItsPlaceIsNobody) {
  std::ofstream(pipe()) << "text";
  EXPECT_FALSE(send(std::nullopt));
}

TEST_F(ConfirmPipeTest, IgnoresWhatIsNoConfirmation) {
  ConfirmPipe reader(dir_.path());
  std::ofstream(pipe()) << "256\n-1\nsome\n\n7\nal";
  EXPECT_THAT(reader.take(), ElementsAre(ConfirmPipe::Confirmation(static_cast<unsigned char>(7))));
  std::ofstream(pipe()) << "l\n";
  EXPECT_EQ(1U, reader.take().size());
}

TEST_F(ConfirmPipeTest, BelongsToItsOwnerAlone) {
  const ConfirmPipe reader(dir_.path());
  EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, fs::status(pipe()).permissions());
}

TEST_F(ConfirmPipeTest, SaysWhereItCannotBeMade) {
  EXPECT_THAT(failureOf([&] {
                const ConfirmPipe pipe(dir_.path() + "/none");
                return 0;
              }),
              testing::HasSubstr("cannot make the pipe " + dir_.path() + "/none/recorder.confirm"));
}

}  // namespace
