#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <string>

#include "tests/support/FileText.h"

namespace {

namespace fs = std::filesystem;

// The page of promises beside the tests that it names and the code that bears its steps.
class DurabilityPageTest : public testing::Test {
 protected:
  using Names = std::set<std::string>;

  static Names all(const std::string& text, const char* pattern) {
    const std::regex wanted(pattern);
    Names found;
    for (std::sregex_iterator each(text.begin(), text.end(), wanted), end; each != end; ++each) {
      found.insert((*each)[1]);
    }
    return found;
  }
  // Everything in the sources of some rooms that matches.
  static Names inSources(const std::initializer_list<const char*>& rooms, const char* pattern) {
    Names found;
    for (const char* room : rooms) {
      for (const auto& entry : fs::recursive_directory_iterator(fs::path(KTR_SOURCE_DIR) / room)) {
        if (entry.path().extension() == ".cpp") found.merge(all(contents(entry), pattern));
      }
    }
    return found;
  }

  const std::string page_ = contents(KTR_SOURCE_DIR "/docs/design/durability.md");
};

TEST_F(DurabilityPageTest, EveryTestThatItNamesExists) {
  Names cases;
  for (const auto& entry : fs::recursive_directory_iterator(KTR_SOURCE_DIR "/tests")) {
    if (entry.path().extension() != ".cpp") continue;
    const std::string suite = entry.path().stem();
    cases.insert(suite);
    for (const std::string& name : all(contents(entry), R"(\nTEST(?:_F|_P)?\(\s*\w+,\s*(\w+)\))")) {
      cases.insert(suite + "." + name);
    }
  }
  const Names named = all(page_, R"(`(\w+Test(?:\.\w+)?)`)");
  EXPECT_LT(20U, named.size());
  for (const std::string& name : named) EXPECT_TRUE(cases.contains(name)) << name;
}

TEST_F(DurabilityPageTest, EveryCrashTestIsNamed) {
  const Names named = all(page_, R"(`(\w+Test)\.)");
  for (const auto& entry : fs::directory_iterator(KTR_SOURCE_DIR "/tests/crash")) {
    const std::string suite = entry.path().stem();
    EXPECT_TRUE(!suite.ends_with("Test") || named.contains(suite)) << suite;
  }
}

TEST_F(DurabilityPageTest, TheCodeBearsEveryStepAndNoOther) {
  Names steps = all(page_, R"(\n\| ([CFREDP]\d+) \|)");
  EXPECT_LT(20U, steps.size());
  EXPECT_EQ(steps, inSources({"store", "tables", "handles", "recording", "host"},
                             R"([Ss]tep ([CFREDP]\d+)\b)"));
}

}  // namespace
