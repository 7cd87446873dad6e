#include <cerrno>

#include "tests/faults/FaultFixture.h"
#include "tests/support/FileText.h"

namespace {

/** The header file of a sound session, which is written once and whole. */
class AudioFaultsTest : public FaultFixture {
 protected:
  AudioFaultsTest() : FaultFixture(STREAM_AUDIO) {}

  [[nodiscard]] std::string header(unsigned int session) const {
    return contents(prefix(session) + "audioHeader.dat");
  }
};

TEST_F(AudioFaultsTest, AHeaderIsWrittenThroughShortWritesAndInterruptions) {
  faults_.shorten("pwrite", "_R2_audioHeader", 3, {1, 2});
  faults_.fail("ftruncate", "_R2_audioHeader", EINTR);
  roll();
  film(5);
  EXPECT_FALSE(ended());
  finish();
  EXPECT_EQ(faults_.count(), 3U);
  EXPECT_NE(header(1), "");
  EXPECT_EQ(header(2), header(1));
  EXPECT_EQ(value("SELECT count(*) FROM dataStreams WHERE _id=2"), "4");
}

TEST_F(AudioFaultsTest, AHeaderThatCannotBeWrittenEndsTheSession) {
  for (const char* call : {"open", "pwrite", "ftruncate"}) {
    SCOPED_TRACE(call);
    log_.clear();
    faults_.fail(call, "_audioHeader", ENOSPC);
    clock_.advanceSeconds(1);
    roll();
    film(1);
    EXPECT_TRUE(ended());
    EXPECT_EQ(log_.countContaining("[AUDIO] Cant write header file "), 1U);
  }
  clock_.advanceSeconds(1);
  roll();
  film(5);
  EXPECT_FALSE(ended());
  EXPECT_EQ(header(session_->progress().sessionId), header(1));
}

}  // namespace
