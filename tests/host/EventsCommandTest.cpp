#include "host/commands/EventsCommand.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>

#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

/** Runs the program on a root with the recorder "cam". */
class EventsCommandTest : public testing::Test {
 protected:
  EventsCommandTest() {
    ServerConnection connection;
    EXPECT_TRUE(connection.connectTo(root_.paths().socket(), OptionFile::currentUser()));
    (void)connection.value("CREATE DATABASE ktr_cam");
  }

  /** Runs a shell text in which E is ktr events, R the storage root and $O where it is named. */
  int shell(const std::string& text) {
    const std::string program = fs::read_symlink("/proc/self/exe").parent_path() / "ktr";
    const std::string command = "export TZ=UTC; K=" + program + " R=" + root_.path() +
                                " O='--root " + root_.path() + " --recorder cam'; { " + text +
                                "; } >" + dir_.path() + "/out 2>" + dir_.path() + "/err </dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  [[nodiscard]] std::string out() const { return contents("/out"); }
  [[nodiscard]] std::string err() const { return contents("/err"); }

  HostTestRoot root_;
  TempDir dir_;
  ServerLease lease_ = ServerLease::acquire(root_.paths());

 private:
  [[nodiscard]] std::string contents(const std::string& name) const {
    std::ifstream file(dir_.path() + name);
    return {std::istreambuf_iterator<char>(file), {}};
  }
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
  TestClip::make(root_.path() + "/clip.mp4");
  EXPECT_EQ(0, shell("$K events add $O --sensor 5 --type 1 --at 1000 && "
                     "$K record $O 1=$R/clip.mp4 && "
                     "s=$($K sessions $O --json | sed -n 's/.*\"end\": \\([0-9]*\\),/\\1/p') && "
                     "$K events add $O --sensor 6 --type 1 --at $s && $K sessions $O --json >$R/j "
                     "&& $K sessions $O"))
      << err();
  EXPECT_THAT(out(), HasSubstr("\nevents      "));
  EXPECT_THAT(out(), HasSubstr("! event"));
  const json events = json::parse(std::ifstream(root_.path() + "/j"))["events"];
  ASSERT_EQ(1U, events.size());
  EXPECT_EQ(6, events[0]["sensor"]);
}
