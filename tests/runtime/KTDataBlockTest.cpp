#include "runtime/KTDataBlock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

class KTDataBlockTest : public testing::Test {
 protected:
  static KTDataBlock block(const std::string& text) {
    return KTDataBlock(reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<unsigned int>(text.size()));
  }
  static std::string text(const KTDataBlock& b) {
    return std::string(reinterpret_cast<const char*>(b.data), b.size);
  }
  static std::string zeros(unsigned int n) { return std::string(n, '\0'); }

  static size_t residentBytes() {
    size_t total = 0;
    size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
  }
};

TEST_F(KTDataBlockTest, SizeAndDataComeFirst) {
  const KTDataBlock b = block("abc");
  const void* data = nullptr;
  std::memcpy(&data, reinterpret_cast<const char*>(&b) + sizeof(void*), sizeof data);
  EXPECT_EQ(static_cast<const void*>(&b), &b.size);
  EXPECT_EQ(data, b.data);
}

TEST_F(KTDataBlockTest, NoBytesMakeTheEmptyBlock) {
  EXPECT_EQ(KTDataBlock(0).size, 0U);
  EXPECT_EQ(KTDataBlock(nullptr, 0).size, 0U);
  EXPECT_TRUE(KTDataBlock(0) == block(""));
}

TEST_F(KTDataBlockTest, BytesStartAsZero) {
  for (const unsigned int n : {1U, 9U, 4096U, 1048575U, 1048576U, 3000000U}) {
    { KTDataBlock(n).writable()[n - 1] = 1; }  // what the heap hands out again is not clean
    EXPECT_EQ(text(KTDataBlock(n)), zeros(n)) << n;
  }
}

TEST_F(KTDataBlockTest, LargeBlocksCostNoMemoryUntilTheyAreTouched) {
  constexpr unsigned int large = 20971520;
  { KTDataBlock(large).writable()[large / 2] = 1; }
  const size_t before = residentBytes();
  const std::vector<KTDataBlock> held = {KTDataBlock(large), KTDataBlock(large), KTDataBlock(large),
                                         KTDataBlock(large), KTDataBlock(large)};
  EXPECT_LT(residentBytes(), before + large);
}

TEST_F(KTDataBlockTest, LargeBlocksBeginAtAPage) {
  KTDataBlock b;
  b.reserve(1U << 20);
  b.resize(10);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.data) % 4096, 0U);
  b.resize(50U << 20);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.data) % 4096, 0U);
}

TEST_F(KTDataBlockTest, LargeBlocksKeepTheirBytesWhenTheyGrow) {
  std::string expected(3 << 20, 'a');
  KTDataBlock b = block(expected);
  const KTDataBlock former(b);
  for (const unsigned int n : {4U << 20, 40U << 20, 41U << 20}) {
    b.resize(n);
    EXPECT_EQ(text(b.copy(0, 3U << 20)), expected) << n;
    std::memset(b.writable(), 'b', 3U << 20);
    expected.assign(3U << 20, 'b');
  }
  EXPECT_EQ(text(former), std::string(3 << 20, 'a'));
  KTDataBlock part = b.copy(1U << 20, 2U << 20);
  b = KTDataBlock();
  part.resize(60U << 20);
  EXPECT_EQ(text(part.copy(0, 2U << 20)), std::string(2 << 20, 'b'));
}

TEST_F(KTDataBlockTest, LargePagesKeepTheBytesAndGrowAsOthers) {
  KTDataBlock b = block(std::string(5 << 20, 'a'));
  b.reserveLargePages(6U << 20);
  EXPECT_EQ(text(b), std::string(5 << 20, 'a'));
  const unsigned char* const place = b.data;
  b.resize(12U << 20);
  b.reserveLargePages(12U << 20);
  EXPECT_EQ(b.data, place) << "there was room to spare";
  b.resize(5U << 20);
  std::memset(b.writable(), 'b', 5U << 20);
  for (const unsigned int n : {6U << 20, 9U << 20, 40U << 20}) {
    b.resize(n);
    EXPECT_EQ(text(b.copy(0, 5U << 20)), std::string(5 << 20, 'b')) << n;
  }
}

TEST_F(KTDataBlockTest, LargePagesBeginWithTheFirstByte) {
  for (const unsigned int n : {1U, 3U << 20, (8U << 20) + 1}) {
    KTDataBlock b;
    b.reserveLargePages(n);
    b.resize(n);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.data) % (2U << 20), 0U) << n;
    std::memset(b.writable(), 'a', n);
    b.resize(n + (6U << 20));  // to the end of what there is
    std::memset(b.writable(), 'b', b.size);
    EXPECT_EQ(text(b.copy(b.size - 1, 1)), "b") << n;
  }
}

TEST_F(KTDataBlockTest, LargePagesOfACopyOrAPartAreItsOwn) {
  const KTDataBlock whole = block(std::string(5 << 20, 'a'));
  KTDataBlock part = whole.copy(1U << 20, 3U << 20);
  part.reserveLargePages(1);
  std::memset(part.writable(), 'b', part.size);
  EXPECT_EQ(text(whole), std::string(5 << 20, 'a'));
  EXPECT_EQ(text(part), std::string(3 << 20, 'b'));
  KTDataBlock few = block("abc");
  few.reserveLargePages(9);
  EXPECT_EQ(text(few), "abc");
  KTDataBlock none;
  none.reserveLargePages(0);
  EXPECT_EQ(none.size, 0U);
  none.reserveLargePages(4U << 20);
  EXPECT_EQ(none.size, 0U);
}

TEST_F(KTDataBlockTest, HoldsACopyOfWhatItWasGiven) {
  char source[] = "abc";
  const KTDataBlock b(reinterpret_cast<unsigned char*>(source), 3);
  source[0] = 'X';
  EXPECT_EQ(text(b), "abc");
}

TEST_F(KTDataBlockTest, BytesAreAlignedForAnyType) {
  for (const unsigned int n : {1U, 17U, 1000U, 5000000U}) {
    const KTDataBlock b(n);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.data) % alignof(std::max_align_t), 0U) << n;
  }
}

TEST_F(KTDataBlockTest, NoChangeOfOneCopyShowsInAnother) {
  const std::vector<void (*)(KTDataBlock&)> changes = {
      [](KTDataBlock& b) { b.clear(); },
      [](KTDataBlock& b) { b.resize(2); },
      [](KTDataBlock& b) { b.resize(500); },
      [](KTDataBlock& b) { b.reserve(500); },
      [](KTDataBlock& b) { b.replace(1, block("XY")); },
      [](KTDataBlock& b) { b.setData(block("XYZ").data, 3); },
      [](KTDataBlock& b) { b.setData(b.data + 1, 3); },
      [](KTDataBlock& b) { b += block("XY"); },
      [](KTDataBlock& b) { b += b; },
      [](KTDataBlock& b) { b.writable()[0] = 'X'; },
      [](KTDataBlock& b) { std::memset(b.writable(), 'X', b.size); },
      [](KTDataBlock& b) { b = block("X"); },
      [](KTDataBlock& b) { KTDataBlock(std::move(b)).writable()[0] = 'X'; },
      [](KTDataBlock& b) {
        b.clear();
        b.resize(5);
        std::memset(b.writable(), 'X', 5);
      },
      [](KTDataBlock& b) {
        b.resize(2);
        b += block("XYZ");
      },
  };
  for (size_t i = 0; i < changes.size(); ++i) {
    KTDataBlock original = block("hello");
    KTDataBlock copy(original);
    const KTDataBlock slice = original.copy(1, 3);
    changes[i](copy);
    EXPECT_EQ(text(original), "hello") << i;
    EXPECT_EQ(text(slice), "ell") << i;
    KTDataBlock other(original);
    changes[i](original);
    EXPECT_EQ(text(other), "hello") << i;
    EXPECT_EQ(text(slice), "ell") << i;
  }
}

TEST_F(KTDataBlockTest, ASliceThatChangesLeavesItsSourceAlone) {
  const KTDataBlock source = block("hello world");
  KTDataBlock slice = source.copy(4, 3);
  slice += block("!");
  EXPECT_EQ(text(slice), "o w!");
  slice.replace(0, block("0"));
  EXPECT_EQ(text(slice), "0 w!");
  EXPECT_EQ(text(source), "hello world");
}

TEST_F(KTDataBlockTest, ASliceOutlivesItsSource) {
  KTDataBlock slice;
  {
    const KTDataBlock source = block("hello world");
    slice = source.copy(6, 5);
  }
  EXPECT_EQ(text(slice), "world");
  slice.resize(9);
  slice.replace(5, block("wide"));
  EXPECT_EQ(text(slice), "worldwide");
}

TEST_F(KTDataBlockTest, TheLastHolderOfASliceGrowsInItsOwnRoomOnly) {
  KTDataBlock slice;
  {
    KTDataBlock source = block("0123456789");
    slice = source.copy(8, 2);
  }
  for (int i = 0; i < 100; ++i) slice += block("x");
  EXPECT_EQ(text(slice), "89" + std::string(100, 'x'));
}

TEST_F(KTDataBlockTest, TellsWhetherOthersUseItsBytes) {
  KTDataBlock b;
  EXPECT_FALSE(b.isShared());
  b = block("hello");
  EXPECT_FALSE(b.isShared());
  {
    const KTDataBlock slice = b.copy(1, 2);
    EXPECT_TRUE(b.isShared());
    EXPECT_TRUE(slice.isShared());
  }
  EXPECT_FALSE(b.isShared());
  KTDataBlock changed = b;
  changed += block("!");
  EXPECT_FALSE(b.isShared());
}

TEST_F(KTDataBlockTest, ASliceOfASliceCountsFromTheSlice) {
  EXPECT_EQ(text(block("0123456789").copy(2, 6).copy(3, 2)), "56");
}

TEST_F(KTDataBlockTest, ASliceEndsWithTheBlock) {
  const KTDataBlock b = block("hello");
  EXPECT_EQ(text(b.copy(3, 100)), "lo");
  EXPECT_EQ(text(b.copy(5, 1)), "");
  EXPECT_EQ(text(b.copy(100, 1)), "");
  EXPECT_EQ(text(b.copy(2, 0)), "");
  EXPECT_EQ(text(b.copy(1, 4294967295U)), "ello");
}

TEST_F(KTDataBlockTest, AssignsOverWhatItHeld) {
  KTDataBlock b = block("old");
  const KTDataBlock other = block("newer");
  b = other;
  EXPECT_EQ(text(b), "newer");
  b = KTDataBlock(0);
  EXPECT_EQ(b.size, 0U);
}

TEST_F(KTDataBlockTest, SurvivesAssignmentToItself) {
  KTDataBlock b = block("kept");
  const KTDataBlock& same = b;
  b = same;
  EXPECT_EQ(text(b), "kept");
}

TEST_F(KTDataBlockTest, AMovedBlockTakesItsBytesAlong) {
  KTDataBlock b = block("moved");
  const unsigned char* bytes = b.data;
  const KTDataBlock other(std::move(b));
  EXPECT_EQ(other.data, bytes);
  EXPECT_EQ(text(other), "moved");
}

TEST_F(KTDataBlockTest, CopiesShareTheirBytesUntilOneChanges) {
  KTDataBlock b = block("hello");
  KTDataBlock copy(b);
  EXPECT_EQ(copy.data, b.data);
  EXPECT_NE(copy.writable(), b.data);
}

TEST_F(KTDataBlockTest, ClearForgetsTheBytes) {
  KTDataBlock b = block("hello");
  b.clear();
  EXPECT_EQ(b.size, 0U);
  EXPECT_TRUE(b == KTDataBlock(0));
  EXPECT_EQ(text(b += block("x")), "x");
}

TEST_F(KTDataBlockTest, ResizeKeepsTheFirstBytes) {
  KTDataBlock b = block("hello");
  b.resize(2);
  EXPECT_EQ(text(b), "he");
  b.resize(2000000);
  EXPECT_EQ(b.size, 2000000U);
  EXPECT_EQ(text(b.copy(0, 2)), "he");
  b.resize(0);
  EXPECT_EQ(b.size, 0U);
}

TEST_F(KTDataBlockTest, NewRoomCanBeWritten) {
  KTDataBlock b = block("ab");
  b.resize(4);
  b.replace(2, block("cd"));
  EXPECT_EQ(text(b), "abcd");
}

TEST_F(KTDataBlockTest, GrowingBitByBitMovesTheBytesAFewTimesOnly) {
  KTDataBlock b(1);
  unsigned int moves = 0;
  for (unsigned int n = 2; n <= 100000; ++n) {
    const unsigned char* before = b.data;
    b.resize(n);
    if (b.data != before) ++moves;
  }
  EXPECT_LT(moves, 50U);
}

TEST_F(KTDataBlockTest, ReserveMakesRoomAndKeepsTheSize) {
  KTDataBlock b = block("ab");
  b.reserve(1000);
  const unsigned char* place = b.data;
  EXPECT_EQ(text(b), "ab");
  b.resize(1000);
  EXPECT_EQ(b.data, place);
}

TEST_F(KTDataBlockTest, ReplaceOverwritesInPlace) {
  KTDataBlock b = block("hello");
  b.replace(1, block("EL"));
  EXPECT_EQ(text(b), "hELlo");
  b.replace(5, KTDataBlock(0));
  EXPECT_EQ(text(b), "hELlo");
}

TEST_F(KTDataBlockTest, ReplaceTakesASliceOfTheSameBlock) {
  KTDataBlock b = block("abcdef");
  b.replace(2, b.copy(0, 4));
  EXPECT_EQ(text(b), "ababcd");
  b.replace(0, b);
  EXPECT_EQ(text(b), "ababcd");
}

TEST_F(KTDataBlockTest, SetDataTakesACopy) {
  char source[] = "abc";
  KTDataBlock b = block("a longer text");
  b.setData(reinterpret_cast<unsigned char*>(source), 3);
  source[0] = 'X';
  EXPECT_EQ(text(b), "abc");
  b.setData(nullptr, 0);
  EXPECT_EQ(b.size, 0U);
}

TEST_F(KTDataBlockTest, SetDataFromInsideItself) {
  KTDataBlock b = block("0123456789");
  b.setData(b.data + 2, 6);
  EXPECT_EQ(text(b), "234567");
  KTDataBlock shared(b);
  shared.setData(shared.data + 1, 4);
  EXPECT_EQ(text(shared), "3456");
  EXPECT_EQ(text(b), "234567");
}

TEST_F(KTDataBlockTest, GetDataCopiesOutWhatThereIs) {
  char out[] = "......";
  block("hello").getData(reinterpret_cast<unsigned char*>(out), 2);
  EXPECT_STREQ(out, "he....");
  block("hello").getData(reinterpret_cast<unsigned char*>(out), 6);
  EXPECT_STREQ(out, "hello.");
  KTDataBlock(0).getData(nullptr, 0);
}

TEST_F(KTDataBlockTest, AppendsBytes) {
  KTDataBlock b(0);
  EXPECT_EQ(&(b += block("ab")), &b);
  b += KTDataBlock(0);
  b += block("cd");
  EXPECT_EQ(text(b), "abcd");
}

TEST_F(KTDataBlockTest, AppendsItselfAndItsOwnSlices) {
  KTDataBlock b = block("ab");
  b += b;
  b += b.copy(1, 2);
  EXPECT_EQ(text(b), "ababba");
}

TEST_F(KTDataBlockTest, ConcatenatesIntoANewBlock) {
  const KTDataBlock left = block("ab");
  EXPECT_EQ(text(left + block("cd")), "abcd");
  EXPECT_EQ(text(left + left), "abab");
  EXPECT_EQ(text(left), "ab");
}

TEST_F(KTDataBlockTest, EqualMeansSameSizeAndBytes) {
  EXPECT_TRUE(block("abc") == block("abc"));
  EXPECT_FALSE(block("abc") == block("abd"));
  EXPECT_FALSE(block("abc") == block("abcd"));
  EXPECT_TRUE(block("abc") != block("ab"));
  EXPECT_FALSE(block("abc") != block("abc"));
}

TEST_F(KTDataBlockTest, CopiesLiveOnDifferentThreads) {
  const KTDataBlock source = block("shared");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([mine = source] {
      for (int round = 0; round < 2000; ++round) {
        KTDataBlock other(mine);
        other.writable()[0] = 'S';
        EXPECT_EQ(text(mine), "shared");
        EXPECT_EQ(text(other), "Shared");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
