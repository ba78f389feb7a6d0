// The fuse frame of the real window, for all devices.

#include "ui/fuse_frame.h"

#include <QAbstractItemView>
#include <QGroupBox>
#include <QWheelEvent>

#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using enum FuseList;

struct Field {
  FuseList List;
  const char* Control;
  const char* Label;
  const char* Caption;
};

constexpr std::array<Field, 11> kFields{{
    {Cksel, "Combo_CKSEL", "Lbl_CKSEL", "リセットディレイセレクト CKS[ Msb...Lsb ]"},
    {Sut, "Combo_SUT", "Lbl_SUT", "スタートアップタイムセレクト [ Msb...Lsb ]"},
    {Boden, "Combo_BODEN", "Lbl_BODEN", "ＢＯＤ有効ビット"},
    {Bodlevel, "Combo_BODLEVEL", "Lbl_BODLEVEL", "BODLEVEL"},
    {Ckopt, "Combo_CKOPT", "Lbl_CKOPT", "ＢＯＤレベル"},
    {Pllck, "Combo_PLLCK", "Lbl_PLLCK", "ＢＯＤレベル"},
    {Eesave, "Combo_EESAVE", "Lbl_EESAVE", "EESAVE"},
    {Rstdisabl, "Combo_RSTDISABL", "Lbl_RSTDISABL", "RSTDISBL"},
    {Fstrt, "Combo_FSTRT", "Lbl_FSTRT", "ファーストスタートアップ有効ビット"},
    {Rcen, "Combo_RCEN", "Lbl_RCEN", "ＲＣオシレータ有効ビット"},
    {Lock, "Combo_LockBit", "Label6", "Lock bit"},
}};

constexpr int kTiny12 = 0;
constexpr int kTiny26 = 2;
constexpr int k8515 = 11;

struct FuseFrameTest : WindowTest {
  FuseFrameTest() { Start(); }

  FuseFrame& Frame() { return Window().Fuses(); }
  QComboBox* List(FuseList list) { return Frame().List(list); }

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
};

TEST_F(FuseFrameTest, CarriesItsTitleAndTheControlsByTheirNames) {
  EXPECT_EQ(Frame().Frame()->title(), "Lock/Fuse ビット ＆ Calib.データ");
  for (const Field& field : kFields) {
    SCOPED_TRACE(field.Control);
    auto* const list = Named<QComboBox>(field.Control);
    auto* const label = Named<QLabel>(field.Label);
    EXPECT_EQ(list, List(field.List));
    EXPECT_EQ(label->text(), field.Caption);
    EXPECT_EQ(label->buddy(), list);
    EXPECT_FALSE(list->isEditable());
    EXPECT_FALSE(list->toolTip().isEmpty());
  }
  EXPECT_EQ(Named<QPushButton>("cmdFuseRead")->text(), "Lock＆Fuseリード");
  EXPECT_EQ(Named<QPushButton>("cmdFuseWrite")->text(), "Lock＆Fuseライト");
  EXPECT_EQ(Named<QLabel>("Lbl_READCALIB")->text(), "?");
  EXPECT_EQ(Named<QLabel>("Lbl_CALIB_Caption")->text(), "発振校正値 1・・・ 8MHz");
}

TEST_F(FuseFrameTest, TheSecondTextOfALabelIsItsTip) {
  EXPECT_EQ(Frame().LabelOf(Bodlevel)->toolTip(), "ＢＯＤレベル");
  EXPECT_EQ(Frame().LabelOf(Rstdisabl)->toolTip(), "ＰＢ５端子、リセット機能無効ビット");
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
  EXPECT_FALSE(fresh.List(Lock)->isVisible());
  EXPECT_FALSE(fresh.LabelOf(Lock)->isVisible());
  EXPECT_FALSE(fresh.ReadButton()->isEnabled());
  EXPECT_FALSE(fresh.WriteButton()->isEnabled());
}

TEST_F(FuseFrameTest, EveryLabelStandsBesideItsListAndNothingIsCutOffAtTheFirstSize) {
  for (int device = 0; device < Window().DeviceSelector()->count(); ++device) {
    PickDevice(device);
    SCOPED_TRACE(Window().DeviceSelector()->currentText().toStdString());
    EXPECT_EQ(Window().size(), QSize(753, 527));
    auto* const area = Named<QScrollArea>("fraSettings");
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
  for (int device = 0; device < Window().DeviceSelector()->count(); ++device) {
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
  List(Cksel)->setFocus();
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
  Choose(Cksel, 15);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xDF  Lock 0xFF");
  Choose(Lock, 1);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xDF  Lock 0xFD");
  PickDevice(kTiny26);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xE1  High 0xF7  Lock 0xFF");
  Choose(Eesave, 0);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xE1  High 0xF3  Lock 0xFF");
  PickDevice(k8515);
  EXPECT_EQ(Frame().ByteLine()->text(), "Lock 0xFF");
}

TEST_F(FuseFrameTest, AFieldThatIsNotAtItsDefaultIsMarkedAndSaysWhatItDoes) {
  PickDevice(kTiny26);
  auto* const words = Named<QLabel>("lblFuseWords");
  EXPECT_FALSE(words->isVisible());
  const QImage before = List(Pllck)->grab().toImage();
  Choose(Pllck, 0);
  Choose(Eesave, 0);
  EXPECT_TRUE(words->isVisible());
  EXPECT_EQ(words->text().count('\n'), 1);
  EXPECT_TRUE(words->text().startsWith("PLLCK 0 : ")) << words->text().toStdString();
  EXPECT_TRUE(words->text().contains("\nEESAVE Enable : "));
  EXPECT_TRUE(words->toolTip().contains("doc1477"));
  EXPECT_TRUE(List(Pllck)->font().bold()) << "not by colour alone";
  EXPECT_TRUE(List(Pllck)->accessibleDescription().contains("既定値 1 から変更"));
  EXPECT_FALSE(List(Ckopt)->font().bold());
  EXPECT_EQ(List(Ckopt)->accessibleDescription(), "");
  Choose(Pllck, 1);
  Choose(Eesave, 1);
  EXPECT_FALSE(words->isVisible());
  EXPECT_EQ(List(Pllck)->grab().toImage(), before);
}

TEST_F(FuseFrameTest, WhatAReadBringsIsMarkedWhereItDiffersFromTheDefaults) {
  PickDevice(kTiny26);
  Choose(Cksel, 4);
  Choose(Boden, 0);
  Frame().WriteButton()->click();
  PickDevice(kTiny12);
  PickDevice(kTiny26);
  EXPECT_FALSE(List(Cksel)->font().bold());
  Frame().ReadButton()->click();
  for (const Field& field : kFields) {
    const bool differs = field.List == Cksel || field.List == Boden;
    EXPECT_EQ(List(field.List)->font().bold(), differs) << field.Control;
  }
}

TEST_F(FuseFrameTest, TheTwoListsThatAreCaptionedAlikeSayWhichTheyAre) {
  EXPECT_EQ(List(Ckopt)->accessibleName(), "CKOPT");
  EXPECT_TRUE(List(Ckopt)->toolTip().startsWith("CKOPT "));
  EXPECT_EQ(List(Pllck)->accessibleName(), "PLLCK");
  EXPECT_TRUE(List(Pllck)->toolTip().startsWith("PLLCK "));
}

TEST_F(FuseFrameTest, TheButtonsReadAndWriteTheChip) {
  PickDevice(kTiny26);
  Choose(Cksel, 4);
  Choose(Boden, 0);
  Frame().WriteButton()->click();
  const std::string trace = CodePage.ToUtf8(Files.Files["/app/_debug_avr.txt"]);
  EXPECT_THAT(trace, HasSubstr("Lock/Fuse bit ライトが完了しました。"));
  EXPECT_EQ(Port.Board().Socket().FuseLow(), 0xE4);
  EXPECT_EQ(Port.Board().Socket().FuseHigh(), 0xF6);
  PickDevice(kTiny12);
  PickDevice(kTiny26);
  EXPECT_EQ(List(Cksel)->currentText(), "0001");
  Frame().ReadButton()->click();
  EXPECT_EQ(PanelText(Panel::Status), "Lock/Fuse bit リードが完了しました。");
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
  EXPECT_FALSE(List(Fstrt)->isEnabled());
  EXPECT_TRUE(List(Cksel)->isEnabled());
  EXPECT_TRUE(Frame().ReadButton()->isEnabled());
}

TEST_F(FuseFrameTest, AfterACommandTheFocusIsBackInTheFrame) {
  PickDevice(kTiny26);
  for (QWidget* control :
       {static_cast<QWidget*>(Frame().ReadButton()), static_cast<QWidget*>(List(Boden))}) {
    control->setFocus();
    Frame().ReadButton()->click();
    EXPECT_EQ(Window().focusWidget(), control);
  }
}

TEST_F(FuseFrameTest, GivingTheResetPinAwayWarnsAndKeepsTheChoice) {
  PickDevice(kTiny26);
  Choose(Rstdisabl, 0);
  EXPECT_TRUE(Run.MessageDialog().IsLoaded());
  EXPECT_TRUE(QString::fromStdString(State().MessageText)
                  .startsWith("ＰＢ５またはＰＢ７リセット機能の無効"));
  EXPECT_EQ(List(Rstdisabl)->currentIndex(), 0);
  EXPECT_EQ(Frame().ByteLine()->text(), "Fuse 0xE1  High 0xE7  Lock 0xFF");
  Run.MessageDialog().Close();
  Choose(Rstdisabl, 1);
  EXPECT_FALSE(Run.MessageDialog().IsLoaded());
}

TEST_F(FuseFrameTest, PickingTheItemThatIsChosenAlreadyWarnsToo) {
  PickDevice(kTiny26);
  Run.Context().Screen.Fuses.Select(Rstdisabl, 0);
  QComboBox* const list = List(Rstdisabl);
  list->showPopup();
  QTest::keyClick(list->view(), Qt::Key_Return);
  EXPECT_TRUE(QString::fromStdString(State().MessageText)
                  .startsWith("ＰＢ５またはＰＢ７リセット機能の無効"));
  EXPECT_EQ(list->currentIndex(), 0);
}

TEST_F(FuseFrameTest, WhatIsReadOrRebuiltDoesNotWarn) {
  PickDevice(kTiny26);
  const FuseList list = Rstdisabl;
  Run.Context().Screen.Fuses.Select(list, 0);
  QApplication::processEvents();
  EXPECT_FALSE(Run.MessageDialog().IsLoaded());
}

TEST_F(FuseFrameTest, InASmallWindowEveryControlCanBeScrolledIntoSight) {
  PickDevice(kTiny26);
  Window().resize(500, 300);
  QApplication::processEvents();
  auto* const area = Named<QScrollArea>("fraSettings");
  for (QWidget* control : {static_cast<QWidget*>(List(Cksel)), static_cast<QWidget*>(List(Lock)),
                           static_cast<QWidget*>(Frame().WriteButton()),
                           static_cast<QWidget*>(Frame().ByteLine()), Named<QWidget>("CmdWrite")}) {
    area->ensureWidgetVisible(control);
    QApplication::processEvents();
    EXPECT_TRUE(PlaceOf(area->viewport()).contains(PlaceOf(control)))
        << control->objectName().toStdString();
  }
}

}  // namespace
}  // namespace fenwright::ui
