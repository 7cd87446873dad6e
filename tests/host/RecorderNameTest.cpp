#include "host/input/RecorderName.h"

#include "tests/host/UsageErrors.h"

using testing::HasSubstr;

TEST(RecorderNameTest, TakesLettersAndDigits) {
  for (const char* name : {"a", "Z9", "0", "cam1", "12345678901234567890123456789012"}) {
    EXPECT_EQ(name, RecorderName::parse(name).text());
  }
}

TEST(RecorderNameTest, RefusesEverythingElse) {
  const std::string hostile[] = {"",
                                 "a b",
                                 "cam-1",
                                 "cam_1",
                                 "../x",
                                 "a/b",
                                 ".ktr",
                                 "cam';--",
                                 "caf\xc3\xa9",
                                 "a\nb",
                                 "%",
                                 "a`b",
                                 "\"",
                                 "$(ls)",
                                 std::string("a\0b", 3),
                                 "123456789012345678901234567890123"};
  for (const std::string& text : hostile) {
    EXPECT_THAT(usageErrorOf([&] { return RecorderName::parse(text); }),
                HasSubstr("1 to 32 letters and digits"))
        << text;
  }
}
