// What is in sight: at the first size, in larger windows, and after each end of a verify.

#include <QToolButton>

#include "ui/fuse_frame.h"
#include "ui/guide_window.h"
#include "ui/hand_edit_box.h"
#include "ui/mdi_arrange.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

const ViewPlaces kFirst{
    .Flash = QRect(3, 3, 360, 267), .Eeprom = QRect(3, 273, 360, 133), .Free = {}};

TEST(ShareRoom, InTheFirstAreaTheViewsStandAtTheirFirstPlaces) {
  for (const QSize area : {QSize(366, 409), QSize(363, 427), QSize(372, 400)}) {
    for (const bool keep_free : {false, true}) {
      EXPECT_EQ(ShareRoom(area, kFirst, keep_free), kFirst) << area.width() << "x" << area.height();
    }
  }
}

TEST(ShareRoom, TheViewsFillAnyOtherAreaWithoutOverlap) {
  for (const QSize area : {QSize(366, 600), QSize(640, 640), QSize(300, 300), QSize(980, 650),
                           QSize(1300, 900), QSize(3000, 300)}) {
    for (const bool keep_free : {false, true}) {
      SCOPED_TRACE(std::to_string(area.width()) + "x" + std::to_string(area.height()));
      const ViewPlaces places = ShareRoom(area, kFirst, keep_free);
      const QRect all = QRect(QPoint(0, 0), area).adjusted(3, 3, -3, -3);
      EXPECT_TRUE(all.contains(places.Flash));
      EXPECT_TRUE(all.contains(places.Eeprom));
      EXPECT_FALSE(places.Flash.intersects(places.Eeprom));
      EXPECT_FALSE(places.Free.intersects(places.Flash));
      EXPECT_FALSE(places.Free.intersects(places.Eeprom));
      EXPECT_EQ(places.Flash.united(places.Eeprom).united(places.Free), all);
      EXPECT_TRUE(keep_free || places.Free.isEmpty());
    }
  }
}

TEST(ShareRoom, WhereBothViewsHaveAWholeLineTheyStandSideBySide) {
  const ViewPlaces wide = ShareRoom({729, 650}, kFirst, false);
  EXPECT_EQ(wide.Flash.top(), wide.Eeprom.top());
  EXPECT_GE(wide.Flash.width(), 360);
  EXPECT_GE(wide.Eeprom.width(), 360);
  const ViewPlaces narrow = ShareRoom({728, 650}, kFirst, false);
  EXPECT_LT(narrow.Flash.bottom(), narrow.Eeprom.top());
}

struct Room : WindowTest {
  Room() { StartWithFile(); }

  ViewWindow* Flash() { return Window().ViewOf(View::Flash); }
  ViewWindow* Eeprom() { return Window().ViewOf(View::Eeprom); }
  ViewWindow* Report() { return Window().ViewOf(View::Verify); }
  ChildWindowArea& Area() { return *Window().ChildArea(); }
  void Resize(int width, int height) {
    Window().resize(width, height);
    Settle();
  }
  static void Settle() {
    for (int turn = 0; turn < 5; ++turn) QApplication::processEvents();
  }
  [[nodiscard]] ViewPlaces Expected(bool keep_free) {
    return ShareRoom(Area().maximumViewportSize(), kFirst, keep_free);
  }
  /// Whether the user sees a child at its title and at its middle.
  bool IsInSight(QWidget* child) {
    const QRect place = child->geometry();
    return std::ranges::all_of(
        std::vector{place.center(), QPoint(place.center().x(), place.top() + 8)},
        [&](const QPoint& point) {
          QWidget* seen = Area().viewport()->childAt(point);
          return seen == child || child->isAncestorOf(seen);
        });
  }
  void SpoilTheChip() { Port.Board().Socket().SetFlashWord(3, 0x1234); }
};

TEST_F(Room, AtTheFirstSizeNothingThatMattersIsBelowAFold) {
  auto* const area = Named<QScrollArea>("fraSettings");
  for (int device = 0; device < Window().DeviceSelector()->count(); ++device) {
    PickDevice(device);
    Dialogs.Choice = "/files/prog.hex";
    Press("Cmd_btn_open");
    Settle();
    SCOPED_TRACE(Window().DeviceSelector()->currentText().toStdString());
    EXPECT_EQ(Window().size(), QSize(753, 527));
    EXPECT_EQ(area->verticalScrollBar()->maximum(), 0);
    const QRect seen = area->viewport()->rect();
    for (const char* name :
         {"Combo_device", "Lbl_flash_size", "Lbl_eeprom_size", "lblFileInfo", "Combo_CKSEL",
          "Combo_RSTDISABL", "Combo_LockBit", "cmdFuseRead", "cmdFuseWrite", "lblFuseBytes",
          "OptionProgram", "OptionEeprom", "txtAddress", "txtData", "CmdRead", "CmdWrite"}) {
      auto* control = Named<QWidget>(name);
      const QRect place(control->mapTo(area->viewport(), QPoint(0, 0)), control->size());
      EXPECT_TRUE(seen.contains(place)) << name;
    }
  }
}

/// The settings when they need more room than there is: with fuses that were changed, or with a
/// file that a save would destroy.
struct FullSettings : Room {
  QScrollArea& Settings() { return *Named<QScrollArea>("fraSettings"); }
  bool IsWhole(const char* name) {
    auto* control = Named<QWidget>(name);
    const QRect place(control->mapTo(Settings().viewport(), QPoint(0, 0)), control->size());
    return control->isVisible() && Settings().viewport()->rect().contains(place);
  }
  void ExpectAllWithinReach() {
    EXPECT_EQ(Window().size(), QSize(753, 527));
    EXPECT_EQ(Settings().verticalScrollBar()->maximum(), 0);
    for (const char* name : {"Combo_device", "lblFileInfo", "cmdFuseRead", "cmdFuseWrite",
                             "lblFuseBytes", "txtAddress", "txtData", "CmdRead", "CmdWrite"}) {
      EXPECT_TRUE(IsWhole(name)) << name;
    }
  }
  void ChangeAllFuses() {
    for (QComboBox* list : Window().Fuses().findChildren<QComboBox*>()) {
      if (list->count() > 1) list->setCurrentIndex(list->currentIndex() == 0 ? 1 : 0);
    }
    Settle();
  }
};

TEST_F(FullSettings, ChangedFusesOfAnyDeviceLeaveTheHandEditInSight) {
  for (int device = 0; device < Window().DeviceSelector()->count(); ++device) {
    PickDevice(device);
    Dialogs.Choice = "/files/prog.hex";
    Press("Cmd_btn_open");
    ChangeAllFuses();
    SCOPED_TRACE(Window().DeviceSelector()->currentText().toStdString());
    ExpectAllWithinReach();
    auto* words = Named<QWidget>("lblFuseWords");
    EXPECT_GE(Named<QWidget>("scrFuseWords")->height(),
              std::min(2 * words->fontMetrics().height(), words->heightForWidth(words->width())));
    for (QComboBox* list : Window().Fuses().findChildren<QComboBox*>()) {
      EXPECT_TRUE(list->count() <= 1 || list->isVisible()) << list->objectName().toStdString();
    }
  }
}

TEST_F(FullSettings, TheResetPinIsTheFirstOfTheWords) {
  PickDevice(2);
  ChangeAllFuses();
  EXPECT_TRUE(Named<QLabel>("lblFuseWords")->text().startsWith("RSTDISBL PB7:I/O : "));
}

TEST_F(FullSettings, WhatDoesNotFitIsScrolledByTheKeyboardToo) {
  PickDevice(2);
  ChangeAllFuses();
  auto* words = Named<QScrollArea>("scrFuseWords");
  EXPECT_GT(words->verticalScrollBar()->maximum(), 0);
  EXPECT_NE(words->focusPolicy() & Qt::TabFocus, 0);
  words->setFocus();
  QTest::keyClick(words, Qt::Key_Down);
  EXPECT_GT(words->verticalScrollBar()->value(), 0);
  Resize(1366, 900);
  EXPECT_EQ(words->verticalScrollBar()->maximum(), 0);
  EXPECT_EQ(words->focusPolicy(), Qt::NoFocus);
}

TEST_F(FullSettings, AWarningAboutASaveLeavesTheHandEditInSight) {
  PickDevice(11);
  ASSERT_THAT(FileInfo(), HasSubstr("⚠"));
  Settle();
  ExpectAllWithinReach();
}

TEST_F(FullSettings, RowsWithoutAFieldGiveWayOnlyWhereTheRoomIsNeeded) {
  const auto pick = [this](int device) {
    PickDevice(device);
    Dialogs.Choice = "/files/prog.hex";
    Press("Cmd_btn_open");
    Settle();
  };
  pick(2);
  auto* row = Named<QWidget>("Combo_RCEN");
  EXPECT_TRUE(row->isVisible());
  auto* list = Named<QComboBox>("Combo_EESAVE");
  const int item = list->currentIndex();
  const auto place = [this] {
    return Named<QWidget>("txtAddress")->mapTo(&Window(), QPoint(0, 0));
  };
  const int top = place().y();
  list->setCurrentIndex(1 - item);
  Settle();
  EXPECT_FALSE(row->isVisible());
  EXPECT_FALSE(Named<QWidget>("Lbl_RCEN")->isVisible());
  EXPECT_TRUE(Named<QWidget>("Combo_FSTRT")->isVisible()) << "one row is enough";
  EXPECT_LT(std::abs(place().y() - top), 5) << "what stands below stays";
  Resize(1024, 740);
  EXPECT_TRUE(row->isVisible());
  Resize(753, 527);
  EXPECT_FALSE(row->isVisible());
  pick(4);
  EXPECT_TRUE(row->isVisible()) << "this device has the field";
  pick(2);
  EXPECT_EQ(list->currentIndex(), item);
  EXPECT_TRUE(row->isVisible());
}

TEST_F(Room, TheFilePanelStandsAboveTheFuses) {
  const auto top = [this](const char* name) {
    return Named<QWidget>(name)->mapTo(&Window(), QPoint(0, 0)).y();
  };
  EXPECT_LT(top("fraDevice"), top("fraFile"));
  EXPECT_LT(top("fraFile"), top("fraFuse"));
  EXPECT_LT(top("fraFuse"), top("fraHandEdit"));
}

TEST_F(Room, TheViewsFollowTheSizeOfTheWindow) {
  Window().Guide().close();
  for (const QSize size : {QSize(1024, 740), QSize(1366, 740), QSize(1600, 960), QSize(753, 527)}) {
    Resize(size.width(), size.height());
    EXPECT_EQ(Flash()->geometry(), Expected(false).Flash);
    EXPECT_EQ(Eeprom()->geometry(), Expected(false).Eeprom);
  }
  EXPECT_EQ(Flash()->geometry(), kFirst.Flash);
}

TEST_F(Room, AViewThatTheUserHasMovedEndsThatForBoth) {
  Resize(1024, 740);
  const QRect eeprom = Eeprom()->geometry();
  Flash()->move(20, 30);
  const QRect flash = Flash()->geometry();
  Resize(1366, 740);
  EXPECT_EQ(Flash()->geometry(), flash);
  EXPECT_EQ(Eeprom()->geometry(), eeprom);
  Choose("mmuWindowReDrow");
  Resize(1600, 960);
  EXPECT_EQ(Flash()->geometry(), Expected(true).Flash);
  EXPECT_EQ(Eeprom()->geometry(), Expected(true).Eeprom);
}

TEST_F(Room, AMaximisedViewFindsItsPlaceWhenItIsRestored) {
  Window().Guide().close();
  Flash()->showMaximized();
  Resize(1366, 740);
  Flash()->showNormal();
  Settle();
  EXPECT_EQ(Flash()->geometry(), Expected(false).Flash);
  EXPECT_EQ(Eeprom()->geometry(), Expected(false).Eeprom);
}

TEST_F(Room, AGuideThatWasNotMovedGoesBesideTheViewsAndKeepsItsSize) {
  const QSize size = Window().Guide().size();
  EXPECT_EQ(Window().Guide().pos(), QPoint(0, 0));
  Resize(1366, 800);
  EXPECT_EQ(Window().Guide().geometry(), QRect(Expected(true).Free.topLeft(), size));
  Resize(753, 527);
  EXPECT_EQ(Window().Guide().geometry(), QRect(QPoint(0, 0), size));
  Window().Guide().move(40, 50);
  Resize(1366, 800);
  EXPECT_EQ(Window().Guide().pos(), QPoint(40, 50));
}

TEST_F(Room, WhatWasOpenedIsBeforeTheGuide) {
  Window().ChildArea()->ShowGuide();
  EXPECT_FALSE(IsInSight(Flash()));
  Files.Files["/files/prog.hex"] = ":02000000CDAB86\r\n:00000001FF\r\n";
  Press("Cmd_btn_reload");
  EXPECT_TRUE(IsInSight(Flash()));
  EXPECT_TRUE(IsInSight(Eeprom()));
}

TEST_F(Room, ANewDeviceLeavesTheGuideInFront) {
  Window().ChildArea()->ShowGuide();
  PickDevice(5);
  EXPECT_TRUE(IsInSight(&Window().Guide()));
}

TEST_F(Room, AReportWithoutDifferencesNeverCoversTheViews) {
  for (const QSize size : {QSize(753, 527), QSize(1024, 740), QSize(1366, 740)}) {
    Resize(size.width(), size.height());
    for (const char* button : {"Cmd_btn_program", "Cmd_btn_verify"}) {
      Press(button);
      Settle();
      EXPECT_TRUE(Report()->isVisible());
      EXPECT_TRUE(IsInSight(Flash())) << size.width();
      EXPECT_TRUE(IsInSight(Eeprom())) << size.width();
    }
    Named<QToolButton>("cmdShowReport")->click();
    EXPECT_TRUE(IsInSight(Report()));
  }
}

TEST_F(Room, TheReportTakesTheFreeRoomBesideTheViews) {
  Window().Guide().close();
  Press("Cmd_btn_program");
  for (const QSize size : {QSize(1024, 740), QSize(1366, 740), QSize(1600, 960)}) {
    Resize(size.width(), size.height());
    EXPECT_EQ(Report()->geometry(), Expected(true).Free);
    for (const ViewWindow* view : {Flash(), Eeprom()}) {
      EXPECT_FALSE(Report()->geometry().intersects(view->geometry()));
    }
  }
  Report()->close();
  Settle();
  EXPECT_EQ(Eeprom()->geometry(), Expected(false).Eeprom) << "the views take it back";
}

TEST_F(Room, AReportWithDifferencesComesToTheFront) {
  Press("Cmd_btn_program");
  EXPECT_FALSE(IsInSight(Report()));
  SpoilTheChip();
  Press("Cmd_btn_verify");
  EXPECT_TRUE(IsInSight(Report()));
  EXPECT_EQ(Area().activeSubWindow(), Report());
  EXPECT_TRUE(ViewText(View::Verify).contains("NG = 1234"));
}

TEST_F(Room, AMinimisedReportWithDifferencesIsShownAgain) {
  Press("Cmd_btn_program");
  Report()->showMinimized();
  SpoilTheChip();
  Press("Cmd_btn_verify");
  EXPECT_FALSE(Report()->isMinimized());
  EXPECT_TRUE(IsInSight(Report()));
}

TEST_F(Room, PlacesThatCameFromTheSizeFollowItAgainAfterARestart) {
  Window().Guide().close();
  Resize(753, 760);
  WindowBench again;
  Window().close();
  for (const char* key : {"MainWidth", "MainHeight", "PgmLeft", "PgmTop", "PgmWidth", "PgmHeight",
                          "EEpLeft", "EEpTop", "EEpWidth", "EEpHeight"}) {
    again.Settings.Write("Settings", key, Settings.Read("Settings", key).value());
  }
  again.Start();
  Settle();
  EXPECT_EQ(again.Window().size(), QSize(753, 760));
  again.Window().Guide().close();
  again.Window().resize(753, 640);
  Settle();
  const ViewPlaces places =
      ShareRoom(again.Window().ChildArea()->maximumViewportSize(), kFirst, false);
  EXPECT_EQ(again.Window().ViewOf(View::Flash)->geometry(), places.Flash);
  EXPECT_EQ(again.Window().ViewOf(View::Eeprom)->geometry(), places.Eeprom);
}

}  // namespace
}  // namespace fenwright::ui
