#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>

#include "host/CommandLine.h"
#include "host/HostContext.h"
#include "host/commands/AllCommands.h"
#include "tests/host/EventFixture.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/HostileTexts.h"
#include "tests/support/TempDir.h"

using Words = std::vector<std::string>;

namespace {

/** An option or word of a command: the command with the place where the hostile text goes, "?". */
struct Place {
  const char* command;
  const char* before = "";  // of the text in its word
};

const Place CHECKED[] = {
    {"sessions --root ? --recorder bell"},
    {"sessions --root $R --recorder ?"},
    {"sessions --root $R --recorder bell --stream ?"},
    {"sessions --root $R --recorder bell --server ?"},
    {"?"},
    {"sessions ?"},
    {"events ?"},
    {"server ?"},
    {"server status --root ?"},
    {"server start --root ?"},
    {"server stop --root ?"},
    {"record --root ? --recorder bell 1=x"},
    {"record --root $R --recorder ? 1=x"},
    {"record --root $R --recorder bell ?"},
    {"record --root $R --recorder bell ?", "1="},
    {"record --root $R --recorder bell ?", "1=@"},
    {"record --root $R --recorder bell 1=rtsp://c --for ?"},
    {"record --root $R --recorder bell 1=rtsp://c --slice-size ?"},
    {"record --root $R --recorder bell 1=rtsp://c --max-size ?"},
    {"record --root $R --recorder bell 1=rtsp://c --max-age ?"},
    {"record --root $R --recorder bell 1=rtsp://c --min-free ?"},
    {"record --root $R --recorder bell 1=rtsp://c --keep-at-least ?"},
    {"record --root $R --recorder bell 1=rtsp://c --by-events --post-event ?"},
    {"record --root $R --recorder bell 1=rtsp://c --by-events ?"},
    {"record --root $R --recorder bell 1=rtsp://c --spool-size ?"},
    {"record --root $R --recorder bell 1=$R/none --frame-log ?"},
    {"play --root ? --recorder bell --stream 1 --at now -o -"},
    {"play --root $R --recorder ? --stream 1 --at now -o -"},
    {"play --root $R --recorder bell --stream ? --at now -o -"},
    {"play --root $R --recorder bell --stream 1 --at ? -o -"},
    {"play --root $R --recorder bell --stream 1 --at now --for ? -o -"},
    {"play --root $R --recorder bell --stream 1 --at now -o ?"},
    {"check --root ? --recorder bell"},
    {"check --root $R --recorder ?"},
    {"check --root $R --recorder bell --server ?"},
    {"check --root $R --recorder bell --level ?"},
    {"repair --root ? --recorder bell"},
    {"repair --root $R --recorder ?"},
    {"repair --root $R --recorder bell --server ?"},
    {"repair --root $R --recorder bell --stream ?"},
    {"events add --root ? --recorder bell --sensor 1 --type 1"},
    {"events add --root $R --recorder ? --sensor 1 --type 1"},
    {"events add --root $R --recorder bell --sensor ? --type 1"},
    {"events add --root $R --recorder bell --sensor 1 --type ?"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --id ?"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --at ?"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --data ?", "@"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --confirm --stream ?"},
    {"events list --root $R --recorder ?"},
    {"events list --root $R --recorder bell --sensor ?"},
    {"events list --root $R --recorder bell --from ?"},
    {"events list --root $R --recorder bell --from 1 --for ?"},
    {"events watch --root $R --recorder ?"},
    {"events watch --root $R --recorder bell --sensor ?"},
    {"events watch --root $R --recorder bell --from ?"},
    {"events watch --root $R --recorder bell --for ?"},
    {"retain --root ? --recorder bell"},
    {"retain --root $R --recorder ?"},
    {"retain --root $R --recorder bell --max-size ?"},
    {"retain --root $R --recorder bell --max-age ?"},
    {"retain --root $R --recorder bell --min-free ?"},
    {"retain --root $R --recorder bell --keep-at-least ?"},
};

// The whole command line of ktr, given every hostile text at every place where a text can stand.
class HostileArgumentsTest : public EventFixture {
 protected:
  HostileArgumentsTest() { HostileTexts::removeTraces(); }

  int run(const Words& words) {
    std::vector<const char*> arguments{"ktr"};
    for (const std::string& word : words) arguments.push_back(word.c_str());
    out_.str("");
    err_.str("");
    HostContext context(out_, err_);
    return CommandLine(makeAllCommands())
        .run(static_cast<int>(arguments.size()), arguments.data(), context);
  }
  [[nodiscard]] static Words wordsOf(const Place& place, const std::string& text) {
    std::istringstream command(place.command);
    Words words;
    for (std::string word; command >> word;) {
      const size_t root = word.find("$R");
      if (root != std::string::npos) word.replace(root, 2, HostTestRoot::shared().path());
      if (word == "?") word = place.before + text;
      words.push_back(word);
    }
    return words;
  }
  [[nodiscard]] static Words files() {
    Words paths;
    const std::filesystem::path root = HostTestRoot::shared().path();
    for (const auto& entry : std::filesystem::directory_iterator(root)) {
      paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  void expectDataOnly() {
    for (const std::string& statement : calls_.statements()) {
      EXPECT_FALSE(HostileTexts::escapedInto(statement)) << statement;
    }
    EXPECT_TRUE(HostileTexts::traces().empty());
  }

  ClientCalls calls_;
  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(HostileArgumentsTest, AreRefusedInOneLineBeforeAnythingIsDone) {
  const Words before = files();
  const Words& texts = HostileTexts::all();
  ASSERT_GE(texts.size(), 200U);
  size_t first = 0;
  for (const Place& place : CHECKED) {
    first = 1 - first;  // each place gets every other text, a hundred of them
    for (size_t i = first; i < texts.size(); i += 2) {
      const std::string& text = texts[i];
      calls_.forget();
      EXPECT_NE(run(wordsOf(place, text)), 0) << place.command << ": " << text;
      EXPECT_EQ(std::count(err_.view().begin(), err_.view().end(), '\n'), 1) << err_.str();
      EXPECT_EQ(out_.str(), "") << place.command << ": " << text;
      EXPECT_TRUE(calls_.statements().empty()) << place.command << ": " << text;
    }
  }
  expectDataOnly();
  EXPECT_EQ(files(), before);
}

// Any text names a file, so that a player looks for the recording first; there is none.
TEST_F(HostileArgumentsTest, AreNamesOfFilesWhereAFileIsWanted) {
  const Place place{"play --root $R --recorder bell --stream 1 --at now -o - --frame-log ?"};
  const Words before = files();
  for (const std::string& text : HostileTexts::all()) {
    EXPECT_NE(run(wordsOf(place, text)), 0) << text;
    EXPECT_EQ(std::count(err_.view().begin(), err_.view().end(), '\n'), 1) << err_.str();
    EXPECT_EQ(out_.str(), "") << text;
  }
  expectDataOnly();
  EXPECT_EQ(files(), before);
}

TEST_F(HostileArgumentsTest, AreDataWhereDataIsWanted) {
  unsigned int added = 0;
  for (const std::string& whole : HostileTexts::all()) {
    const std::string text = whole.c_str();  // a word ends at a zero byte
    if (text.size() > StoredEvent::MAX_DATA) continue;
    StoredEvent stored;
    stored.time = NOW;
    stored.data = text;
    catalog_.add(stored);
    ++added;
    const std::vector<StoredEvent> events = catalog_.read({});
    ASSERT_EQ(events.size(), added);
    EXPECT_NE(std::find(events.begin(), events.end(), stored), events.end()) << text;
  }
  EXPECT_GE(added, 100U);
  expectDataOnly();
}

}  // namespace
