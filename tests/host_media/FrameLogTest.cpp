#include "host/media/FrameLog.h"

#include <gmock/gmock.h>

#include <sstream>

#include "host/media/MediaError.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/support/TempDir.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

KTDataBlock frame(KTRFrameFormat::Kind kind, std::uint32_t stampMs, std::int32_t offsetMs = 0) {
  static const unsigned char bytes[] = {'a', 'b', 'c'};
  return KTRFrameWriter::build(kind, stampMs, {{bytes, sizeof(bytes)}}, offsetMs);
}

std::string contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

class FrameLogTest : public testing::Test {
 protected:
  TempDir dir_;
  std::string path_ = dir_.path() + "/frames.txt";
};

TEST_F(FrameLogTest, ALineHoldsStampKindSizeAndHash) {
  FrameLog log(path_);
  log.add(frame(KTRFrameFormat::Key, 1000));
  log.close();
  EXPECT_EQ(contents(path_),
            "1000 key 3 ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n");
}

TEST_F(FrameLogTest, EveryKindHasItsName) {
  FrameLog log(path_);
  log.add(frame(KTRFrameFormat::Delta, 1));
  log.add(frame(KTRFrameFormat::Jpeg, 2));
  log.add(frame(KTRFrameFormat::Audio, 3));
  log.add(KTRFrameWriter::build(KTRFrameFormat::Empty, 4, {}));
  log.close();
  const std::string text = contents(path_);
  for (const char* line : {"1 delta 3 ", "\n2 jpeg 3 ", "\n3 audio 3 ", "\n4 empty 0 "}) {
    EXPECT_THAT(text, HasSubstr(line));
  }
}

TEST_F(FrameLogTest, CompositionOffsetChangesTheLine) {
  FrameLog log(path_);
  log.add(frame(KTRFrameFormat::Key, 1000, 80));
  log.close();
  EXPECT_THAT(contents(path_), HasSubstr("1000 key 7 "));
  EXPECT_THAT(contents(path_), Not(HasSubstr("ba7816bf")));
}

TEST_F(FrameLogTest, FileThatCannotBeMadeIsAnError) {
  EXPECT_THAT([&] { FrameLog log(dir_.path() + "/no/log"); },
              ThrowsMessage<MediaError>(HasSubstr("/no/log: No such file or directory: choose")));
}

TEST_F(FrameLogTest, FullDiskIsAnErrorAtTheFirstFrame) {
  FrameLog log("/dev/full");
  EXPECT_THAT([&] { log.add(frame(KTRFrameFormat::Key, 1)); },
              ThrowsMessage<MediaError>(HasSubstr("/dev/full: No space left on device: choose")));
}

TEST_F(FrameLogTest, ALineIsInTheFileAsSoonAsItsFrameIsAdded) {
  FrameLog log(path_);
  log.add(frame(KTRFrameFormat::Key, 1000));
  EXPECT_THAT(contents(path_), HasSubstr("1000 key 3 "));
}

}  // namespace
