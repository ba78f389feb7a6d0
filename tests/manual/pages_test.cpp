#include "manual/pages.h"

#include <gtest/gtest.h>

namespace fenwright::manual {
namespace {

constexpr double kHeight = 100;

Piece Tall(double height) {
  Piece piece;
  piece.Height = height;
  return piece;
}

Piece Kept(double height) {
  Piece piece = Tall(height);
  piece.KeepWithNext = true;
  return piece;
}

/// The heights of the pieces on each page, in order.
std::vector<std::vector<double>> Heights(const std::vector<Page>& pages) {
  std::vector<std::vector<double>> heights;
  for (const Page& page : pages) {
    heights.emplace_back();
    for (const PlacedPiece& placed : page) heights.back().push_back(placed.What->Height);
  }
  return heights;
}

using Expected = std::vector<std::vector<double>>;

TEST(PagesTest, APieceThatDoesNotFitGoesToTheNextPage) {
  const std::vector<Piece> pieces{Tall(60), Tall(40), Tall(1)};
  EXPECT_EQ(Heights(Paginate(pieces, kHeight)), (Expected{{60, 40}, {1}}));
}

TEST(PagesTest, SpaceBeforeCountsButNotAtTheTopOfAPage) {
  std::vector<Piece> pieces{Tall(60), Tall(40)};
  pieces[1].SpaceBefore = 5;
  const std::vector<Page> pages = Paginate(pieces, kHeight);
  EXPECT_EQ(Heights(pages), (Expected{{60}, {40}}));
  EXPECT_EQ(pages[1][0].Top, 0);
}

TEST(PagesTest, AHeadingIsNotLeftAloneAtTheEndOfAPage) {
  const std::vector<Piece> pieces{Tall(80), Kept(10), Tall(20)};
  EXPECT_EQ(Heights(Paginate(pieces, kHeight)), (Expected{{80}, {10, 20}}));
}

TEST(PagesTest, AChainOfKeptPiecesGoesTogether) {
  const std::vector<Piece> pieces{Tall(50), Kept(10), Kept(20), Tall(30)};
  EXPECT_EQ(Heights(Paginate(pieces, kHeight)), (Expected{{50}, {10, 20, 30}}));
}

TEST(PagesTest, AChainThatNoPageHoldsIsCut) {
  const std::vector<Piece> pieces{Kept(60), Kept(60), Tall(60)};
  EXPECT_EQ(Heights(Paginate(pieces, kHeight)), (Expected{{60}, {60}, {60}}));
}

TEST(PagesTest, APieceThatIsTallerThanAPageStillGetsOne) {
  const std::vector<Piece> pieces{Tall(10), Tall(150), Tall(10)};
  EXPECT_EQ(Heights(Paginate(pieces, kHeight)), (Expected{{10}, {150}, {10}}));
}

TEST(PagesTest, AChapterStartsAPage) {
  std::vector<Piece> pieces{Tall(10), Tall(10)};
  pieces[1].StartsPage = true;
  EXPECT_EQ(Heights(Paginate(pieces, kHeight)), (Expected{{10}, {10}}));
}

TEST(PagesTest, ATableThatGoesOnRepeatsItsHeader) {
  std::vector<Piece> pieces{Kept(7), Tall(50), Tall(40), Tall(30)};
  const auto header = std::make_shared<Piece>(pieces[0]);
  for (std::size_t row = 1; row < pieces.size(); ++row) pieces[row].TableHeader = header;
  const std::vector<Page> pages = Paginate(pieces, kHeight);
  EXPECT_EQ(Heights(pages), (Expected{{7, 50, 40}, {7, 30}}));
  EXPECT_EQ(pages[1][1].Top, 7);
}

}  // namespace
}  // namespace fenwright::manual
