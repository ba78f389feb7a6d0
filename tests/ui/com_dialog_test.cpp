#include "ui/com_dialog.h"

#include "board/simulated_port_infos.h"
#include "core/command_end.h"
#include "support/form_fakes.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using platform::PortState;
using screen::ComFormButton;

struct DialogBench : Test {
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

TEST_ON(DialogBench, ComDialog, HasItsControlsAndTexts) {
  EXPECT_EQ(Dialog.objectName(), "frmCom");
  EXPECT_EQ(Dialog.windowTitle(), "通信ポート選択");
  EXPECT_EQ(Get<QLabel>("Label1")->text(), "通信ポートを選んでください。");
  EXPECT_EQ(Get<QComboBox>("Combo_com")->count(), 3);
  EXPECT_EQ(Get<QPushButton>("Command_ok")->text(), "OK");
  EXPECT_EQ(Get<QPushButton>("Command_cancel")->text(), "CANCEL");
  for (const QWidget* child :
       Dialog.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
  }
}

TEST_ON(DialogBench, ComDialog, EachButtonEndsTheWaitAndTheDialogStays) {
  const auto press = [&](const char* name) {
    return WaitWhile([this, name] { Get<QPushButton>(name)->click(); });
  };
  EXPECT_EQ(press("Command_ok"), ComFormButton::Ok);
  EXPECT_TRUE(Dialog.isVisible());
  EXPECT_EQ(press("Command_cancel"), ComFormButton::Cancel);
  EXPECT_TRUE(Dialog.isVisible());
  Dialog.Unload();
  EXPECT_FALSE(Dialog.isVisible());
}

TEST_ON(DialogBench, ComDialog, EnterIsOkAndEscapeAndTheTitleBarAreCancel) {
  EXPECT_EQ(WaitWhile([&] { QTest::keyClick(&Dialog, Qt::Key_Return); }), ComFormButton::Ok);
  EXPECT_EQ(WaitWhile([&] { QTest::keyClick(&Dialog, Qt::Key_Escape); }), ComFormButton::Cancel);
  EXPECT_EQ(WaitWhile([&] { Dialog.close(); }), ComFormButton::Cancel);
  EXPECT_TRUE(Dialog.isVisible());
}

TEST_ON(DialogBench, ComDialog, IsModalWhileItWaits) {
  WaitWhile([&] {
    EXPECT_EQ(QApplication::activeModalWidget(), &Dialog);
    Dialog.reject();
  });
  Dialog.Hide();
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_ON(DialogBench, ComDialog, AButtonPressedAfterTheWaitDoesNothing) {
  WaitWhile([&] { Get<QPushButton>("Command_ok")->click(); });
  Get<QPushButton>("Command_cancel")->click();
  EXPECT_TRUE(Dialog.isVisible());
  EXPECT_EQ(WaitWhile([&] { Get<QPushButton>("Command_ok")->click(); }), ComFormButton::Ok);
}

TEST_ON(DialogBench, ComDialog, TheLineFollowsTheSelection) {
  EXPECT_EQ(PortLine(), "ライターをつないだポートを選んでください。");
  Get<QComboBox>("Combo_com")->setFocus();
  QTest::keyClick(Get<QComboBox>("Combo_com"), Qt::Key_Down);
  EXPECT_EQ(PortLine(), "COM1 usable");
  Dialog.SetListIndex(2);
  EXPECT_EQ(PortLine(), "COM2 usable");
  EXPECT_EQ(Dialog.ListIndex(), 2);
}

TEST_ON(DialogBench, ComDialog, TheLineIsBroughtUpToDateWhileTheDialogIsOpen) {
  Dialog.SetListIndex(1);
  WaitWhile([&] {
    Line = "missing";
    EXPECT_TRUE(QTest::qWaitFor([&] { return PortLine() == "COM1 missing"; }, 3000));
    Line = "usable";
    EXPECT_TRUE(QTest::qWaitFor([&] { return PortLine() == "COM1 usable"; }, 3000));
    Dialog.reject();
  });
  Dialog.Unload();
  const int looks = Looks;
  QTest::qWait(1200);
  EXPECT_EQ(Looks, looks) << "nobody looks at ports behind a dialog that is gone";
}

TEST_ON(DialogBench, ComDialog, ANoteStandsUntilAnotherPortIsSelected) {
  Dialog.SetListIndex(1);
  Dialog.SetNote("could not be opened");
  EXPECT_EQ(PortLine(), "could not be opened");
  WaitWhile([&] { Dialog.reject(); });
  EXPECT_EQ(PortLine(), "could not be opened");
  Dialog.SetListIndex(2);
  EXPECT_EQ(PortLine(), "COM2 usable");
}

TEST_ON(DialogBench, ComDialog, ALongLineIsShownWhole) {
  Line = std::string(600, 'x');
  Dialog.SetListIndex(1);
  WaitWhile([&] {
    auto* line = Get<QLabel>("lblPort");
    EXPECT_GE(line->height(), line->heightForWidth(line->width()));
    EXPECT_TRUE(Dialog.rect().contains(line->geometry()));
    Dialog.reject();
  });
}

TEST_ON(DialogBench, ComDialog, GivesWayWhenTheProgramIsToEnd) {
  EXPECT_EQ(WaitWhile([&] { State.StopRequested = true; }), ComFormButton::Cancel);
}

// In the whole program.

/// Does something as soon as the dialog is on the screen.
void WhenTheDialogIsOpen(WindowBench& bench, const std::function<void(ComDialog&)>& user) {
  auto* timer = new QTimer(&bench.Window());
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

TEST_ON(DialogBench, ComDialog, ASearchThatEndsTheCommandTakesTheDialogAlong) {
  Dialog.SetSearch([](const std::vector<int>&) -> int { throw core::CommandEnd{}; });
  EXPECT_THROW(WaitWhile([&] { Get<QPushButton>("cmdSearchBoard")->click(); }), core::CommandEnd);
  EXPECT_FALSE(Dialog.isVisible());
  EXPECT_TRUE(Dialog.isEnabled());
}

TEST_ON(WindowTest, ComDialogInTheProgram, TheButtonOpensItAndTheChosenPortIsChecked) {
  Start();
  WhenTheDialogIsOpen(*this, [](ComDialog& dialog) {
    EXPECT_EQ(Find<QComboBox>(dialog, "Combo_com")->currentText(), "COM1");
    ChooseAndPress(dialog, 6, "Command_ok");
  });
  Press("Cmd_btn_comselect");
  EXPECT_FALSE(Run.ComPortDialog().isVisible());
  EXPECT_EQ(Settings.Read("Settings", "ComNox"), "6");
  EXPECT_EQ(PanelText(Panel::Port), "COM6");
  EXPECT_EQ(PanelText(Panel::BoardVersion), "KV-LOD350  V6.38");
  EXPECT_TRUE(Port.PortOpen());
  EXPECT_TRUE(Named<QPushButton>("Cmd_btn_comselect")->isEnabled());
}

TEST_ON(WindowTest, ComDialogInTheProgram, AClickOnThePanelThatNamesThePortOpensIt) {
  Start();
  ElidedLabel* panel = Window().StatusPanel(Panel::Port);
  int opened = 0;
  QTest::mouseClick(panel, Qt::LeftButton);
  EXPECT_FALSE(Run.ComPortDialog().isVisible()) << "the panel is empty";
  panel->SetText("COM1");
  WhenTheDialogIsOpen(*this, [&](ComDialog& dialog) {
    ++opened;
    dialog.reject();
  });
  QTest::mouseClick(panel, Qt::LeftButton);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(State().LinkError, 1);
}

TEST_ON(WindowTest, ComDialogInTheProgram, TheFirstRunShowsItOnceWithNoPortChosen) {
  Settings = {};
  WhenTheDialogIsOpen(*this, [](ComDialog& dialog) {
    EXPECT_EQ(Find<QComboBox>(dialog, "Combo_com")->currentText(), "????");
    dialog.reject();
  });
  EXPECT_EQ(Start(), CommandEnding::Finished);
  EXPECT_EQ(Settings.Read("Settings", "Index_Com_Flag"), "1");
  EXPECT_FALSE(Run.ComPortDialog().isVisible());
}

TEST_ON(WindowTest, ComDialogInTheProgram, SaysWhatBecomesOfTheSelectedPort) {
  FakePortInfos ports;
  ports.Ports[1] = {.Number = 1,
                    .Path = "/dev/ttyS0",
                    .Description = "内蔵シリアルポート",
                    .State = PortState::Usable};
  WindowBench bench({.Ports = &ports});
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
  bench.Press("Cmd_btn_comselect");
  EXPECT_EQ(lines, std::vector<std::string>{"/dev/ttyS0 : 内蔵シリアルポート、使用できます。"});
}

TEST_ON(WindowTest, ComDialogInTheProgram, AChosenPortThatGoesIsSaidInItsPanelsTip) {
  FakePortInfos ports;
  ports.Ports[1] = {.Number = 1, .Path = "/dev/ttyUSB0", .State = PortState::Usable};
  WindowBench bench({.Ports = &ports});
  bench.Start();
  bench.Press("Cmd_btn_verify");
  const ElidedLabel* panel = bench.Window().StatusPanel(Panel::Port);
  EXPECT_TRUE(
      QTest::qWaitFor([&] { return panel->toolTip() == "/dev/ttyUSB0 : 使用できます。"; }, 5000));
  ports.Ports[1] = {.Number = 1, .Path = "/dev/ttyUSB0", .Reason = "抜かれました。"};
  EXPECT_TRUE(QTest::qWaitFor([&] { return panel->toolTip() == "抜かれました。"; }, 5000));
  EXPECT_EQ(panel->text(), "COM1");
}

/// Ports of which a test says what they are.
struct GivenPorts final : platform::PortInfos {
  platform::PortInfo Describe(int number) override {
    const auto found = Ports.find(number);
    return found == Ports.end() ? platform::PortInfo{.Number = number} : found->second;
  }
  void Put(int number, PortState state, const char* description = "USB シリアル") {
    Ports[number] = {.Number = number,
                     .Path = "/dev/ttyUSB0",
                     .Description = description,
                     .State = state,
                     .Reason = ""};
  }
  std::map<int, platform::PortInfo> Ports;
};

struct PortsBench {
  GivenPorts Ports;
};

/// The dialog of a run on those ports, and a user in front of it.
struct ComDialogOnPorts : PortsBench, WindowTest {
  explicit ComDialogOnPorts(const std::vector<board::Fault>& faults = {})
      : WindowTest({.Faults = faults, .Ports = &Ports}) {}
  QComboBox* List() { return Find<QComboBox>(Run.ComPortDialog(), "Combo_com"); }
  QPushButton* DialogButton(const char* name) {
    return Find<QPushButton>(Run.ComPortDialog(), name);
  }
  std::string Beside(int item) {
    return List()->itemData(item, Qt::UserRole).toString().toStdString();
  }
  std::string PortLine() {
    return Find<QLabel>(Run.ComPortDialog(), "lblPort")->text().toStdString();
  }
  /// A user who goes on to the next step when one is done; between them the dialog works.
  void StepByStep(const std::vector<std::function<bool()>>& steps) {
    std::size_t done = 0;
    int looks = 0;
    constexpr int kMostLooks = 500;
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
      if (!Run.ComPortDialog().isVisible() || !Run.ComPortDialog().isEnabled()) return;
      if (done == steps.size() || ++looks > kMostLooks) return Run.ComPortDialog().reject();
      if (steps.at(done)()) ++done;
    });
    user.start(20);
    Press("Cmd_btn_comselect");
    EXPECT_EQ(done, steps.size());
  }
  void InTheDialog(const std::function<void()>& user) {
    QTimer::singleShot(0, &Run.ComPortDialog(), [this, user] {
      user();
      if (Run.ComPortDialog().isVisible()) Run.ComPortDialog().reject();
    });
    Press("Cmd_btn_comselect");
  }
};

TEST_F(ComDialogOnPorts, EachItemSaysBesideItsOwnTextWhatItIs) {
  Ports.Put(5, PortState::Usable, "USB-Serial CH340");
  Ports.Put(6, PortState::Busy);
  Ports.Put(7, PortState::NoPermission);
  Start();
  InTheDialog([this] {
    EXPECT_EQ(List()->count(), 21);
    EXPECT_EQ(List()->itemText(5), "COM5") << "the item's own text is the described one";
    EXPECT_EQ(Beside(0), "");
    EXPECT_EQ(Beside(5), "USB-Serial CH340、使用できます");
    EXPECT_EQ(Beside(6), "USB シリアル、使用中");
    EXPECT_EQ(Beside(7), "USB シリアル、使用の許可がありません");
    EXPECT_EQ(Beside(1), "なし");
    EXPECT_EQ(List()->itemData(5, Qt::AccessibleDescriptionRole),
              "COM5 USB-Serial CH340、使用できます");
  });
}

TEST_F(ComDialogOnPorts, WhatIsPluggedInOrOutShowsWhileTheDialogIsOpen) {
  Ports.Put(5, PortState::Usable);
  Start();
  InTheDialog([this] {
    Ports.Put(8, PortState::Usable);
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return Beside(8) == "USB シリアル、使用できます"; }, 3000));
    Ports.Ports.erase(8);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Beside(8) == "なし"; }, 3000));
  });
}

TEST_F(ComDialogOnPorts, TheSearchSelectsThePortOfTheBoardAndLeavesTheRestToOk) {
  Ports.Put(5, PortState::Usable);
  Start();
  StepByStep({[this] {
                EXPECT_EQ(List()->currentIndex(), 1);
                DialogButton("cmdSearchBoard")->click();
                return true;
              },
              [this] { return PortLine() == "COM5 にライターが見つかりました。"; },
              [this] {
                EXPECT_EQ(List()->currentIndex(), 5);
                EXPECT_FALSE(Port.PortOpen());
                EXPECT_EQ(Settings.Read("Settings", "ComNox"), "1")
                    << "nothing is chosen before OK";
                DialogButton("Command_ok")->click();
                return true;
              }});
  EXPECT_EQ(Settings.Read("Settings", "ComNox"), "5");
  EXPECT_EQ(PanelText(Panel::Port), "COM5");
}

struct ComDialogWithoutABoard : ComDialogOnPorts {
  ComDialogWithoutABoard() : ComDialogOnPorts({{.What = board::Fault::Kind::Silent}}) {}
};

TEST_F(ComDialogWithoutABoard, TheSearchSaysSo) {
  Start();
  const auto search = [this] {
    DialogButton("cmdSearchBoard")->click();
    return true;
  };
  StepByStep({search, [this] { return PortLine().starts_with("使用できるポートがありません。"); },
              [this] {
                Ports.Put(5, PortState::Usable);
                return true;
              },
              [this] { return Beside(5) != "なし"; }, search,
              [this] { return PortLine().starts_with("ライターが見つかりませんでした。"); },
              [this] {
                EXPECT_EQ(List()->currentIndex(), 1);
                return true;
              }});
}

TEST_F(ComDialogOnPorts, WithoutASimulationTheListEndsWithItsOwnItems) {
  Start();
  InTheDialog([this] { EXPECT_EQ(List()->itemText(List()->count() - 1), "COM20"); });
}

struct SimulationOffer : PortsBench, WindowTest {
  SimulationOffer()
      : WindowTest({.Ports = &Ports, .MakeSimulation = [](core::RunContext&) {
                      const auto board = std::make_shared<board::SimulatedBoard>(
                          board::SimulatedBoardOptions{.Chip = "ATtiny12L", .Baud = kInstantly});
                      return SimulatedLines{
                          .ProgrammerPort = std::make_unique<board::SimulatedSerialControl>(
                              board, board::SteadyTimeSource()),
                          .UpdaterPort = std::make_unique<board::SimulatedSerialControl>(
                              board, board::SteadyTimeSource()),
                          .Ports = std::make_unique<board::SimulatedPortInfos>()};
                    }}) {
    Settings.Write("Settings", "Index_Com_Flag", "0");
    Settings.Write("Settings", "ComNox", "0");
  }
  QComboBox* List() { return Find<QComboBox>(Run.ComPortDialog(), "Combo_com"); }
  /// The dialog of the first start, in which the user does something as soon as it is open, and
  /// closes it later if that has not.
  void StartWith(const std::function<void()>& act) {
    constexpr int kLooksUntilClosed = 25;
    int looks = 0;
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
      if (!Run.ComPortDialog().isVisible()) return;
      if (++looks == 1) act();
      if (looks == kLooksUntilClosed) Run.ComPortDialog().reject();
    });
    user.start(20);
    Start();
    EXPECT_GT(looks, 0);
  }
};

TEST_F(SimulationOffer, AFirstStartWithoutAUsablePortCanGoOnWithTheSimulatedBoard) {
  Ports.Put(3, PortState::NoPermission);
  StartWith([this] {
    EXPECT_EQ(List()->count(), 22);
    EXPECT_EQ(List()->itemText(21), "シミュレーション");
    EXPECT_EQ(List()->currentIndex(), 0);
    EXPECT_TRUE(
        Find<QLabel>(Run.ComPortDialog(), "lblPort")
            ->text()
            .endsWith("\nライターがなくても、一覧の最後の「シミュレーション」で試せます。"));
    List()->setCurrentIndex(21);
    Find<QPushButton>(Run.ComPortDialog(), "Command_ok")->click();
  });
  EXPECT_TRUE(Window().windowTitle().endsWith(" [シミュレーション]"));
  EXPECT_THAT(CodePage.ToUtf8(Files.Files["/app/_debug_avr.txt"]), HasSubstr("シミュレーション"));
  EXPECT_EQ(Settings.Read("Settings", "ComNox"), "0") << "the user's settings stay";
  EXPECT_EQ(Settings.Read("Settings", "Index_Com_Flag"), "0") << "the next start asks again";
  Dialogs.Choice = GivenHexFile(kProgramWords);
  Press("Cmd_btn_open");
  Press("Cmd_btn_program");
  EXPECT_EQ(MessageText(), "ベリファイ　FLASH : OK / EEPROM : OK");
  EXPECT_EQ(Port.Board().Socket().FlashWord(1), 0xFFFF) << "the line of before is left alone";
}

TEST_F(SimulationOffer, WithAUsablePortItIsNotOffered) {
  Ports.Put(3, PortState::Usable);
  StartWith([this] { EXPECT_EQ(List()->count(), 21); });
  EXPECT_FALSE(Window().windowTitle().contains("シミュレーション"));
}

TEST_F(SimulationOffer, OfferedAndNotChosenItChangesNothing) {
  StartWith([this] {
    List()->setCurrentIndex(2);
    Find<QPushButton>(Run.ComPortDialog(), "Command_cancel")->click();
  });
  EXPECT_FALSE(Window().windowTitle().contains("シミュレーション"));
  EXPECT_EQ(Settings.Read("Settings", "Index_Com_Flag"), "1");
}

}  // namespace
}  // namespace fenwright::ui
