#include "ui/mdi_arrange.h"

#include "support/prelude.h"

namespace fenwright::ui {
namespace {

const QSize kArea(401, 299);

TEST(MdiArrange, TilesOneAboveTheOtherFillTheAreaWithoutOverlap) {
  const std::vector<QRect> places = TilePlaces(kArea, 3, Qt::Vertical);
  ASSERT_EQ(places.size(), 3U);
  int next = 0;
  for (const QRect& place : places) {
    EXPECT_EQ(place.top(), next);
    EXPECT_EQ(place.width(), kArea.width());
    next = place.top() + place.height();
  }
  EXPECT_EQ(next, kArea.height());
}

TEST(MdiArrange, TilesSideBySideFillTheAreaWithoutOverlap) {
  const std::vector<QRect> places = TilePlaces(kArea, 2, Qt::Horizontal);
  ASSERT_EQ(places.size(), 2U);
  EXPECT_EQ(places[0], QRect(0, 0, 200, 299));
  EXPECT_EQ(places[1], QRect(200, 0, 201, 299));
}

TEST(MdiArrange, CascadedWindowsShowTheirTitlesAndStayInside) {
  const std::vector<QRect> places = CascadePlaces(kArea, 3, 28);
  ASSERT_EQ(places.size(), 3U);
  for (std::size_t child = 1; child < places.size(); ++child) {
    EXPECT_EQ(places[child].topLeft() - places[child - 1].topLeft(), QPoint(28, 28));
  }
  for (const QRect& place : places) EXPECT_TRUE(QRect(QPoint(0, 0), kArea).contains(place));
}

TEST(MdiArrange, ACascadeStartsAgainAtTheCornerWhenTheRoomIsUsedUp) {
  for (const QRect& place : CascadePlaces(kArea, 20, 28)) {
    EXPECT_TRUE(QRect(QPoint(0, 0), kArea).contains(place));
  }
}

TEST(MdiArrange, MinimisedWindowsFillRowsFromTheLowerLeftCornerUpwards) {
  const std::vector<QPoint> places = IconPlaces(kArea, 5, QSize(196, 24));
  EXPECT_EQ(places, (std::vector<QPoint>{{0, 275}, {196, 275}, {0, 251}, {196, 251}, {0, 227}}));
}

TEST(MdiArrange, MinimisedWindowsStartAgainAtTheCornerWhenTheRoomIsUsedUp) {
  const std::vector<QPoint> places = IconPlaces(QSize(100, 60), 3, QSize(196, 24));
  EXPECT_EQ(places, (std::vector<QPoint>{{0, 36}, {0, 12}, {0, 36}}));
}

TEST(MdiArrange, NoChildrenNeedNoPlaces) {
  EXPECT_TRUE(TilePlaces(kArea, 0, Qt::Vertical).empty());
  EXPECT_TRUE(CascadePlaces(kArea, 0, 28).empty());
  EXPECT_TRUE(IconPlaces(kArea, 0, QSize(196, 24)).empty());
}

}  // namespace
}  // namespace fenwright::ui
