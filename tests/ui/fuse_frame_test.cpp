// The fuse frame of the real window, for all devices.

#include "ui/fuse_frame.h"

#include <set>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include "ui/elided_label.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using screen::FuseList;

struct Field {
  FuseList List;
  const char* Control;
  const char* Label;
  const char* Caption;
};

constexpr std::array<Field, 11> kFields{{
    {FuseList::Cksel, "Combo_CKSEL", "Lbl_CKSEL", "リセットディレイセレクト CKS[ Msb...Lsb ]"},
    {FuseList::Sut, "Combo_SUT", "Lbl_SUT", "スタートアップタイムセレクト [ Msb...Lsb ]"},
    {FuseList::Boden, "Combo_BODEN", "Lbl_BODEN", "ＢＯＤ有効ビット"},
    {FuseList::Bodlevel, "Combo_BODLEVEL", "Lbl_BODLEVEL", "BODLEVEL"},
    {FuseList::Ckopt, "Combo_CKOPT", "Lbl_CKOPT", "ＢＯＤレベル"},
    {FuseList::Pllck, "Combo_PLLCK", "Lbl_PLLCK", "ＢＯＤレベル"},
    {FuseList::Eesave, "Combo_EESAVE", "Lbl_EESAVE", "EESAVE"},
    {FuseList::Rstdisabl, "Combo_RSTDISABL", "Lbl_RSTDISABL", "RSTDISBL"},
    {FuseList::Fstrt, "Combo_FSTRT", "Lbl_FSTRT", "ファーストスタートアップ有効ビット"},
    {FuseList::Rcen, "Combo_RCEN", "Lbl_RCEN", "ＲＣオシレータ有効ビット"},
    {FuseList::Lock, "Combo_LockBit", "Label6", "Lock bit"},
}};

constexpr int kDevices = 13;
constexpr int kTiny12 = 0;
constexpr int kTiny26 = 2;
constexpr int k8515 = 11;

class FuseFrameTest : public ::testing::Test {
 protected:
  FuseFrameTest() { bench_.Start(); }

  MainWindow& Window() { return bench_.Run.Window(); }
  FuseFrame& Frame() { return Window().Fuses(); }
  QComboBox* List(FuseList list) { return Frame().List(list); }

  void PickDevice(int index) {
    Window().DeviceSelector()->setCurrentIndex(index);
    emit Window().DeviceSelector()->activated(index);
    QApplication::processEvents();
  }

  /// Chooses an item as the user does, in the opened list.
  void Choose(FuseList list, int index) {
    QComboBox* const box = List(list);
    box->setFocus();
    while (box->currentIndex() > index) QTest::keyClick(box, Qt::Key_Up);
    while (box->currentIndex() < index) QTest::keyClick(box, Qt::Key_Down);
  }

  [[nodiscard]] QRect PlaceOf(QWidget* control) {
    return {control->mapTo(&Window(), QPoint(0, 0)), control->size()};
  }

  WindowBench bench_;
};

TEST_F(FuseFrameTest, CarriesItsTitleAndTheControlsByTheirNames) {
  EXPECT_EQ(Frame().Frame()->title(), "Lock/Fuse ビット ＆ Calib.データ");
  for (const Field& field : kFields) {
    SCOPED_TRACE(field.Control);
    auto* const list = Find<QComboBox>(Window(), field.Control);
    auto* const label = Find<QLabel>(Window(), field.Label);
    EXPECT_EQ(list, List(field.List));
    EXPECT_EQ(label->text(), field.Caption);
    EXPECT_EQ(label->buddy(), list);
    EXPECT_FALSE(list->isEditable());
    EXPECT_FALSE(list->toolTip().isEmpty());
  }
  EXPECT_EQ(Find<QPushButton>(Window(), "cmdFuseRead")->text(), "Lock＆Fuseリード");
  EXPECT_EQ(Find<QPushButton>(Window(), "cmdFuseWrite")->text(), "Lock＆Fuseライト");
  EXPECT_EQ(Find<QLabel>(Window(), "Lbl_READCALIB")->text(), "?");
  EXPECT_EQ(Find<QLabel>(Window(), "Lbl_CALIB_Caption")->text(), "発振校正値 1・・・ 8MHz");
}

TEST_F(FuseFrameTest, TheSecondTextOfALabelIsItsTip) {
  EXPECT_EQ(Frame().LabelOf(FuseList::Bodlevel)->toolTip(), "ＢＯＤレベル");
  EXPECT_EQ(Frame().LabelOf(FuseList::Rstdisabl)->toolTip(), "ＰＢ５端子、リセット機能無効ビット");
}

TEST_F(FuseFrameTest, AccessibleNamesTellTheListsApart) {
  std::set<QString> names;
  for (const Field& field : kFields) names.insert(List(field.List)->accessibleName());
  EXPECT_EQ(names.size(), kFields.size());
}

TEST_F(FuseFrameTest, BeforeAnyDeviceItLooksAsWithoutOne) {
  FuseFrame fresh;
  fresh.show();
  for (const Field& field : kFields) {
    EXPECT_EQ(fresh.List(field.List)->count(), 1);
    EXPECT_EQ(fresh.List(field.List)->currentText(), "-");
    EXPECT_FALSE(fresh.List(field.List)->isEnabled());
  }
  EXPECT_FALSE(fresh.List(FuseList::Lock)->isVisible());
  EXPECT_FALSE(fresh.LabelOf(FuseList::Lock)->isVisible());
  EXPECT_FALSE(fresh.ReadButton()->isEnabled());
  EXPECT_FALSE(fresh.WriteButton()->isEnabled());
}

TEST_F(FuseFrameTest, EveryLabelStandsBesideItsListAndNothingIsCutOffAtTheFirstSize) {
  for (int device = 0; device < kDevices; ++device) {
    PickDevice(device);
    SCOPED_TRACE(Window().DeviceSelector()->currentText().toStdString());
    EXPECT_EQ(Window().size(), QSize(753, 527));
    auto* const area = Find<QScrollArea>(Window(), "fraSettings");
    const QRect seen = PlaceOf(area->viewport());
    EXPECT_EQ(area->verticalScrollBar()->value(), 0);
    EXPECT_TRUE(seen.contains(PlaceOf(Frame().Frame())));
    EXPECT_TRUE(seen.contains(PlaceOf(Frame().ByteLine())));
    for (const Field& field : kFields) {
      SCOPED_TRACE(field.Control);
      const QRect list = PlaceOf(List(field.List));
      const QRect label = PlaceOf(Frame().LabelOf(field.List));
      EXPECT_TRUE(seen.contains(list));
      EXPECT_TRUE(seen.contains(label));
      EXPECT_EQ(label.center().y(), list.center().y());
      EXPECT_LT(label.right(), list.left());
      EXPECT_LE(list.left() - label.right(), 8);
      EXPECT_TRUE(Frame().LabelOf(field.List)->alignment().testFlag(Qt::AlignRight));
      EXPECT_GE(label.width(), Frame().LabelOf(field.List)->sizeHint().width());
      // Text, arrow and frame of the list.
      const int text =
          List(field.List)->fontMetrics().horizontalAdvance(List(field.List)->currentText());
      EXPECT_GE(list.width(), text + 24);
      EXPECT_GE(list.height(), List(field.List)->fontMetrics().height() + 2);
    }
    for (QPushButton* button : {Frame().ReadButton(), Frame().WriteButton()}) {
      EXPECT_TRUE(seen.contains(PlaceOf(button)));
      EXPECT_GE(button->width(), button->fontMetrics().horizontalAdvance(button->text()) + 12);
    }
    EXPECT_TRUE(seen.contains(PlaceOf(Frame().Calibration())));
  }
}

TEST_F(FuseFrameTest, NoTwoControlsOverlap) {
  PickDevice(kTiny26);
  std::vector<QWidget*> controls{Frame().Calibration(), Frame().ReadButton(), Frame().WriteButton(),
                                 Frame().ByteLine()};
  for (const Field& field : kFields) {
    controls.push_back(List(field.List));
    controls.push_back(Frame().LabelOf(field.List));
  }
  for (QWidget* one : controls) {
    for (QWidget* other : controls) {
      if (one == other) continue;
      EXPECT_FALSE(PlaceOf(one).intersects(PlaceOf(other)))
          << one->objectName().toStdString() << " " << other->objectName().toStdString();
    }
  }
}

TEST_F(FuseFrameTest, EveryItemFitsIntoItsList) {
  for (int device = 0; device < kDevices; ++device) {
    PickDevice(device);
    for (const Field& field : kFields) {
      QComboBox* const list = List(field.List);
      for (int item = 0; item < list->count(); ++item) {
        EXPECT_GE(list->width(), list->fontMetrics().horizontalAdvance(list->itemText(item)) + 24)
            << field.Control << " " << list->itemText(item).toStdString();
      }
    }
  }
}

TEST_F(FuseFrameTest, TheCalibrationBytesOfATiny26AreWhole) {
  PickDevice(kTiny26);
  Frame().ReadButton()->click();
  QApplication::processEvents();
  EXPECT_EQ(Frame().Calibration()->text(), "0xA4 0x9F 0x9B 0x97 ");
  EXPECT_GE(Frame().Calibration()->width(), Frame().Calibration()->sizeHint().width());
}

TEST_F(FuseFrameTest, TheTabKeyGoesThroughTheFieldsInTheirOrder) {
  PickDevice(kTiny26);
  List(FuseList::Cksel)->setFocus();
  std::vector<QString> order;
  for (int step = 0; step < 11; ++step) {
    order.push_back(Window().focusWidget()->objectName());
    QTest::keyClick(Window().focusWidget(), Qt::Key_Tab);
  }
  EXPECT_EQ(order,
            (std::vector<QString>{"Combo_CKSEL", "Combo_SUT", "Combo_BODEN", "Combo_BODLEVEL",
                                  "Combo_CKOPT", "Combo_PLLCK", "Combo_EESAVE", "Combo_RSTDISABL",
                                  "Combo_LockBit", "cmdFuseRead", "cmdFuseWrite"}));
}

TEST_F(FuseFrameTest, TheMouseWheelChangesNoClosedList) {
  PickDevice(kTiny26);
  for (const Field& field : kFields) {
    QComboBox* const list = List(field.List);
    list->setFocus();
    const int before = list->currentIndex();
    for (const int turn : {120, -120}) {
      QWheelEvent wheel(list->rect().center(), list->mapToGlobal(list->rect().center()), {},
                        {0, turn}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
      QApplication::sendEvent(list, &wheel);
      EXPECT_EQ(list->currentIndex(), before) << field.Control;
    }
  }
}

TEST_F(FuseFrameTest, TheByteLineFollowsEveryChoice) {
  PickDevice(kTiny12);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xD2  Lock 0xFF");
  Choose(FuseList::Cksel, 15);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xDF  Lock 0xFF");
  Choose(FuseList::Lock, 1);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xDF  Lock 0xFD");
  PickDevice(kTiny26);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xE1  High 0xF7  Lock 0xFF");
  Choose(FuseList::Eesave, 0);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xE1  High 0xF3  Lock 0xFF");
  PickDevice(k8515);
  EXPECT_EQ(Frame().ByteLine()->text(), "Lock 0xFF");
}

TEST_F(FuseFrameTest, TheButtonsReadAndWriteTheChip) {
  PickDevice(kTiny26);
  Choose(FuseList::Cksel, 4);
  Choose(FuseList::Boden, 0);
  Frame().WriteButton()->click();
  const std::string trace = bench_.CodePage.ToUtf8(bench_.Files.Files["/app/_debug_avr.txt"]);
  EXPECT_NE(trace.find("Lock/Fuse bit ライトが完了しました。"), std::string::npos);
  EXPECT_EQ(bench_.Port.Board().Socket().FuseLow(), 0xE4);
  EXPECT_EQ(bench_.Port.Board().Socket().FuseHigh(), 0xF6);
  PickDevice(kTiny12);
  PickDevice(kTiny26);
  EXPECT_EQ(List(FuseList::Cksel)->currentText(), "0001");
  Frame().ReadButton()->click();
  EXPECT_EQ(Window().StatusPanel(screen::Panel::Status)->text(),
            "Lock/Fuse bit リードが完了しました。");
}

TEST_F(FuseFrameTest, WhileACommandRunsNothingInItCanBeTouched) {
  PickDevice(kTiny26);
  std::vector<bool> during;
  const auto look = [&] {
    for (const Field& field : kFields) during.push_back(List(field.List)->isEnabled());
    during.push_back(Frame().ReadButton()->isEnabled());
    during.push_back(Frame().WriteButton()->isEnabled());
  };
  Window().Run(look);
  EXPECT_EQ(during, std::vector(13, false));
  EXPECT_FALSE(List(FuseList::Fstrt)->isEnabled());
  EXPECT_TRUE(List(FuseList::Cksel)->isEnabled());
  EXPECT_TRUE(Frame().ReadButton()->isEnabled());
}

TEST_F(FuseFrameTest, AfterACommandTheFocusIsBackInTheFrame) {
  PickDevice(kTiny26);
  for (QWidget* control : {static_cast<QWidget*>(Frame().ReadButton()),
                           static_cast<QWidget*>(List(FuseList::Boden))}) {
    control->setFocus();
    Frame().ReadButton()->click();
    EXPECT_EQ(Window().focusWidget(), control);
  }
}

TEST_F(FuseFrameTest, GivingTheResetPinAwayWarnsAndKeepsTheChoice) {
  PickDevice(kTiny26);
  Choose(FuseList::Rstdisabl, 0);
  EXPECT_TRUE(bench_.Run.MessageDialog().IsLoaded());
  EXPECT_TRUE(QString::fromStdString(bench_.Run.State().MessageText)
                  .startsWith("ＰＢ５またはＰＢ７リセット機能の無効"));
  EXPECT_EQ(List(FuseList::Rstdisabl)->currentIndex(), 0);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xE1  High 0xE7  Lock 0xFF");
  bench_.Run.MessageDialog().Close();
  Choose(FuseList::Rstdisabl, 1);
  EXPECT_FALSE(bench_.Run.MessageDialog().IsLoaded());
}

TEST_F(FuseFrameTest, PickingTheItemThatIsChosenAlreadyWarnsToo) {
  PickDevice(kTiny26);
  bench_.Run.Context().Screen.Fuses.Select(FuseList::Rstdisabl, 0);
  QComboBox* const list = List(FuseList::Rstdisabl);
  list->showPopup();
  QTest::keyClick(list->view(), Qt::Key_Return);
  EXPECT_TRUE(QString::fromStdString(bench_.Run.State().MessageText)
                  .startsWith("ＰＢ５またはＰＢ７リセット機能の無効"));
  EXPECT_EQ(list->currentIndex(), 0);
}

TEST_F(FuseFrameTest, WhatIsReadOrRebuiltDoesNotWarn) {
  PickDevice(kTiny26);
  const screen::FuseList list = FuseList::Rstdisabl;
  bench_.Run.Context().Screen.Fuses.Select(list, 0);
  QApplication::processEvents();
  EXPECT_FALSE(bench_.Run.MessageDialog().IsLoaded());
}

TEST_F(FuseFrameTest, InASmallWindowEveryControlCanBeScrolledIntoSight) {
  PickDevice(kTiny26);
  Window().resize(500, 300);
  QApplication::processEvents();
  auto* const area = Find<QScrollArea>(Window(), "fraSettings");
  for (QWidget* control :
       {static_cast<QWidget*>(List(FuseList::Cksel)), static_cast<QWidget*>(List(FuseList::Lock)),
        static_cast<QWidget*>(Frame().WriteButton()), static_cast<QWidget*>(Frame().ByteLine()),
        Find<QWidget>(Window(), "CmdWrite")}) {
    area->ensureWidgetVisible(control);
    QApplication::processEvents();
    EXPECT_TRUE(PlaceOf(area->viewport()).contains(PlaceOf(control)))
        << control->objectName().toStdString();
  }
}

}  // namespace
}  // namespace fenwright::ui
