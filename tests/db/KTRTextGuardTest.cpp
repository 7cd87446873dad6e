#include "db/KTRTextGuard.h"

#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"

namespace {

using Guard = KTRTextGuard;

constexpr const char* LEAVES = "it does not stay between its quotes";

TEST(KTRTextGuardTest, ANameHasWhatADatabaseCanBeCalled) {
  for (const char* name : {"ktr_cam", "KTR_1", "a-b", "a$b", "k\xC3\xA4se", ""}) {
    EXPECT_EQ(Guard::refusal(Guard::Name, name), nullptr) << name;
  }
  for (const char* name : {"a b", "a'b", "a\"b", "a`b", "a\\b", "a;b", "a%b", "a.b", "a/b", "a*b",
                           "a(b", "a\nb", "a#b", "a@b", "a,b", "a=b", "../a"}) {
    EXPECT_STREQ(Guard::refusal(Guard::Name, name), "a name has letters, digits and _ $ - only")
        << name;
  }
}

TEST(KTRTextGuardTest, AQuotedTextStaysBetweenItsQuotes) {
  for (const char* text : {"", "25,0,h264,1920x1080,main", "/data/rec", "a b", "a;--", "a\"b", "%",
                           "it\\'s", "it''s", "\\\\", "a\\nb", "a\nb", "\xC3\xA4", "''''"}) {
    EXPECT_EQ(Guard::refusal(Guard::Quoted, text), nullptr) << text;
  }
  for (const char* text :
       {"'", "it's", "a'", "'''", "\\", "a\\", "\\\\'", "\\''", "'\\'", "a'''b"}) {
    EXPECT_STREQ(Guard::refusal(Guard::Quoted, text), LEAVES) << text;
  }
  EXPECT_STREQ(Guard::refusal(Guard::Quoted, KTString("a\\\0b", 4)), LEAVES);
  EXPECT_STREQ(Guard::refusal(Guard::Quoted, KTString("a\0b", 3)), LEAVES);
}

TEST(KTRTextGuardTest, AConditionIsOneOnTheNumbersOfEvents) {
  for (const char* text :
       {"", " ORDER BY timeStamp ", "WHERE timeStamp >= 100 AND timeStamp < 160  AND  sensorID=3 ",
        " WHERE sensorID IN (1,2) or not (eventType<>4) order by eventID desc limit 10, 5"}) {
    EXPECT_EQ(Guard::refusal(Guard::Condition, text), nullptr) << text;
  }
  for (const char* text :
       {"WHERE 1 UNION SELECT 1", "WHERE sensorID=1; DROP TABLE eventsList", "WHERE data='x'",
        "WHERE 1 -- ", "WHERE 1 # ", "WHERE 1 /* */", "WHERE SLEEP(9)", "INTO OUTFILE",
        "WHERE id=@@version", "WHERE `id`=1", "WHERE id=\"1\"", "WHERE id=0x31", "WHERE\tid=1"}) {
    EXPECT_STREQ(Guard::refusal(Guard::Condition, text),
                 "it is more than a condition on the numbers of events")
        << text;
  }
}

TEST(KTRTextGuardTest, AConditionHasTheseWordsInAnyCaseAndNoOther) {
  for (const char* word :
       {"WHERE", "AND", "OR", "NOT", "IN", "ORDER", "BY", "ASC", "DESC", "LIMIT", "BETWEEN", "ID",
        "SENSORID", "TIMESTAMP", "EVENTID", "EVENTTYPE", " ,()<>=!", "0123456789"}) {
    EXPECT_EQ(Guard::refusal(Guard::Condition, word), nullptr) << word;
  }
  for (const char* word : {"WHERES", "DATA", "SELECT", "UNION", "HAVING", "INTO", "A", "_"}) {
    EXPECT_NE(Guard::refusal(Guard::Condition, word), nullptr) << word;
  }
}

TEST(KTRTextGuardTest, ARefusalIsLoggedOnceAsAnError) {
  const LogCapture log;
  EXPECT_TRUE(Guard::allows(Guard::Quoted, "a b"));
  EXPECT_TRUE(log.lines().empty());
  EXPECT_FALSE(Guard::allows(Guard::Quoted, "it's"));
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{
                {128, "[ TEXT REFUSED ] 'it's' : it does not stay between its quotes"}}));
}

}  // namespace
