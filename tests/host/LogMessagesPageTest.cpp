#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/support/FileText.h"

namespace {

namespace fs = std::filesystem;

const std::map<std::string, std::string> PRIORITIES = {
    {"Information", "16"}, {"Warning", "64"}, {"Error", "128"}};

// One call of the logger: the priority, and its text or the name of what holds it.
struct Call {
  std::string file;
  size_t position;
  std::string priority;
  std::string text;
  std::string variable;  // empty when the text stands in the call
};

// The page of all log lines beside the sources that log them.
class LogMessagesPageTest : public testing::Test {
 protected:
  using Rows = std::set<std::pair<std::string, std::string>>;  // text and priority

  static const std::map<std::string, std::string>& sources() {
    static const std::map<std::string, std::string> all = [] {
      std::map<std::string, std::string> found;
      for (const char* room : {"runtime", "containers", "store", "db", "tables", "handles",
                               "recording", "playback", "host"}) {
        for (const auto& entry :
             fs::recursive_directory_iterator(std::string(KTR_SOURCE_DIR "/") + room)) {
          const std::string path = entry.path();
          if (path.ends_with(".cpp") || path.ends_with(".h")) found[path] = contents(path);
        }
      }
      return found;
    }();
    return all;
  }

  // String literals that follow each other from a place on, put together as the compiler does.
  static std::string literals(const std::string& source, size_t from) {
    static const std::regex LITERAL(R"(^\s*"((?:[^"\\]|\\.)*)\")");
    std::string text;
    std::smatch match;
    std::string rest = source.substr(from, 2000);
    while (std::regex_search(rest, match, LITERAL)) {
      text += match[1];
      rest = match.suffix();
    }
    return text;
  }

  static std::vector<Call> calls() {
    static const std::regex CALL(
        R"((?:instance\(\)|logger\(\))->log\(\s*KTLogger::(\w+),\s*(\w*))");
    std::vector<Call> found;
    for (const auto& [file, source] : sources()) {
      for (std::sregex_iterator each(source.begin(), source.end(), CALL), end; each != end;
           ++each) {
        const std::smatch& match = *each;
        const auto position = static_cast<size_t>(match.position());
        const size_t behind = position + static_cast<size_t>(match.length());
        found.push_back(
            {file, position, PRIORITIES.at(match[1]), literals(source, behind), match[2]});
        // A bare "%s" hands on a text that the function around the call was given.
        const std::regex handedOn(R"(^\s*"%s",\s*(\w+)\))");
        std::smatch handed;
        const std::string rest = source.substr(behind, 100);
        if (std::regex_search(rest, handed, handedOn)) found.back().variable = handed[1];
      }
    }
    return found;
  }

  // The name of the function that a call stands in and that takes the text as an argument.
  static std::string functionAround(const Call& call) {
    const std::string before = sources().at(call.file).substr(0, call.position);
    const std::regex head("(\\w+)\\([^()]*const char\\* " + call.variable + "\\b");
    std::string name;
    for (std::sregex_iterator each(before.begin(), before.end(), head), end; each != end; ++each) {
      name = (*each)[1];
    }
    return name;
  }

  // The texts that a function is given wherever it is called.
  static std::set<std::string> textsGivenTo(const std::string& function) {
    const std::regex use("\\b" + function + R"(\((?:[\w()]+,\s+)?(?=\s*"))");
    std::set<std::string> texts;
    for (const auto& [file, source] : sources()) {
      for (std::sregex_iterator each(source.begin(), source.end(), use), end; each != end; ++each) {
        texts.insert(literals(source, static_cast<size_t>(each->position() + each->length())));
      }
    }
    return texts;
  }

  static Rows logged() {
    Rows rows;
    for (const Call& call : calls()) {
      if (call.variable.empty()) {
        rows.emplace(call.text, call.priority);
        continue;
      }
      for (const std::string& text : textsGivenTo(functionAround(call))) {
        rows.emplace(text, call.priority);
      }
    }
    return rows;
  }

  static Rows onThePage() {
    static const std::regex ROW("\n\\| `([^`\n]*)` \\| (\\d+) \\| [^|\n]+ \\| [^|\n]+ \\|(?=\n)");
    const std::string page = contents(KTR_SOURCE_DIR "/docs/reference/log-messages.md");
    Rows rows;
    for (std::sregex_iterator each(page.begin(), page.end(), ROW), end; each != end; ++each) {
      rows.emplace((*each)[1], (*each)[2]);
    }
    return rows;
  }
};

TEST_F(LogMessagesPageTest, EveryCallIsUnderstood) {
  EXPECT_GT(calls().size(), 70U);
  for (const Call& call : calls()) {
    EXPECT_TRUE(!call.text.empty() || !call.variable.empty()) << call.file << " " << call.position;
    if (call.variable.empty()) continue;
    const std::string function = functionAround(call);
    EXPECT_FALSE(function.empty()) << call.file << ": who gives " << call.variable << "?";
    EXPECT_FALSE(textsGivenTo(function).empty()) << function;
  }
}

TEST_F(LogMessagesPageTest, EveryLineStandsThereLetterForLetterWithItsPriority) {
  const Rows page = onThePage();
  for (const auto& [text, priority] : logged()) {
    EXPECT_EQ(page.count({text, priority}), 1U) << "missing: | `" << text << "` | " << priority;
  }
}

}  // namespace
