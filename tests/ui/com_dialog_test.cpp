#include "ui/com_dialog.h"

#include <functional>
#include <string>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "support/form_fakes.h"
#include "ui/elided_label.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using platform::PortState;
using screen::ComFormButton;

struct DialogBench {
  QWidget Owner;
  core::AppState State;
  std::string Line = "usable";
  int Looks = 0;
  ComDialog Dialog{Owner, State, [this](int number) {
                     ++Looks;
                     return "COM" + std::to_string(number) + " " + Line;
                   }};

  DialogBench() {
    Owner.setGeometry(100, 100, 600, 400);
    Owner.show();
    Dialog.SetItems({"????", "COM1", "COM2"});
    Dialog.SetListIndex(0);
    Dialog.PlaceOverMainWindow();
  }
  template <typename Control>
  Control* Get(const char* name) {
    return Find<Control>(Dialog, name);
  }
  std::string PortLine() { return Get<QLabel>("lblPort")->text().toStdString(); }
  /// Waits for a button while a user does something.
  ComFormButton WaitWhile(const std::function<void()>& user) {
    QTimer::singleShot(0, &Dialog, user);
    return Dialog.WaitForButton();
  }
};

TEST(ComDialog, HasItsControlsAndTexts) {
  DialogBench bench;
  EXPECT_EQ(bench.Dialog.objectName(), "frmCom");
  EXPECT_EQ(bench.Dialog.windowTitle(), "通信ポート選択");
  EXPECT_EQ(bench.Get<QLabel>("Label1")->text(), "通信ポートを選んでください。");
  EXPECT_EQ(bench.Get<QComboBox>("Combo_com")->count(), 3);
  EXPECT_EQ(bench.Get<QPushButton>("Command_ok")->text(), "OK");
  EXPECT_EQ(bench.Get<QPushButton>("Command_cancel")->text(), "CANCEL");
  for (const QWidget* child :
       bench.Dialog.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
  }
}

TEST(ComDialog, EachButtonEndsTheWaitAndTheDialogStays) {
  DialogBench bench;
  const auto press = [&](const char* name) {
    return bench.WaitWhile([&bench, name] { bench.Get<QPushButton>(name)->click(); });
  };
  EXPECT_EQ(press("Command_ok"), ComFormButton::Ok);
  EXPECT_TRUE(bench.Dialog.isVisible());
  EXPECT_EQ(press("Command_cancel"), ComFormButton::Cancel);
  EXPECT_TRUE(bench.Dialog.isVisible());
  bench.Dialog.Unload();
  EXPECT_FALSE(bench.Dialog.isVisible());
}

TEST(ComDialog, EnterIsOkAndEscapeAndTheTitleBarAreCancel) {
  DialogBench bench;
  EXPECT_EQ(bench.WaitWhile([&] { QTest::keyClick(&bench.Dialog, Qt::Key_Return); }),
            ComFormButton::Ok);
  EXPECT_EQ(bench.WaitWhile([&] { QTest::keyClick(&bench.Dialog, Qt::Key_Escape); }),
            ComFormButton::Cancel);
  EXPECT_EQ(bench.WaitWhile([&] { bench.Dialog.close(); }), ComFormButton::Cancel);
  EXPECT_TRUE(bench.Dialog.isVisible());
}

TEST(ComDialog, IsModalWhileItWaits) {
  DialogBench bench;
  bench.WaitWhile([&] {
    EXPECT_EQ(QApplication::activeModalWidget(), &bench.Dialog);
    bench.Dialog.reject();
  });
  bench.Dialog.Hide();
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST(ComDialog, AButtonPressedAfterTheWaitDoesNothing) {
  DialogBench bench;
  bench.WaitWhile([&] { bench.Get<QPushButton>("Command_ok")->click(); });
  bench.Get<QPushButton>("Command_cancel")->click();
  EXPECT_TRUE(bench.Dialog.isVisible());
  EXPECT_EQ(bench.WaitWhile([&] { bench.Get<QPushButton>("Command_ok")->click(); }),
            ComFormButton::Ok);
}

TEST(ComDialog, TheLineFollowsTheSelection) {
  DialogBench bench;
  EXPECT_EQ(bench.PortLine(), "ライターをつないだポートを選んでください。");
  bench.Get<QComboBox>("Combo_com")->setFocus();
  QTest::keyClick(bench.Get<QComboBox>("Combo_com"), Qt::Key_Down);
  EXPECT_EQ(bench.PortLine(), "COM1 usable");
  bench.Dialog.SetListIndex(2);
  EXPECT_EQ(bench.PortLine(), "COM2 usable");
  EXPECT_EQ(bench.Dialog.ListIndex(), 2);
}

TEST(ComDialog, TheLineIsBroughtUpToDateWhileTheDialogIsOpen) {
  DialogBench bench;
  bench.Dialog.SetListIndex(1);
  bench.WaitWhile([&] {
    bench.Line = "missing";
    EXPECT_TRUE(QTest::qWaitFor([&] { return bench.PortLine() == "COM1 missing"; }, 3000));
    bench.Line = "usable";
    EXPECT_TRUE(QTest::qWaitFor([&] { return bench.PortLine() == "COM1 usable"; }, 3000));
    bench.Dialog.reject();
  });
  bench.Dialog.Unload();
  const int looks = bench.Looks;
  QTest::qWait(1200);
  EXPECT_EQ(bench.Looks, looks) << "nobody looks at ports behind a dialog that is gone";
}

TEST(ComDialog, ANoteStandsUntilAnotherPortIsSelected) {
  DialogBench bench;
  bench.Dialog.SetListIndex(1);
  bench.Dialog.SetNote("could not be opened");
  EXPECT_EQ(bench.PortLine(), "could not be opened");
  bench.WaitWhile([&] { bench.Dialog.reject(); });
  EXPECT_EQ(bench.PortLine(), "could not be opened");
  bench.Dialog.SetListIndex(2);
  EXPECT_EQ(bench.PortLine(), "COM2 usable");
}

TEST(ComDialog, ALongLineIsShownWhole) {
  DialogBench bench;
  bench.Line = std::string(600, 'x');
  bench.Dialog.SetListIndex(1);
  bench.WaitWhile([&] {
    auto* line = bench.Get<QLabel>("lblPort");
    EXPECT_GE(line->height(), line->heightForWidth(line->width()));
    EXPECT_TRUE(bench.Dialog.rect().contains(line->geometry()));
    bench.Dialog.reject();
  });
}

TEST(ComDialog, GivesWayWhenTheProgramIsToEnd) {
  DialogBench bench;
  EXPECT_EQ(bench.WaitWhile([&] { bench.State.StopRequested = true; }), ComFormButton::Cancel);
}

// In the whole program.

void Press(WindowBench& bench, const char* name) {
  QTest::mouseClick(Find<QPushButton>(bench.Run.Window(), name), Qt::LeftButton);
}

/// Does something as soon as the dialog is on the screen.
void WhenTheDialogIsOpen(WindowBench& bench, const std::function<void(ComDialog&)>& user) {
  auto* timer = new QTimer(&bench.Run.Window());
  QObject::connect(timer, &QTimer::timeout, timer, [&bench, timer, user] {
    if (!bench.Run.ComPortDialog().isVisible()) return;
    timer->deleteLater();
    user(bench.Run.ComPortDialog());
  });
  timer->start(5);
}

void ChooseAndPress(ComDialog& dialog, int index, const char* button) {
  Find<QComboBox>(dialog, "Combo_com")->setCurrentIndex(index);
  Find<QPushButton>(dialog, button)->click();
}

TEST(ComDialogInTheProgram, TheButtonOpensItAndTheChosenPortIsChecked) {
  WindowBench bench;
  bench.Start();
  WhenTheDialogIsOpen(bench, [](ComDialog& dialog) {
    EXPECT_EQ(Find<QComboBox>(dialog, "Combo_com")->currentText(), "COM1");
    ChooseAndPress(dialog, 6, "Command_ok");
  });
  Press(bench, "Cmd_btn_comselect");
  EXPECT_FALSE(bench.Run.ComPortDialog().isVisible());
  EXPECT_EQ(bench.Settings.Read("Settings", "ComNox"), "6");
  EXPECT_EQ(bench.Run.Window().StatusPanel(screen::Panel::Port)->text(), "COM6");
  EXPECT_EQ(bench.Run.Window().StatusPanel(screen::Panel::BoardVersion)->text(),
            "KV-LOD350  V6.38");
  EXPECT_TRUE(bench.Port.PortOpen());
  EXPECT_TRUE(Find<QPushButton>(bench.Run.Window(), "Cmd_btn_comselect")->isEnabled());
}

TEST(ComDialogInTheProgram, AClickOnThePanelThatNamesThePortOpensIt) {
  WindowBench bench;
  bench.Start();
  ElidedLabel* panel = bench.Run.Window().StatusPanel(screen::Panel::Port);
  int opened = 0;
  QTest::mouseClick(panel, Qt::LeftButton);
  EXPECT_FALSE(bench.Run.ComPortDialog().isVisible()) << "the panel is empty";
  panel->SetText("COM1");
  WhenTheDialogIsOpen(bench, [&](ComDialog& dialog) {
    ++opened;
    dialog.reject();
  });
  QTest::mouseClick(panel, Qt::LeftButton);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(bench.Run.State().LinkError, 1);
}

TEST(ComDialogInTheProgram, TheFirstRunShowsItOnceWithNoPortChosen) {
  WindowBench bench;
  bench.Settings = {};
  WhenTheDialogIsOpen(bench, [](ComDialog& dialog) {
    EXPECT_EQ(Find<QComboBox>(dialog, "Combo_com")->currentText(), "????");
    dialog.reject();
  });
  EXPECT_EQ(bench.Start(), core::CommandEnding::Finished);
  EXPECT_EQ(bench.Settings.Read("Settings", "Index_Com_Flag"), "1");
  EXPECT_FALSE(bench.Run.ComPortDialog().isVisible());
}

TEST(ComDialogInTheProgram, SaysWhatBecomesOfTheSelectedPort) {
  testing::FakePortInfos ports;
  ports.Ports[1] = {.Number = 1,
                    .Path = "/dev/ttyS0",
                    .Description = "内蔵シリアルポート",
                    .State = PortState::Usable};
  WindowBench bench(kInstantly, &ports);
  bench.Start();
  std::vector<std::string> lines;
  WhenTheDialogIsOpen(bench, [&](ComDialog& dialog) {
    const auto* line = Find<QLabel>(dialog, "lblPort");
    lines.push_back(line->text().toStdString());
    ports.Ports[1].State = PortState::Missing;
    ports.Ports[1].Reason = "gone";
    ports.Ports[1].Description = "";
    EXPECT_TRUE(QTest::qWaitFor([&] { return line->text() == "gone"; }, 3000));
    dialog.reject();
  });
  Press(bench, "Cmd_btn_comselect");
  EXPECT_EQ(lines, std::vector<std::string>{"/dev/ttyS0 : 内蔵シリアルポート、使用できます。"});
}

TEST(ComDialogInTheProgram, AChosenPortThatGoesIsSaidInItsPanelsTip) {
  testing::FakePortInfos ports;
  ports.Ports[1] = {.Number = 1, .Path = "/dev/ttyUSB0", .State = PortState::Usable};
  WindowBench bench(kInstantly, &ports);
  bench.Start();
  Press(bench, "Cmd_btn_verify");
  const ElidedLabel* panel = bench.Run.Window().StatusPanel(screen::Panel::Port);
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return panel->toolTip() == "/dev/ttyUSB0 : 使用できます。"; }, 5000));
  ports.Ports[1] = {.Number = 1, .Path = "/dev/ttyUSB0", .Reason = "抜かれました。"};
  EXPECT_TRUE(QTest::qWaitFor([&] { return panel->toolTip() == "抜かれました。"; }, 5000));
  EXPECT_EQ(panel->text(), "COM1");
}

}  // namespace
}  // namespace fenwright::ui
