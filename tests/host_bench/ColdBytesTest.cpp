#include "host/bench/ColdBytes.h"

#include <gtest/gtest.h>

#include <set>

namespace {

bool isAligned(const unsigned char* bytes) {
  return reinterpret_cast<std::uintptr_t>(bytes) % ColdBytes::ALIGNMENT == 0;
}

}  // namespace

TEST(ColdBytesTest, NoPieceComesAgainBeforeAllOthers) {
  constexpr std::size_t PIECE = std::size_t{3} << 20;
  ColdBytes source(ColdBytes::Pages::Large);
  std::set<const unsigned char*> pieces;
  const unsigned char* const first = source.next(PIECE);
  for (const unsigned char* piece = first; pieces.insert(piece).second;
       piece = source.next(PIECE)) {
    ASSERT_TRUE(isAligned(piece));
    ASSERT_GE(piece, first);
    ASSERT_LE(piece + PIECE, first + ColdBytes::SIZE);
  }
  EXPECT_EQ(ColdBytes::SIZE / PIECE, pieces.size());
}

TEST(ColdBytesTest, OddPiecesBeginAligned) {
  ColdBytes source(ColdBytes::Pages::Small);
  (void)source.next(5'500'001);
  EXPECT_TRUE(isAligned(source.next(5'500'001)));
}

TEST(ColdBytesTest, AllOfItAtOnceIsPossible) {
  ColdBytes source(ColdBytes::Pages::Small);
  EXPECT_EQ(source.next(ColdBytes::SIZE), source.next(ColdBytes::SIZE));
}
