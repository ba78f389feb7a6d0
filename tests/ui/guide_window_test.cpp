#include "ui/guide_window.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QImage>
#include <QMdiArea>
#include <QTest>
#include <gtest/gtest.h>

#include "ui/main_window.h"
#include "ui/socket_drawing.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using screen::GuidePosition;
using screen::kGuidePositions;

const QColor kGrey(0x80, 0x80, 0x80);
const QColor kRed(192, 0, 0);

/// The drawing as it is on the screen.
class GuideDrawing : public ::testing::Test {
 protected:
  GuideDrawing() {
    drawing_.resize(drawing_.sizeHint() * 2);
    drawing_.setPalette(QPalette(Qt::white));
  }
  QImage Picture() { return drawing_.grab().toImage().convertToFormat(QImage::Format_RGB32); }
  int PixelsOf(const QColor& colour, const QRect& area) {
    const QImage picture = Picture();
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
      for (int x = area.left(); x <= area.right(); ++x) {
        count += picture.pixelColor(x, y) == colour ? 1 : 0;
      }
    }
    return count;
  }
  int PixelsOf(const QColor& colour) { return PixelsOf(colour, drawing_.rect()); }

  /// Where the package of that place is drawn when it is highlighted, at the drawing's size: its
  /// fill, without the white line around it.
  QRect FillOf(GuidePosition position) {
    drawing_.SetHighlighted(position, true);
    const QImage picture = Picture();
    drawing_.SetHighlighted(position, false);
    // The key on the right is drawn in the same colour.
    const int right_of_socket = picture.width() * 2 / 5;
    QRect red;
    for (int y = 0; y < picture.height(); ++y) {
      const auto* const line = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
      const auto is_red = [](QRgb pixel) { return QColor(pixel) == kRed; };
      const auto* const first = std::find_if(line, line + right_of_socket, is_red);
      if (first == line + right_of_socket) continue;
      const auto last = std::find_if(std::reverse_iterator(line + right_of_socket),
                                     std::reverse_iterator(first), is_red);
      red |= QRect(QPoint(static_cast<int>(first - line), y),
                   QPoint(static_cast<int>(last.base() - 1 - line), y));
    }
    return red;
  }

  /// The same with half the white line, enlarged so that pixels don't count.
  QRectF PackageIn(GuidePosition position) {
    constexpr int kScale = 8;
    constexpr double kHalfLine = kScale * kWhiteLine / 2;
    drawing_.resize(drawing_.sizeHint() * kScale);
    return QRectF(FillOf(position)).adjusted(-kHalfLine, -kHalfLine, kHalfLine, kHalfLine);
  }

  static constexpr double kWhiteLine = 2.6;

  SocketDrawing drawing_;
};

TEST_F(GuideDrawing, WithoutADeviceEverythingIsGrey) {
  EXPECT_EQ(PixelsOf(kRed), 0);
  EXPECT_GT(PixelsOf(kGrey), 2000);
}

TEST_F(GuideDrawing, TheHighlightedPackageIsFilledInItsColour) {
  for (const GuidePosition position : kGuidePositions) {
    const QRect body = PackageIn(position).toRect();
    drawing_.SetHighlighted(position, true);
    EXPECT_GT(PixelsOf(kRed, body), body.width() * body.height() / 2);
    drawing_.SetHighlighted(position, false);
    EXPECT_EQ(PixelsOf(kRed), 0);
  }
}

TEST_F(GuideDrawing, EveryPositionLooksDifferentWithoutColoursToo) {
  std::vector<QImage> pictures;
  for (const GuidePosition position : kGuidePositions) {
    drawing_.SetHighlighted(position, true);
    const QImage grey = Picture().convertToFormat(QImage::Format_Grayscale8);
    drawing_.SetHighlighted(position, false);
    for (const QImage& other : pictures) {
      int different = 0;
      for (int y = 0; y < grey.height(); ++y) {
        for (int x = 0; x < grey.width(); ++x) {
          const int step = qGray(grey.pixel(x, y)) - qGray(other.pixel(x, y));
          different += std::abs(step) > 64 ? 1 : 0;
        }
      }
      EXPECT_GT(different, 1000);
    }
    pictures.push_back(grey);
  }
}

TEST_F(GuideDrawing, EveryMarkerShowsWhicheverIsHighlighted) {
  // Each badge has a white ring, in a place where no package is white.
  const auto ring_pixels = [this](const QPointF& tenths) {
    constexpr double kCentre = 78;
    constexpr double kFirstRow = 44;
    constexpr double kTenth = 10;
    constexpr double kReach = 8;
    const QRectF area(kCentre + tenths.x() * kTenth - kReach,
                      kFirstRow + tenths.y() * kTenth - kReach, 2 * kReach, 2 * kReach);
    return PixelsOf(kGrey, QRectF(area.topLeft() * 2, area.size() * 2).toRect());
  };
  const std::array<QPointF, 5> badges{QPointF(0, 1.5), QPointF(0, 16.5), QPointF(0, 6),
                                      QPointF(0, 12), QPointF(1.9, 18)};
  for (const GuidePosition highlighted : kGuidePositions) {
    drawing_.SetHighlighted(highlighted, true);
    for (const GuidePosition other : kGuidePositions) {
      if (other == highlighted) continue;
      EXPECT_GT(ring_pixels(badges.at(static_cast<std::size_t>(other))), 200)
          << "ABCDE"[static_cast<std::size_t>(other)] << " under "
          << "ABCDE"[static_cast<std::size_t>(highlighted)];
    }
    drawing_.SetHighlighted(highlighted, false);
  }
}

TEST_F(GuideDrawing, TheWordHereStandsApartFromTheText) {
  // Between the text of a row and the word behind it there is a gap as wide as a letter.
  constexpr int kScale = 2;
  constexpr std::size_t kGap = 6 * kScale;
  for (const GuidePosition position : kGuidePositions) {
    drawing_.SetHighlighted(position, true);
    const QImage picture = Picture();
    const int top = (6 + 52 * static_cast<int>(position) + 6) * kScale;
    std::vector<bool> inked;
    for (int x = (146 + 28) * kScale; x < 334 * kScale; ++x) {
      bool dark = false;
      for (int y = top; y < top + 11 * kScale; ++y) {
        dark = dark || qGray(picture.pixel(x, y)) < 128;
      }
      inked.push_back(dark);
    }
    const std::size_t here = inked.size() - 40 * kScale;
    std::size_t gap = 0;
    for (std::size_t x = here; x > 0 && gap < kGap; --x) gap = inked.at(x) ? 0 : gap + 1;
    EXPECT_GE(gap, kGap) << "ABCDE"[static_cast<std::size_t>(position)];
    const auto word = inked.begin() + static_cast<std::ptrdiff_t>(here);
    EXPECT_TRUE(std::find(word, inked.end(), true) != inked.end());
    drawing_.SetHighlighted(position, false);
  }
}

/// Length in tenths of an inch, one of which is the distance of two contacts.
double Tenths(const QRectF& body, const QRectF& forty_pins) {
  return body.height() / forty_pins.height() * 20.5;
}

TEST_F(GuideDrawing, ThePackagesHaveTheirRealLengths) {
  const QRectF whole = PackageIn(GuidePosition::E);
  const std::array<double, 5> lengths{3.7, 10.2, 10.2, 13.7, 20.5};
  for (const GuidePosition position : kGuidePositions) {
    EXPECT_NEAR(Tenths(PackageIn(position), whole), lengths.at(static_cast<std::size_t>(position)),
                0.05);
  }
}

TEST_F(GuideDrawing, AllPackagesButBStartAtContactOneAndBEndsAtTheOtherEnd) {
  const QRectF whole = PackageIn(GuidePosition::E);
  const double tenth = whole.height() / 20.5;
  for (const GuidePosition position : {GuidePosition::A, GuidePosition::C, GuidePosition::D}) {
    EXPECT_NEAR(PackageIn(position).top(), whole.top(), tenth / 2);
  }
  const QRectF lower = PackageIn(GuidePosition::B);
  EXPECT_NEAR(lower.bottom(), whole.bottom(), tenth / 2);
  EXPECT_GE(lower.top(), PackageIn(GuidePosition::A).bottom());
}

TEST_F(GuideDrawing, TheDrawingIsLegibleOnADarkPaletteToo) {
  QPalette dark(QColor(45, 45, 48));
  dark.setColor(QPalette::WindowText, Qt::white);
  drawing_.setPalette(dark);
  const int white_texts = PixelsOf(Qt::white);
  EXPECT_GT(white_texts, 2000);
  EXPECT_EQ(PixelsOf(Qt::black), 0);
}

TEST_F(GuideDrawing, TheDrawingFitsAnySize) {
  const QSize natural = drawing_.sizeHint();
  for (const QSize size : {QSize(688, 300), QSize(300, 1500), QSize(1500, 532)}) {
    drawing_.resize(size);
    const QSize fitting = natural.scaled(size, Qt::KeepAspectRatio);
    const double scale = static_cast<double>(fitting.height()) / natural.height();
    // The middle of a flat drawing is not where the key begins.
    if (fitting.width() < size.width()) drawing_.resize(fitting);
    constexpr double kTenths = 20.5;
    constexpr double kPixelsOfATenth = 10;
    EXPECT_NEAR(FillOf(GuidePosition::E).height(), (kTenths * kPixelsOfATenth - kWhiteLine) * scale,
                2.5);
  }
  for (const QSize size : {QSize(120, 90), QSize(1500, 300), QSize(1, 1)}) {
    drawing_.resize(size);
    drawing_.grab();
  }
}

TEST_F(GuideDrawing, ItTellsAReaderOfTheScreenWhereTheChipGoes) {
  EXPECT_EQ(drawing_.accessibleDescription(), "デバイスの挿入位置はありません。");
  drawing_.SetHighlighted(GuidePosition::B, true);
  EXPECT_EQ(drawing_.accessibleDescription(),
            "位置 B : 20ピンのパッケージの1番ピンを、ソケットの11番に合わせて挿入します。");
}

TEST(GuideWindow, TheGuideShowsThePlaceOfEveryPickedDevice) {
  WindowBench bench;
  bench.Start();
  const GuideWindow& guide = bench.Run.Window().Guide();
  // In the selector's order.
  const std::string places = "AABAACCCDEEEE";
  QComboBox* selector = bench.Run.Window().DeviceSelector();
  for (int index = 0; index < 13; ++index) {
    selector->setCurrentIndex(index);
    emit selector->activated(index);
    for (const GuidePosition position : kGuidePositions) {
      const char letter = "ABCDE"[static_cast<std::size_t>(position)];
      EXPECT_EQ(guide.Drawing().IsHighlighted(position),
                letter == places.at(static_cast<std::size_t>(index)))
          << index << letter;
    }
  }
}

TEST(GuideWindow, BothMenusOpenItAndClosingOnlyHidesIt) {
  WindowBench bench;
  bench.Start();
  GuideWindow& guide = bench.Run.Window().Guide();
  for (const char* item : {"mmudeviceIndex", "mmuIndex"}) {
    guide.close();
    EXPECT_FALSE(guide.isVisible());
    Find<QAction>(bench.Run.Window(), item)->trigger();
    EXPECT_TRUE(guide.isVisible()) << item;
    EXPECT_EQ(bench.Run.Window().ChildArea()->activeSubWindow(), &guide) << item;
  }
}

TEST(GuideWindow, AMinimisedGuideIsOpenedAgain) {
  WindowBench bench;
  bench.Start();
  GuideWindow& guide = bench.Run.Window().Guide();
  bench.Run.Window().ChildArea()->ShowGuide();
  guide.showMinimized();
  Find<QAction>(bench.Run.Window(), "mmuIndex")->trigger();
  EXPECT_FALSE(guide.isMinimized());
}

TEST(GuideWindow, ShownAgainItComesBackWhereItLastStoodInThisRun) {
  WindowBench bench;
  bench.Settings.Write("Settings", "IndLeft", "300");
  bench.Settings.Write("Settings", "IndTop", "600");
  bench.Start();
  GuideWindow& guide = bench.Run.Window().Guide();
  EXPECT_EQ(guide.pos(), QPoint(20, 40)) << "the stored place, at the start";
  guide.move(47, 61);
  for (const char* item : {"mmudeviceIndex", "mmuIndex"}) {
    Find<QAction>(bench.Run.Window(), item)->trigger();
    EXPECT_EQ(guide.pos(), QPoint(47, 61)) << "while it is on the screen, " << item;
    guide.close();
    Find<QAction>(bench.Run.Window(), item)->trigger();
    QApplication::processEvents();
    EXPECT_EQ(guide.pos(), QPoint(47, 61)) << item;
    guide.showMinimized();
    QApplication::processEvents();
    guide.close();
    Find<QAction>(bench.Run.Window(), item)->trigger();
    QApplication::processEvents();
    EXPECT_EQ(guide.pos(), QPoint(47, 61)) << "closed while it was minimised, " << item;
  }
}

TEST(GuideWindow, ItHasItsNames) {
  WindowBench bench;
  const GuideWindow& guide = bench.Run.Window().Guide();
  EXPECT_EQ(guide.objectName(), "frmIndex");
  EXPECT_FALSE(guide.accessibleName().isEmpty());
  EXPECT_FALSE(guide.windowTitle().isEmpty());
}

}  // namespace
}  // namespace fenwright::ui
