#include "host/commands/EventsCommand.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "host/server/ServerLease.h"
#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

/** Runs the program on a root with the recorder "cam". */
class EventsCommandTest : public ProgramFixture {
 protected:
  void SetUp() override {
    root_ = std::make_unique<HostTestRoot>();
    lease_.emplace(ServerLease::acquire(root_->paths()));
    ServerConnection connection;
    ASSERT_TRUE(connection.connectTo(root_->paths().socket(), OptionFile::currentUser()));
    (void)connection.value("CREATE DATABASE ktr_cam");
  }

  /** As ProgramFixture::shell(), in UTC, and $O names root and recorder. */
  int shell(const std::string& text) {
    return ProgramFixture::shell("export TZ=UTC; O=\"--root $R --recorder cam\"; " + text);
  }

  std::optional<ServerLease> lease_;  // one server for all commands of a case
};

}  // namespace

TEST_F(EventsCommandTest, AddsAndLists) {
  EXPECT_EQ(0, shell("$K events add $O --sensor 3 --type 1 --id 9 --at 1767348000 --data 'a b' && "
                     "$K events add $O --sensor 4 --type 2 --at 1767348060"))
      << err();
  EXPECT_THAT(out(), HasSubstr("added: 2026-01-02 10:00:00  sensor 3  type 1  id 9  a b\n"));
  EXPECT_EQ(0, shell("$K events list $O --from 1767348000 --for 2m --newest-first"));
  EXPECT_EQ(
      "TIME                 SENSOR  TYPE  ID  DATA\n"
      "2026-01-02 10:01:00       4     2   0\n"
      "2026-01-02 10:00:00       3     1   9  a b\n",
      out());
  EXPECT_EQ(0, shell("$K events list $O --sensor 3 --json"));
  EXPECT_EQ(1U, json::parse(out())["events"].size());
}

TEST_F(EventsCommandTest, Watches) {
  EXPECT_EQ(0, shell("$K events watch $O --json >$R/seen & w=$!; sleep 1; "
                     "$K events add $O --sensor 1 --type 2 >/dev/null; "
                     "i=0; while ! [ -s $R/seen ] && [ $i -lt 300 ]; do sleep 0.1; i=$((i+1)); "
                     "done; kill -INT $w; wait $w && cat $R/seen"))
      << err();
  EXPECT_EQ(2, json::parse(out())["type"]);
}

TEST_F(EventsCommandTest, StopsWatchingAfterATime) {
  EXPECT_EQ(0, shell("$K events add $O --sensor 1 --type 2 --at 1767348000 >/dev/null && "
                     "$K events watch $O --from 1767348000 --for 1s"))
      << err();
  EXPECT_EQ("2026-01-02 10:00:00  sensor 1  type 2  id 0\n", out());
}

TEST_F(EventsCommandTest, ChecksWhatItIsGiven) {
  EXPECT_EQ(2, shell("$K events add $O --sensor x --type 1"));
  EXPECT_EQ(2, shell("$K events add $O --sensor 1"));
  EXPECT_EQ(2, shell("$K events list $O --for 1h"));
  EXPECT_EQ(2, shell("$K events"));
  EXPECT_EQ(2, shell("$K events add $O --sensor 1 --type 1 --data " + std::string(256, 'x')));
  EXPECT_THAT(err(), HasSubstr("at most 255 bytes"));
  EXPECT_EQ(1, shell("$K events list --root $R --recorder nobody"));
  EXPECT_THAT(err(), HasSubstr("the recorders here are cam"));
}

TEST_F(EventsCommandTest, ShowsEventsAmongTheSessions) {
  TestClip::make(root_->path() + "/clip.mp4");
  EXPECT_EQ(0, shell("$K events add $O --sensor 5 --type 1 --at 1000 && "
                     "$K record $O 1=$R/clip.mp4 && "
                     "s=$($K sessions $O --json | sed -n 's/.*\"end\": \\([0-9]*\\),/\\1/p') && "
                     "$K events add $O --sensor 6 --type 1 --at $s && $K sessions $O --json >$R/j "
                     "&& $K sessions $O"))
      << err();
  EXPECT_THAT(out(), HasSubstr("\nevents      "));
  EXPECT_THAT(out(), HasSubstr("! event"));
  const json events = json::parse(std::ifstream(root_->path() + "/j"))["events"];
  ASSERT_EQ(1U, events.size());
  EXPECT_EQ(6, events[0]["sensor"]);
}
