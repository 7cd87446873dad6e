#include "host/record/SessionSidecar.h"

#include <gmock/gmock.h>

#include <fstream>

#include "tests/support/TempDir.h"

namespace {

class SessionSidecarTest : public testing::Test {
 protected:
  void contain(const std::string& text) { std::ofstream(path_) << text; }

  TempDir dir_;
  const std::string path_ = dir_.path() + "/session.json";
  const SessionSidecar sound_{130, 1, 15, "a12", "1,aac,48000", {0x48, 0x01, 0xFF}};
};

}  // namespace

TEST_F(SessionSidecarTest, IsReadAsItWasWritten) {
  const SessionSidecar pictures{1, 0, 25, "v12", "25,0,h264,640x360,", {}};
  for (const SessionSidecar& sidecar : {sound_, pictures}) {
    ASSERT_TRUE(sidecar.write(path_));
    EXPECT_EQ(sidecar, SessionSidecar::read(path_));
  }
  EXPECT_FALSE(sound_.write(dir_.path() + "/none/session.json"));
}

TEST_F(SessionSidecarTest, DamagedFilesCountAsNone) {
  EXPECT_EQ(std::nullopt, SessionSidecar::read(path_));
  for (
      const char* text :
      {"", "{", "[]", "{\"stream\":1}", "null",
       R"({"stream":256,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":1,"type":2,"fps":1,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":1,"type":0,"fps":1,"name":"n","settings":"","audioHeader":""})",
       R"({"stream":1,"type":0,"fps":1,"name":"12345678901234567890","settings":"s","audioHeader":""})",
       R"({"stream":-1,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":1,"type":-4294967295,"fps":1,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":4294967297,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":1.5,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":1,"type":0,"fps":1e300,"name":"n","settings":"s","audioHeader":""})",
       R"({"stream":1,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":"480"})",
       R"({"stream":1,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":"-1+1"})",
       R"({"stream":1,"type":0,"fps":1,"name":"n","settings":"s","audioHeader":"zz"})"}) {
    contain(text);
    EXPECT_EQ(std::nullopt, SessionSidecar::read(path_)) << text;
  }
}
