#include "host/input/StorageRoot.h"

#include "tests/host/UsageErrors.h"

using testing::HasSubstr;

namespace {

std::string parsed(const std::string& text) {
  return StorageRoot::parse(text, "/home/u").path();
}

std::string refused(const std::string& text) {
  return usageErrorOf([&] { return StorageRoot::parse(text, "/home/u"); });
}

}  // namespace

TEST(StorageRootTest, TakesPlainAbsolutePaths) {
  EXPECT_EQ("/srv/video", parsed("/srv/video"));
  EXPECT_EQ("/srv/My.Video_2-x", parsed("/srv/My.Video_2-x"));
  EXPECT_EQ("/srv/...", parsed("/srv/..."));
}

TEST(StorageRootTest, MakesRelativePathsAbsolute) {
  EXPECT_EQ("/home/u/video", parsed("video"));
  EXPECT_EQ("/home/u/video", parsed("./video"));
  EXPECT_EQ("/home/u", parsed("."));
}

TEST(StorageRootTest, DropsWhatMeansNothing) {
  EXPECT_EQ("/srv/video", parsed("//srv/./video//"));
}

TEST(StorageRootTest, RefusesTheWayUp) {
  for (const char* text : {"..", "../x", "/srv/..", "/srv/../etc", "a/../../b"}) {
    EXPECT_THAT(refused(text), HasSubstr("without '..'")) << text;
  }
}

TEST(StorageRootTest, RefusesOtherCharacters) {
  for (const char* text : {"/srv/my video", "/srv/a;rm", "/srv/$HOME", "/srv/a'b", "/srv/a\"b",
                           "/srv/*", "~/video", "/srv/caf\xc3\xa9", "/srv/a\nb", "/srv/%"}) {
    EXPECT_THAT(refused(text), HasSubstr("none of letters, digits and /._-")) << text;
  }
  EXPECT_THAT(refused(std::string("/srv/a\0b", 8)), HasSubstr("none of letters"));
}

TEST(StorageRootTest, ChecksTheCurrentDirectoryToo) {
  EXPECT_THAT(usageErrorOf([] { return StorageRoot::parse("video", "/home/my user"); }),
              HasSubstr("/home/my user/video"));
}

TEST(StorageRootTest, RefusesTheWholeFileSystem) {
  EXPECT_THAT(refused("/"), HasSubstr("whole file system"));
  EXPECT_THAT(refused("//."), HasSubstr("whole file system"));
}

TEST(StorageRootTest, RefusesNothing) {
  EXPECT_THAT(refused(""), HasSubstr("--root DIR"));
}

TEST(StorageRootTest, RefusesWhatTheDatabaseCannotHold) {
  const std::string longest = "/" + std::string(StorageRoot::MAX_LENGTH - 1, 'a');
  EXPECT_EQ(longest, parsed(longest));
  EXPECT_THAT(refused(longest + "a"), HasSubstr("longer than 200 bytes"));
}

TEST(StorageRootTest, GivesEachRecorderADirectory) {
  const StorageRoot root = StorageRoot::parse("/srv", "/");
  EXPECT_EQ("/srv/cam1", root.recorderDirectory(RecorderName::parse("cam1")));
  EXPECT_EQ("/srv/.ktr", root.serverDirectory());
}
