#include "containers/KTMap.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "runtime/KTString.h"

namespace {

class KTMapTest : public testing::Test {
 protected:
  using Map = KTMap<KTString, KTString>;

  KTMapTest() {
    map_["stream"] = "1";
    map_["starttime"] = "1700000000";
  }

  static std::vector<std::string> keys(const Map& map) {
    std::vector<std::string> names;
    for (const auto& pair : map.list) names.emplace_back(pair.first.view());
    return names;
  }

  const Map& readOnly() const { return map_; }

  Map map_;
};

using Names = std::vector<std::string>;

TEST_F(KTMapTest, IsEmptyFromTheStart) {
  const Map map;
  EXPECT_EQ(map.count(), 0U);
  EXPECT_EQ(map.end, &map.list.head);
}

TEST_F(KTMapTest, FindsTheValueOfAKey) {
  EXPECT_STREQ(map_["stream"].c_str(), "1");
  EXPECT_STREQ(readOnly()["starttime"].c_str(), "1700000000");
}

TEST_F(KTMapTest, KeysAreCaseSensitive) {
  EXPECT_TRUE(readOnly()["StartTime"].empty());
}

TEST_F(KTMapTest, AMissingKeyReadsAsEmptyAndChangesNothing) {
  EXPECT_TRUE(readOnly()["duration"].empty());
  EXPECT_EQ(readOnly()["duration"].toUInt(0), 0U);
  EXPECT_EQ(&readOnly()["duration"], &Map::emptyValue());
  EXPECT_EQ(keys(map_), (Names{"stream", "starttime"}));
}

TEST_F(KTMapTest, AMissingKeyIsAddedAtTheTail) {
  EXPECT_TRUE(map_["duration"].empty());
  EXPECT_EQ(keys(map_), (Names{"stream", "starttime", "duration"}));
  EXPECT_STREQ(map_.list.head.prev->value.first.c_str(), "duration");
}

TEST_F(KTMapTest, WritingAKeyTwiceKeepsOnePairInItsPlace) {
  map_["stream"] = "2";
  EXPECT_STREQ(readOnly()["stream"].c_str(), "2");
  EXPECT_EQ(keys(map_), (Names{"stream", "starttime"}));
}

TEST_F(KTMapTest, OfTwoPairsWithOneKeyTheEarlierIsFound) {
  map_.list.append(KTMapPair<KTString, KTString>("stream", "later"));
  EXPECT_STREQ(map_["stream"].c_str(), "1");
  EXPECT_STREQ(readOnly()["stream"].c_str(), "1");
}

TEST_F(KTMapTest, TellsPresenceFromEmptiness) {
  map_["settings"] = "";
  EXPECT_TRUE(map_.contains("settings"));
  EXPECT_FALSE(map_.contains("duration"));
}

TEST_F(KTMapTest, RemovesEveryPairOfAKey) {
  map_.list.append(KTMapPair<KTString, KTString>("stream", "later"));
  map_.remove("stream");
  EXPECT_EQ(keys(map_), Names{"starttime"});
  map_.remove("stream");
  EXPECT_EQ(map_.count(), 1U);
}

TEST_F(KTMapTest, RemovesTheKeyThatItHandedOut) {
  map_.remove(map_.list.head.next->value.first);
  EXPECT_EQ(keys(map_), Names{"starttime"});
}

TEST_F(KTMapTest, ClearEmptiesAndTheMapCanBeUsedAgain) {
  map_.clear();
  EXPECT_EQ(map_.count(), 0U);
  EXPECT_FALSE(map_.contains("stream"));
  map_["x"] = "1";
  EXPECT_EQ(keys(map_), Names{"x"});
}

TEST_F(KTMapTest, CopiesAreDeep) {
  Map copy(map_);
  Map assigned;
  assigned["old"] = "gone";
  assigned = map_;
  map_["stream"] = "2";
  map_["more"] = "3";
  for (const Map& other : {copy, assigned}) {
    EXPECT_STREQ(other["stream"].c_str(), "1");
    EXPECT_EQ(keys(other), (Names{"stream", "starttime"}));
    EXPECT_EQ(other.end, &other.list.head);
  }
}

TEST_F(KTMapTest, TheEmptyValueOfNumbersAndFlagsIsZero) {
  const KTMap<unsigned int, bool> flags;
  EXPECT_FALSE(flags[7]);
  KTMap<unsigned int, unsigned int> numbers;
  EXPECT_EQ(numbers[7], 0U);
  EXPECT_EQ(numbers.count(), 1U);
}

TEST_F(KTMapTest, IsDestroyedThroughItsVirtualDestructor) {
  static_assert(std::has_virtual_destructor_v<Map>);
}

}  // namespace
