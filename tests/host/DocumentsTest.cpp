#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "tests/support/FileText.h"

namespace {

namespace fs = std::filesystem;

// The documents as a whole: a reader who begins at the index reaches each, and no link is dead.
class DocumentsTest : public testing::Test {
 protected:
  const fs::path docs_ = KTR_SOURCE_DIR "/docs";

  template <typename Visit>
  void forEachPage(Visit visit) const {
    for (const auto& entry : fs::recursive_directory_iterator(docs_)) {
      if (entry.path().extension() == ".md") visit(entry.path());
    }
  }
};

TEST_F(DocumentsTest, IndexNamesEveryPageOfTheGuideTheReferenceAndTheDesign) {
  const std::string index = contents(docs_ / "README.md");
  for (const char* part : {"guide", "reference", "design", "format"}) {
    for (const auto& entry : fs::directory_iterator(docs_ / part)) {
      const fs::path& page = entry.path();
      if (page.extension() != ".md" || page.filename() == "mainpage.md") continue;
      EXPECT_NE(index.find("(" + page.lexically_relative(docs_).string() + ")"), std::string::npos)
          << page;
    }
  }
}

TEST_F(DocumentsTest, EveryLinkLeadsToAFile) {
  static const std::regex LINK(R"(\]\(([^)#:\s]+)\))");
  forEachPage([](const fs::path& page) {
    const std::string text = contents(page);
    for (std::sregex_iterator each(text.begin(), text.end(), LINK), end; each != end; ++each) {
      const std::string target = (*each)[1];
      EXPECT_TRUE(fs::exists(page.parent_path() / target)) << page << ": " << target;
    }
  });
}

}  // namespace
