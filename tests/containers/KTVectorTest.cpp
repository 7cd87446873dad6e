#include "containers/KTVector.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "runtime/KTString.h"

namespace {

// Notes the number of each object at its destruction, and where it lives.
class Watched {
 public:
  explicit Watched(int n = -1) : number(n), self_(this) { ++alive; }
  Watched(const Watched& other) : number(other.number), self_(this) { ++alive; }
  Watched& operator=(const Watched& other) {
    number = other.number;
    return *this;
  }
  virtual ~Watched() {
    --alive;
    destroyed.push_back(number);
  }
  [[nodiscard]] bool isInPlace() const { return self_ == this; }

  int number;
  static inline int alive = 0;
  static inline std::vector<int> destroyed;

 private:
  const Watched* self_;  // a move of raw bytes would leave it wrong
};

class KTVectorTest : public testing::Test {
 protected:
  void SetUp() override { Watched::destroyed.clear(); }

  static KTVector<KTString> vectorOf(const std::vector<std::string>& texts) {
    KTVector<KTString> vector;
    vector.resize(static_cast<unsigned int>(texts.size()));
    for (unsigned int i = 0; i < vector.count(); ++i) vector[i] = KTString(texts[i]);
    return vector;
  }

  static std::vector<std::string> texts(const KTVector<KTString>& vector) {
    std::vector<std::string> all;
    for (unsigned int i = 0; i < vector.count(); ++i) all.emplace_back(vector[i].view());
    return all;
  }
};

using Texts = std::vector<std::string>;

TEST_F(KTVectorTest, IsEmptyFromTheStart) {
  EXPECT_EQ(KTVector<KTString>().count(), 0U);
}

TEST_F(KTVectorTest, GrowingDefaultConstructsTheNewElements) {
  KTVector<KTString> vector = vectorOf({"a", "b"});
  vector.resize(4);
  EXPECT_EQ(texts(vector), (Texts{"a", "b", "", ""}));
}

TEST_F(KTVectorTest, ShrinkingKeepsTheFirstElements) {
  KTVector<KTString> vector = vectorOf({"a", "b", "c"});
  vector.resize(2);
  EXPECT_EQ(texts(vector), (Texts{"a", "b"}));
  vector.resize(0);
  EXPECT_EQ(vector.count(), 0U);
}

TEST_F(KTVectorTest, ResizeToTheCurrentCountTouchesNothing) {
  KTVector<Watched> vector;
  vector.resize(3);
  Watched::destroyed.clear();
  const Watched* first = &vector[0];
  vector.resize(3);
  EXPECT_EQ(&vector[0], first);
  EXPECT_TRUE(Watched::destroyed.empty());
}

TEST_F(KTVectorTest, ElementsLiveBackToBackAndAligned) {
  KTVector<KTString> vector = vectorOf({"a", "b", "c"});
  const auto* bytes = reinterpret_cast<const unsigned char*>(&vector[0]);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % alignof(std::max_align_t), 0U);
  EXPECT_EQ(reinterpret_cast<const unsigned char*>(&vector[2]), bytes + 2 * sizeof(KTString));
}

TEST_F(KTVectorTest, ElementsAreNeverMovedAsBytes) {
  KTVector<Watched> vector;
  for (const unsigned int n : {1U, 2U, 50U, 7U, 200U}) {
    vector.resize(n);
    for (unsigned int i = 0; i < n; ++i) EXPECT_TRUE(vector[i].isInPlace()) << n << " " << i;
  }
}

TEST_F(KTVectorTest, ShortTextsSurviveEveryResize) {
  KTVector<KTString> vector;
  for (unsigned int n = 1; n <= 40; ++n) {
    vector.resize(n);
    vector[n - 1].format("%u", n);
  }
  for (unsigned int i = 0; i < 40; ++i) EXPECT_EQ(vector[i].toUInt(0), i + 1);
}

TEST_F(KTVectorTest, ClearDestroysInIndexOrder) {
  KTVector<Watched> vector;
  vector.resize(3);
  for (int i = 0; i < 3; ++i) vector[static_cast<unsigned int>(i)].number = i;
  Watched::destroyed.clear();
  vector.clear();
  EXPECT_EQ(Watched::destroyed, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(vector.count(), 0U);
}

TEST_F(KTVectorTest, EveryElementIsDestroyedOnce) {
  {
    KTVector<Watched> vector;
    for (const unsigned int n : {5U, 2U, 9U, 0U, 3U}) {
      vector.resize(n);
      EXPECT_EQ(Watched::alive, static_cast<int>(n));
    }
    const KTVector<Watched> copy(vector);
    EXPECT_EQ(Watched::alive, 6);
  }
  EXPECT_EQ(Watched::alive, 0);
}

TEST_F(KTVectorTest, CopiesAreDeep) {
  KTVector<KTString> vector = vectorOf({"a", "b"});
  KTVector<KTString> copy(vector);
  KTVector<KTString> assigned = vectorOf({"x", "y", "z"});
  assigned = vector;
  vector[0] = "changed";
  copy[1] += "!";
  EXPECT_EQ(texts(vector), (Texts{"changed", "b"}));
  EXPECT_EQ(texts(copy), (Texts{"a", "b!"}));
  EXPECT_EQ(texts(assigned), (Texts{"a", "b"}));
}

TEST_F(KTVectorTest, SurvivesAssignmentToItself) {
  KTVector<KTString> vector = vectorOf({"a", "b"});
  const KTVector<KTString>& same = vector;
  vector = same;
  EXPECT_EQ(texts(vector), (Texts{"a", "b"}));
}

TEST_F(KTVectorTest, IsDestroyedThroughItsVirtualDestructor) {
  static_assert(std::has_virtual_destructor_v<KTVector<KTString>>);
}

}  // namespace
