#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "host/CommandLine.h"
#include "host/HostContext.h"
#include "host/commands/AllCommands.h"
#include "host/pages/OptionText.h"
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
    {"server status --root $R --server ?"},
    {"server start --root ?"},
    {"server start --root $R --server ?"},
    {"server stop --root ?"},
    {"server stop --root $R --server ?"},
    {"record --root ? --recorder bell --for 1s 1=rtsp://c"},
    {"record --root $R --recorder ? --for 1s 1=rtsp://c"},
    {"record --root $R --recorder bell --server ? --for 1s 1=rtsp://c"},
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
    {"play --root $R --recorder bell --server ? --stream 1 --at now -o -"},
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
    {"events add --root $R --recorder bell --server ? --sensor 1 --type 1"},
    {"events add --root $R --recorder bell --sensor ? --type 1"},
    {"events add --root $R --recorder bell --sensor 1 --type ?"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --id ?"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --at ?"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --data ?", "@"},
    {"events add --root $R --recorder bell --sensor 1 --type 1 --confirm --stream ?"},
    {"events list --root ? --recorder bell"},
    {"events list --root $R --recorder ?"},
    {"events list --root $R --recorder bell --server ?"},
    {"events list --root $R --recorder bell --sensor ?"},
    {"events list --root $R --recorder bell --from ?"},
    {"events list --root $R --recorder bell --from 1 --for ?"},
    {"events watch --root ? --recorder bell --for 1s"},
    {"events watch --root $R --recorder ? --for 1s"},
    {"events watch --root $R --recorder bell --server ? --for 1s"},
    {"events watch --root $R --recorder bell --sensor ? --for 1s"},
    {"events watch --root $R --recorder bell --from ? --for 1s"},
    {"events watch --root $R --recorder bell --for ?"},
    {"retain --root ? --recorder bell"},
    {"retain --root $R --recorder ?"},
    {"retain --root $R --recorder bell --server ?"},
    {"retain --root $R --recorder bell --max-size ?"},
    {"retain --root $R --recorder bell --max-age ?"},
    {"retain --root $R --recorder bell --min-free ?"},
    {"retain --root $R --recorder bell --keep-at-least ?"},
    {"bench --short --root ? append"},
    {"bench --short --root $R --runs ? append"},
    {"bench --short --root $R ?"},
    {"bench --short --root $R append ?"},
};

// Any text names a file, so that a player looks for the recording first; there is none.
const Place A_FILE{"play --root $R --recorder bell --stream 1 --at now -o - --frame-log ?"};

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
  /** The option or argument of the program that a place gives its text to; null for none. */
  [[nodiscard]] static const CLI::Option* filledBy(const Place& place, const CLI::App& program) {
    const CLI::App* command = &program;
    const CLI::Option* wants = nullptr;
    std::istringstream words(place.command);
    for (std::string word; words >> word && word != "?";) {
      const auto parts = command->get_subcommands(
          [&word](const CLI::App* part) { return part->check_name(word); });
      if (!parts.empty()) command = parts.front();
      wants = word.starts_with("-") ? command->get_option_no_throw(word) : nullptr;
    }
    if (wants != nullptr) return wants;
    const std::vector<const CLI::Option*> arguments = OptionText::arguments(*command);
    return arguments.empty() ? nullptr : arguments.front();
  }
  /** Names those of a command's options and arguments that take a text and are not among tried. */
  static void expectTried(const CLI::App& command, const std::set<const CLI::Option*>& tried) {
    for (const CLI::Option* option : command.get_options()) {
      if (option->get_items_expected_max() == 0) continue;
      EXPECT_TRUE(tried.contains(option))
          << OptionText::path(command) << " " << option->get_name() << " has no place in CHECKED";
    }
    for (const CLI::App* part : OptionText::commands(command)) expectTried(*part, tried);
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

TEST_F(HostileArgumentsTest, StandAtEveryOptionAndArgumentThatTakesAText) {
  CLI::App program;
  const CommandLine line(makeAllCommands());
  (void)line.define(program);
  std::set<const CLI::Option*> tried{filledBy(A_FILE, program)};
  for (const Place& place : CHECKED) tried.insert(filledBy(place, program));
  EXPECT_GE(tried.size(), 60U);
  expectTried(program, tried);
}

TEST_F(HostileArgumentsTest, AreNamesOfFilesWhereAFileIsWanted) {
  const Words before = files();
  for (const std::string& text : HostileTexts::all()) {
    EXPECT_NE(run(wordsOf(A_FILE, text)), 0) << text;
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
