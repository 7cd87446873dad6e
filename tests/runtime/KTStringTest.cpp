#include "runtime/KTString.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>
#include <vector>

namespace {

class KTStringTest : public testing::Test {
 protected:
  static std::vector<std::string> pieces(const KTString& text, char sep = ',') {
    const KTVector<KTString> tokens = text.tokenize(sep);
    std::vector<std::string> texts;
    for (unsigned int i = 0; i < tokens.count(); ++i) texts.emplace_back(tokens[i].view());
    return texts;
  }

  static std::string replaced(KTString text, const KTString& from, const KTString& to, bool all) {
    return std::string(text.replace(from, to, all).view());
  }
};

using Texts = std::vector<std::string>;

TEST_F(KTStringTest, IsEmptyFromTheStart) {
  const KTString text;
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(text.length(), 0U);
  EXPECT_STREQ(text.c_str(), "");
}

TEST_F(KTStringTest, CopiesANulTerminatedText) {
  char source[] = "cam1";
  const KTString text(source);
  source[0] = 'X';
  EXPECT_STREQ(text.c_str(), "cam1");
  EXPECT_EQ(text.length(), 4U);
  EXPECT_FALSE(text.empty());
}

TEST_F(KTStringTest, ReadsANullPointerAsEmpty) {
  const char* none = nullptr;
  EXPECT_TRUE(KTString(none).empty());
}

TEST_F(KTStringTest, HoldsZeroBytes) {
  const KTString text("a\0b", 3);
  EXPECT_EQ(text.length(), 3U);
  EXPECT_TRUE(text == KTString(std::string("a\0b", 3)));
  EXPECT_TRUE(text != KTString("a"));
}

TEST_F(KTStringTest, CopiesAreIndependent) {
  KTString one("one");
  KTString two(one);
  KTString three;
  three = one;
  one += "!";
  EXPECT_STREQ(two.c_str(), "one");
  EXPECT_STREQ(three.c_str(), "one");
  EXPECT_STREQ(one.c_str(), "one!");
}

TEST_F(KTStringTest, SurvivesAssignmentToItself) {
  KTString text("kept");
  const KTString& same = text;
  text = same;
  EXPECT_STREQ(text.c_str(), "kept");
}

TEST_F(KTStringTest, LivesInRawStorage) {
  alignas(KTString) unsigned char raw[sizeof(KTString)];
  KTString* text = new (raw) KTString("a text that is too long for any short form of a string");
  KTString copy(*text);
  text->~KTString();
  EXPECT_EQ(copy.length(), 54U);
}

TEST_F(KTStringTest, TheSharedEmptyStringIsEmpty) {
  EXPECT_TRUE(KTString::EmptyString.empty());
}

TEST_F(KTStringTest, FormatKnowsEveryConversionInUse) {
  const char* all = "%u %d %s %x %08X %#u %#d '%s%%'";  // a literal with %#u would not compile
  KTString text;
  text.format(all, 4294967295U, -1, "name", 255U, 0xA4A5A6A7U, 7U, 8, "path");
  EXPECT_STREQ(text.c_str(), "4294967295 -1 name ff A4A5A6A7 7 8 'path%'");
}

TEST_F(KTStringTest, FormatReplacesTheContentsAndReturnsTheSameString) {
  KTString text("old");
  KTString& result = text.format("%s", "new");
  EXPECT_EQ(&result, &text);
  EXPECT_STREQ(text.c_str(), "new");
}

TEST_F(KTStringTest, FormatHasNoLengthLimit) {
  for (const size_t length : {510U, 511U, 512U, 513U, 1000000U}) {
    KTString text;
    text.format("<%s>", std::string(length, 'x').c_str());
    EXPECT_EQ(text.length(), length + 2);
    EXPECT_EQ(text.view().back(), '>');
  }
}

TEST_F(KTStringTest, FormatMayReadTheStringsOwnText) {
  KTString text("cam");
  text.format("%s/%s", text.c_str(), text.c_str());
  EXPECT_STREQ(text.c_str(), "cam/cam");
}

TEST_F(KTStringTest, AppendsInPlace) {
  KTString text("a");
  EXPECT_EQ(&text.append("b"), &text);
  EXPECT_EQ(&(text += "c"), &text);
  EXPECT_STREQ(text.c_str(), "abc");
}

TEST_F(KTStringTest, AppendsItself) {
  KTString text("ab");
  text += text;
  EXPECT_STREQ(text.c_str(), "abab");
}

TEST_F(KTStringTest, ConcatenatesIntoANewString) {
  const KTString left("left");
  const KTString both = left + "right";
  EXPECT_STREQ(both.c_str(), "leftright");
  EXPECT_STREQ(left.c_str(), "left");
}

TEST_F(KTStringTest, ComparesEveryByteAndTheCase) {
  EXPECT_TRUE(KTString("starttime") == KTString("starttime"));
  EXPECT_FALSE(KTString("starttime") == KTString("StartTime"));
  EXPECT_TRUE(KTString("start") != KTString("starttime"));
  EXPECT_FALSE(KTString("start") != KTString("start"));
}

TEST_F(KTStringTest, ReadsDecimalNumbers) {
  EXPECT_EQ(KTString("42").toInt(0), 42);
  EXPECT_EQ(KTString("-42").toInt(0), -42);
  EXPECT_EQ(KTString("2147483647").toInt(0), INT_MAX);
  EXPECT_EQ(KTString("-2147483648").toInt(0), INT_MIN);
  EXPECT_EQ(KTString("4294967295").toUInt(0), UINT_MAX);
  EXPECT_EQ(KTString("010").toUInt(0), 10U);
}

TEST_F(KTStringTest, ReadsLeadingDigits) {
  EXPECT_EQ(KTString("640x480").toInt(0), 640);
  EXPECT_EQ(KTString("640x480").toUInt(0), 640U);
}

TEST_F(KTStringTest, ReadsNoNumberAsZero) {
  for (const char* text : {"", "abc", "x12", "-", " "}) {
    EXPECT_EQ(KTString(text).toInt(0), 0) << text;
    EXPECT_EQ(KTString(text).toUInt(0), 0U) << text;
  }
}

TEST_F(KTStringTest, UpperCaseIsACopyAndTouchesAsciiLettersOnly) {
  const KTString text("desc_1 \xe9");
  EXPECT_STREQ(text.toUpperCase().c_str(), "DESC_1 \xe9");
  EXPECT_STREQ(text.c_str(), "desc_1 \xe9");
}

TEST_F(KTStringTest, TokenizeKeepsEmptyPieces) {
  EXPECT_EQ(pieces("a,,b"), (Texts{"a", "", "b"}));
  EXPECT_EQ(pieces(",a,"), (Texts{"", "a", ""}));
  EXPECT_EQ(pieces(","), (Texts{"", ""}));
}

TEST_F(KTStringTest, TokenizeGivesTheWholeTextWithoutASeparator) {
  EXPECT_EQ(pieces("a b"), Texts{"a b"});
}

TEST_F(KTStringTest, TokenizeOfAnEmptyTextGivesNoPiece) {
  EXPECT_EQ(pieces(""), Texts{});
}

TEST_F(KTStringTest, TokenizeTakesAnySeparator) {
  EXPECT_EQ(pieces("1;2,3;4", ';'), (Texts{"1", "2,3", "4"}));
}

TEST_F(KTStringTest, SplitsAtTheFirstSeparator) {
  const KTPair<KTString, KTString> parts = KTString("2024-05-06 07:08:09 x").split(" ");
  EXPECT_STREQ(parts.first.c_str(), "2024-05-06");
  EXPECT_STREQ(parts.second.c_str(), "07:08:09 x");
}

TEST_F(KTStringTest, SplitWithoutASeparatorYieldsTheWholeTextAndAnEmptyOne) {
  const KTPair<KTString, KTString> parts = KTString("2024-05-06").split(" ");
  EXPECT_STREQ(parts.first.c_str(), "2024-05-06");
  EXPECT_TRUE(parts.second.empty());
}

TEST_F(KTStringTest, SplitsAtASeparatorOfSeveralBytes) {
  const KTPair<KTString, KTString> parts = KTString("key=>value").split("=>");
  EXPECT_STREQ(parts.first.c_str(), "key");
  EXPECT_STREQ(parts.second.c_str(), "value");
}

TEST_F(KTStringTest, ReplacesEveryOccurrence) {
  EXPECT_EQ(replaced("2024-05-06", "-", "/", true), "2024/05/06");
}

TEST_F(KTStringTest, ReplacesTheFirstOccurrenceOnly) {
  EXPECT_EQ(replaced("2024-05-06", "-", "/", false), "2024/05-06");
}

TEST_F(KTStringTest, ReplaceLooksOnBehindWhatItPutIn) {
  EXPECT_EQ(replaced("aa", "a", "aa", true), "aaaa");
  EXPECT_EQ(replaced("aaa", "a", "", true), "");
}

TEST_F(KTStringTest, ReplaceOfNothingChangesNothing) {
  EXPECT_EQ(replaced("abc", "", "x", true), "abc");
  EXPECT_EQ(replaced("abc", "d", "x", true), "abc");
}

TEST_F(KTStringTest, ReplaceTakesTheStringsOwnText) {
  KTString text("aba");
  EXPECT_EQ(&text.replace("a", text, true), &text);
  EXPECT_STREQ(text.c_str(), "abababa");
}

TEST_F(KTStringTest, HandsOutItsBytesWithoutATerminator) {
  const KTDataBlock block = KTString("abc").dataBlock();
  EXPECT_TRUE(block == KTDataBlock(reinterpret_cast<const unsigned char*>("abc"), 3));
  EXPECT_EQ(KTString().dataBlock().size, 0U);
}

}  // namespace
