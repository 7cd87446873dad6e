#include "containers/KTDLList.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "runtime/KTString.h"

namespace {

// Counts its living objects.
class Counted {
 public:
  explicit Counted(int n = 0) : number(n) { ++alive; }
  Counted(const Counted& other) : number(other.number) { ++alive; }
  Counted& operator=(const Counted&) = default;
  ~Counted() { --alive; }

  int number;
  static inline int alive = 0;
};

class KTDLListTest : public testing::Test {
 protected:
  static KTDLList<int> listOf(const std::vector<int>& values) {
    KTDLList<int> list;
    for (const int value : values) list.append(value);
    return list;
  }

  static std::vector<int> forward(const KTDLList<int>& list) {
    std::vector<int> values;
    for (const int value : list) values.push_back(value);
    return values;
  }

  static std::vector<int> backward(const KTDLList<int>& list) {
    std::vector<int> values;
    for (const auto* node = list.head.prev; node != &list.head; node = node->prev) {
      values.push_back(node->value);
    }
    return values;
  }
};

using Values = std::vector<int>;

TEST_F(KTDLListTest, AnEmptyListPointsAtItsSentinel) {
  const KTDLList<int> list;
  EXPECT_EQ(list.head.next, &list.head);
  EXPECT_EQ(list.head.prev, &list.head);
  EXPECT_EQ(list.count, 0U);
  EXPECT_TRUE(list.empty());
}

TEST_F(KTDLListTest, AppendsAtTheTailAndPrependsAtTheHead) {
  KTDLList<int> list = listOf({2, 3});
  EXPECT_EQ(list.append(4), list.head.prev);
  EXPECT_EQ(list.prepend(1), list.head.next);
  EXPECT_EQ(forward(list), (Values{1, 2, 3, 4}));
  EXPECT_EQ(backward(list), (Values{4, 3, 2, 1}));
  EXPECT_EQ(list.count, 4U);
  EXPECT_FALSE(list.empty());
}

TEST_F(KTDLListTest, WalksFromTheFirstNodeToTheSentinel) {
  KTDLList<int> list = listOf({1, 2, 3});
  int sum = 0;
  for (auto* node = list.head.next; node != &list.head; node = node->next) sum += node->value;
  EXPECT_EQ(sum, 6);
}

TEST_F(KTDLListTest, AWalkMayChangeTheValues) {
  KTDLList<int> list = listOf({1, 2});
  for (int& value : list) value *= 10;
  EXPECT_EQ(forward(list), (Values{10, 20}));
}

TEST_F(KTDLListTest, RemovesAnyNode) {
  KTDLList<int> list = listOf({1, 2, 3, 4});
  list.remove(list.head.next->next);
  EXPECT_EQ(forward(list), (Values{1, 3, 4}));
  list.remove(list.head.next);
  list.remove(list.head.prev);
  EXPECT_EQ(forward(list), Values{3});
  EXPECT_EQ(backward(list), Values{3});
  list.remove(list.head.next);
  EXPECT_EQ(list.head.next, &list.head);
  EXPECT_EQ(list.count, 0U);
}

TEST_F(KTDLListTest, ClearEmptiesAndTheListCanBeUsedAgain) {
  KTDLList<int> list = listOf({1, 2});
  list.clear();
  EXPECT_TRUE(list.empty());
  list.append(3);
  EXPECT_EQ(forward(list), Values{3});
}

TEST_F(KTDLListTest, HoldsCopies) {
  KTDLList<KTString> list;
  KTString text("one");
  list.append(text);
  text += "!";
  EXPECT_STREQ(list.head.next->value.c_str(), "one");
}

TEST_F(KTDLListTest, CopiesAreDeep) {
  KTDLList<int> list = listOf({1, 2});
  KTDLList<int> copy(list);
  KTDLList<int> assigned = listOf({7, 8, 9});
  assigned = list;
  list.head.next->value = 100;
  list.append(3);
  EXPECT_EQ(forward(copy), (Values{1, 2}));
  EXPECT_EQ(forward(assigned), (Values{1, 2}));
  EXPECT_EQ(assigned.count, 2U);
}

TEST_F(KTDLListTest, SurvivesAssignmentToItself) {
  KTDLList<int> list = listOf({1, 2});
  const KTDLList<int>& same = list;
  list = same;
  EXPECT_EQ(forward(list), (Values{1, 2}));
}

TEST_F(KTDLListTest, DestroysEveryValue) {
  {
    KTDLList<Counted> list;
    for (int i = 0; i < 5; ++i) list.append(Counted(i));
    EXPECT_EQ(Counted::alive, 6);  // the sentinel's value too
    list.remove(list.head.next);
    EXPECT_EQ(Counted::alive, 5);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST_F(KTDLListTest, AnEmptyListOwnsNothingButTheSentinelsValue) {
  {
    const KTDLList<Counted> list;
    EXPECT_EQ(Counted::alive, 1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST_F(KTDLListTest, IsDestroyedThroughItsVirtualDestructor) {
  static_assert(std::has_virtual_destructor_v<KTDLList<int>>);
  static_assert(std::has_virtual_destructor_v<KTDLListNode<int>>);
}

}  // namespace
