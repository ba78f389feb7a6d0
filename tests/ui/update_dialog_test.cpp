#include "ui/update_dialog.h"

#include "ui/unasked_end.h"
#include "ui/window_bench.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

constexpr int kWords = 500;
constexpr const char* kSending = "アップデート中です。電源は絶対に切らないでください。";
constexpr const char* kDone = "アップデート完了。  ";

using Wire = std::vector<std::uint8_t>;

struct UpdateDialogTest : WindowTest {
  UpdateDialogTest() : WindowTest({.Baud = kAtBoardSpeed}) {
    UpdaterPort.OnOutput = [this](std::span<const std::uint8_t> bytes) {
      EXPECT_FALSE(Port.PortOpen());
      wire_.insert(wire_.end(), bytes.begin(), bytes.end());
    };
    Settings.Write("Settings6", "ComNo", "1");
    Start();
  }

  UpdateDialog& Dialog() { return *Named<UpdateDialog>("Dialog_Update"); }
  template <typename Control>
  Control* Part(const char* name) {
    return Find<Control>(Dialog(), name);
  }
  bool IsOpen() { return Window().findChild<UpdateDialog*>("Dialog_Update") != nullptr; }
  QString Status() { return Part<QLabel>("StatusBar1_1")->text(); }

  /// Opens the dialog by its menu item and runs `use` in it. The dialog is closed afterwards if it
  /// is open still.
  void InDialog(const std::function<void()>& use) {
    QTimer::singleShot(0, &Window(), [this, use] {
      use();
      if (IsOpen()) Dialog().RequestClose();
    });
    Choose("mnuFirmwareUpdate");
    EXPECT_FALSE(IsOpen());
    EXPECT_FALSE(UpdaterPort.PortOpen());
    EXPECT_FALSE(State().CommandRunning);
    EXPECT_FALSE(State().StopRequested);
  }

  /// Runs `meanwhile` once, in the middle of the words of an update of `kWords` words.
  void Update(const std::function<void()>& meanwhile = {}) {
    Dialogs.Choice = GivenHexFile(kWords);
    Button("CmdOpen")->click();
    QTimer turn;
    bool ran = false;
    QObject::connect(&turn, &QTimer::timeout, &turn, [&] {
      if (ran || !IsOpen() || Dialog().State().WordsSent < kWords / 4) return;
      ran = true;
      if (meanwhile) meanwhile();
    });
    turn.start(1);
    Button("CmdUpdate")->click();
    EXPECT_TRUE(ran) << "the words were gone before anything could happen meanwhile";
  }

  /// The wire of a whole update of `kWords` words.
  static Wire WholeWire() {
    Wire wire{'U'};
    for (int word = 0; word < kWords; ++word) {
      for (const int byte : {word / 256, word % 256, word * 7 % 253, word % 251}) {
        wire.push_back(static_cast<std::uint8_t>(byte));
      }
    }
    wire.insert(wire.end(), 4, 0xFF);
    return wire;
  }

  /// The wire stops between two frames, and has no end frame.
  void ExpectStoppedInOrder() {
    const Wire whole = WholeWire();
    ASSERT_LT(wire_.size(), whole.size() - 4);
    EXPECT_EQ(wire_.size() % 4, 1U);
    EXPECT_TRUE(std::equal(wire_.begin(), wire_.end(), whole.begin()));
    EXPECT_TRUE(Board->Protocol().UpdateUnfinished());
  }

  Wire wire_;
};

TEST_F(UpdateDialogTest, HasItsControlsWithCaptionsAndToolTips) {
  InDialog([this] {
    EXPECT_EQ(Dialog().windowTitle(), "ファームウエアアップデート");
    EXPECT_TRUE(Dialog().isModal());
    EXPECT_EQ(Part<QLabel>("Label1")->text(), "通信ポート Com：");
    EXPECT_EQ(Part<QLabel>("Label2")->text(), "通信スピード bps：");
    EXPECT_EQ(Button("CmdVersion")->text(), "Version Read");
    EXPECT_EQ(Button("CmdOpen")->toolTip(), "新しいファームウエアファイル(*.hex)を設定します。");
    EXPECT_EQ(Button("CmdUpdate")->text(), "UPDATE");
    EXPECT_EQ(Button("CmdUpdate")->toolTip(), "ファームウエアの更新を実行します。");
    EXPECT_EQ(Button("OKButton")->text(), "閉じる");
    EXPECT_TRUE(Part<QLabel>("Label3")->text().startsWith("１．通信ポートを指定してください。"));
    for (const char* name : {"Combo_ComPort", "Combo_speed", "CmdVersion", "Text_FirmwareVersion",
                             "CmdOpen", "Text_File", "CmdUpdate", "ProgressBar1", "OKButton",
                             "Label3", "StatusBar1", "StatusBar1_1", "lblDetail"}) {
      EXPECT_FALSE(Part<QWidget>(name)->accessibleName().isEmpty()) << name;
    }
    for (const QPushButton* button : Dialog().findChildren<QPushButton*>()) {
      EXPECT_FALSE(button->autoDefault()) << "Enter alone must start nothing";
      EXPECT_FALSE(button->toolTip().isEmpty());
    }
  });
}

TEST_F(UpdateDialogTest, StartsAsItsLoadLeavesIt) {
  InDialog([this] {
    const auto* port = Part<QComboBox>("Combo_ComPort");
    EXPECT_EQ(port->count(), 20);
    EXPECT_EQ(port->currentText(), "1");
    const auto* speed = Part<QComboBox>("Combo_speed");
    EXPECT_EQ(speed->currentText(), "57600");
    EXPECT_EQ(speed->itemText(0), " 9600");
    EXPECT_FALSE(speed->isEnabled());
    EXPECT_FALSE(Button("CmdUpdate")->isEnabled());
    EXPECT_TRUE(Button("CmdVersion")->isEnabled());
    EXPECT_FALSE(Part<QProgressBar>("ProgressBar1")->isVisible());
    EXPECT_EQ(Status(), "");
    EXPECT_TRUE(Files.Files.contains("/app/LOG.txt"));
  });
  EXPECT_TRUE(Boxes.Questions.empty());
  EXPECT_TRUE(Port.PortOpen()) << "opened at unload, whatever it was before";
}

TEST_F(UpdateDialogTest, APickedPortIsStoredAndTheNextDialogShowsAQuestionMark) {
  Settings.Write("Settings6", "ComNo", "?");
  for (int i = 0; i < 2; ++i) {
    InDialog([this] {
      auto* port = Part<QComboBox>("Combo_ComPort");
      EXPECT_EQ(port->currentIndex(), -1);
      EXPECT_EQ(port->placeholderText(), "?");
      EXPECT_EQ(Dialog().PortText(), "?");
      QTest::keyClick(port, Qt::Key_End);
      EXPECT_EQ(Dialog().PortText(), "20");
    });
    EXPECT_EQ(Settings.Read("Settings6", "Com"), "20");
  }
}

TEST_F(UpdateDialogTest, TabGoesThroughTheControlsInTheOrderOfUse) {
  InDialog([this] {
    std::vector<QString> order;
    for (int i = 0; i < 6; ++i) {
      order.push_back(Dialog().focusWidget()->objectName());
      QTest::keyClick(Dialog().focusWidget(), Qt::Key_Tab);
    }
    // The speed and UPDATE are disabled.
    EXPECT_EQ(order, (std::vector<QString>{"Combo_ComPort", "CmdVersion", "Text_FirmwareVersion",
                                           "CmdOpen", "Text_File", "OKButton"}));
  });
}

TEST_F(UpdateDialogTest, NothingElseStartsWhileItIsOpen) {
  InDialog([this] {
    EXPECT_TRUE(State().CommandRunning);
    EXPECT_FALSE(Button("Cmd_btn_program")->isEnabled());
    emit Button("Cmd_btn_program")->clicked();
    emit Named<QAction>("mnuFirmwareUpdate")->triggered();
    emit Named<QAction>("mnuFileOpen")->triggered();
    EXPECT_TRUE(Dialogs.Requests.empty());
    EXPECT_EQ(Window().findChildren<UpdateDialog*>().size(), 1);
    EXPECT_FALSE(DropFiles(Window(), {"/files/prog.hex"}));
  });
  EXPECT_TRUE(Button("Cmd_btn_program")->isEnabled());
}

TEST_F(UpdateDialogTest, ReadsTheVersionAndUpdatesTheBoard) {
  InDialog([this] {
    Button("CmdVersion")->click();
    EXPECT_EQ(Part<QLineEdit>("Text_FirmwareVersion")->text(), "KV-LOD350  V6.3");
    EXPECT_EQ(Status(), "ファームウエアバージョンをリードしました。");
    wire_.clear();
    auto* bar = Part<QProgressBar>("ProgressBar1");
    Update([this, bar] {
      EXPECT_EQ(Status(), kSending);
      EXPECT_TRUE(bar->isVisible());
      EXPECT_EQ(bar->maximum(), 7936);
      EXPECT_EQ(bar->value() % 79, 0);
      EXPECT_GE(bar->value(), 79);
      EXPECT_TRUE(Button("CmdOpen")->isEnabled());
      EXPECT_TRUE(Button("CmdUpdate")->isEnabled());
      EXPECT_TRUE(Button("OKButton")->isEnabled());
      EXPECT_FALSE(Button("CmdVersion")->isEnabled());
    });
    EXPECT_EQ(Part<QLineEdit>("Text_File")->text(), "/files/prog.hex");
    EXPECT_TRUE(Status().startsWith(kDone)) << Status().toStdString();
    EXPECT_FALSE(Button("CmdVersion")->isEnabled());
  });
  EXPECT_EQ(wire_, WholeWire());
  EXPECT_EQ(Boxes.Shown,
            std::vector<std::string>{
                "　　　 ファームウエアアップデートが完了しました。  電源を再投入してください。  "
                "　　　　　　　\r\n　"});
  EXPECT_TRUE(Port.PortOpen());
  InDialog([this] { EXPECT_TRUE(Button("CmdVersion")->isEnabled()) << "opened again"; });
}

double Luminance(const QColor& colour) {
  const auto linear = [](int value) {
    const double part = value / 255.0;
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.red()) + 0.7152 * linear(colour.green()) +
         0.0722 * linear(colour.blue());
}

TEST_F(UpdateDialogTest, TheFailureTextIsReadableOnRedWhateverThePalette) {
  const QPalette usual = QApplication::palette();
  for (const bool dark : {false, true}) {
    QPalette palette = usual;
    palette.setColor(QPalette::Window, dark ? Qt::black : Qt::white);
    palette.setColor(QPalette::WindowText, dark ? Qt::white : Qt::black);
    QApplication::setPalette(palette);
    InDialog([this] {
      Dialog().SetInstructionsBackground(255);
      const QPalette colours = Part<QLabel>("Label3")->palette();
      EXPECT_EQ(colours.color(QPalette::Window), QColor(255, 0, 0));
      const double text = Luminance(colours.color(QPalette::WindowText));
      const double red = Luminance(QColor(255, 0, 0));
      const double contrast = (std::max(text, red) + 0.05) / (std::min(text, red) + 0.05);
      EXPECT_GT(contrast, 4.5);
      const QImage picture = Part<QLabel>("Label3")->grab().toImage();
      EXPECT_EQ(picture.pixelColor(picture.width() - 1, picture.height() - 1), QColor(255, 0, 0));
    });
  }
  QApplication::setPalette(usual);
}

TEST_F(UpdateDialogTest, AWrongAcknowledgementTurnsTheInstructionsRed) {
  // The ports' own faults are fixed at their making; here somebody else's byte is in the way.
  InDialog([this] {
    Dialogs.Choice = GivenHexFile(kWords);
    Button("CmdOpen")->click();
    int frames = 0;
    UpdaterPort.OnOutput = [this, &frames](std::span<const std::uint8_t>) {
      // A restart puts the board back into its normal set, in which it answers "?" to the frame.
      if (++frames == 1) return;
      Board->Protocol().Restart();
    };
    Button("CmdUpdate")->click();
    EXPECT_EQ(Status(), "***　アップデート失敗　***");
    EXPECT_TRUE(Part<QLabel>("Label3")->text().endsWith("error data = 0x3F"));
    EXPECT_EQ(Part<QLabel>("Label3")->palette().color(QPalette::Window), QColor(255, 0, 0));
    EXPECT_TRUE(Boxes.Shown.empty());
  });
}

TEST_F(UpdateDialogTest, TheRedTextMakesWayForTheInstructionsWhenANewUpdateStarts) {
  InDialog([this] {
    auto* label = Part<QLabel>("Label3");
    const QString instructions = label->text();
    const QImage before = label->grab().toImage();
    Dialogs.Choice = GivenHexFile(kWords);
    Button("CmdOpen")->click();
    int frames = 0;
    UpdaterPort.OnOutput = [this, &frames](std::span<const std::uint8_t>) {
      if (++frames == 2) Board->Protocol().Restart();
    };
    Button("CmdUpdate")->click();
    EXPECT_EQ(label->palette().color(QPalette::Window), QColor(255, 0, 0));
    EXPECT_TRUE(Part<QLabel>("lblDetail")->text().contains("再開できないときは"));
    EXPECT_FALSE(Part<QLabel>("lblDetail")->text().contains("最後まで実行"));
    Button("CmdUpdate")->click();
    EXPECT_TRUE(Status().startsWith(kDone)) << Status().toStdString();
    EXPECT_EQ(label->text(), instructions);
    EXPECT_EQ(label->palette().color(QPalette::Window), Dialog().palette().color(QPalette::Window));
    EXPECT_EQ(label->palette().color(QPalette::WindowText),
              Dialog().palette().color(QPalette::WindowText));
    EXPECT_EQ(label->grab().toImage().copy(before.rect()), before);
    EXPECT_EQ(Part<QLabel>("lblDetail")->text(), "");
  });
}

/// The ways in which a user, or the system, closes the dialog.
struct WayOut {
  const char* Name;
  void (*Close)(UpdateDialog&, MainWindow&);
  bool ClosesMainWindow;
};

constexpr std::array<WayOut, 5> kWaysOut{{
    {"Esc", [](UpdateDialog& dialog, MainWindow&) { QTest::keyClick(&dialog, Qt::Key_Escape); },
     false},
    {"close box, alt+F4", [](UpdateDialog& dialog, MainWindow&) { dialog.close(); }, false},
    {"OKButton",
     [](UpdateDialog& dialog, MainWindow&) { Find<QPushButton>(dialog, "OKButton")->click(); },
     false},
    {"main window", [](UpdateDialog&, MainWindow& window) { window.close(); }, true},
    {"reject", [](UpdateDialog& dialog, MainWindow&) { dialog.reject(); }, false},
}};

class UpdateDialogWaysOut : public UpdateDialogTest, public ::testing::WithParamInterface<WayOut> {
 protected:
  /// Runs `meanwhile` once, when the dialog does that and so many bytes are on the wire.
  void OnceItIs(update::Activity activity, std::size_t bytes,
                const std::function<void()>& meanwhile) {
    auto* look = new QTimer(&Dialog());
    QObject::connect(look, &QTimer::timeout, look, [this, activity, bytes, meanwhile, look] {
      if (Dialog().State().Now != activity || wire_.size() < bytes) return;
      look->stop();
      look->deleteLater();
      it_was_ = true;
      meanwhile();
    });
    look->start(20);
  }

  bool it_was_ = false;
};

TEST_P(UpdateDialogWaysOut, DuringAnUpdateNoLetsItGoOnToItsEnd) {
  Boxes.Answer = false;
  InDialog([this] {
    Update([this] {
      GetParam().Close(Dialog(), Window());
      EXPECT_TRUE(Dialog().isVisible());
      EXPECT_TRUE(Window().isVisible());
    });
    EXPECT_TRUE(Status().startsWith(kDone));
  });
  ASSERT_EQ(Boxes.Questions.size(), 1U);
  EXPECT_THAT(Boxes.Questions[0], HasSubstr("ボードのファームウエアは途中までしか書き込まれて"));
  EXPECT_EQ(wire_, WholeWire());
  EXPECT_TRUE(Window().isVisible());
}

TEST_P(UpdateDialogWaysOut, DuringAnUpdateYesEndsItAfterTheRunningExchange) {
  Boxes.Answer = true;
  InDialog([this] {
    Update([this] {
      GetParam().Close(Dialog(), Window());
      EXPECT_TRUE(Dialog().isVisible()) << "not before the exchange has returned";
      // Asked for again, it is not asked about again.
      Dialog().close();
    });
  });
  EXPECT_EQ(Boxes.Questions.size(), 1U);
  ExpectStoppedInOrder();
  EXPECT_TRUE(Boxes.Shown.empty());
  EXPECT_TRUE(Port.PortOpen());
  EXPECT_EQ(Window().isVisible(), !GetParam().ClosesMainWindow);
}

TEST_F(UpdateDialogTest, AnUnaskedEndStopsAnUpdateAfterTheRunningExchange) {
  int left = 0;
  UnaskedEnd end(Window(), State(), [&left] { ++left; });
  InDialog([this, &end] {
    Update([this, &end] {
      end.Begin();
      EXPECT_TRUE(Dialog().isVisible()) << "not before the exchange has returned";
    });
  });
  EXPECT_TRUE(Boxes.Questions.empty());
  ExpectStoppedInOrder();
  EXPECT_FALSE(Window().isVisible());
  EXPECT_TRUE(QTest::qWaitFor([&left] { return left > 0; }));
}

TEST_P(UpdateDialogWaysOut, BeforeTheFirstWordTheQuestionSaysThatNothingChanges) {
  Boxes.Answer = true;
  InDialog([this] {
    Dialogs.Choice = GivenHexFile(kWords);
    Button("CmdOpen")->click();
    // Then it is 1 s until the board has entered its update mode.
    OnceItIs(update::Activity::Updating, 1, [this] {
      ASSERT_EQ(Dialog().State().WordsSent, 0);
      GetParam().Close(Dialog(), Window());
    });
    Button("CmdUpdate")->click();
  });
  ASSERT_EQ(Boxes.Questions.size(), 1U);
  EXPECT_THAT(Boxes.Questions[0], HasSubstr("ボードのファームウエアは変わりません。"));
  EXPECT_EQ(wire_, Wire{'U'});
  EXPECT_FALSE(Board->Protocol().UpdateUnfinished());
  EXPECT_TRUE(Port.PortOpen());
}

TEST_P(UpdateDialogWaysOut, WhenNothingRunsNothingIsAsked) {
  InDialog([this] { GetParam().Close(Dialog(), Window()); });
  EXPECT_TRUE(Boxes.Questions.empty());
  EXPECT_TRUE(Port.PortOpen());
  EXPECT_EQ(Window().isVisible(), !GetParam().ClosesMainWindow);
}

TEST_P(UpdateDialogWaysOut, DuringAVersionReadTheExchangeReturnsFirstAndNothingIsAsked) {
  InDialog([this] {
    // In the rest before the question, 0.4 s for the ports.
    OnceItIs(update::Activity::Busy, 0, [this] {
      GetParam().Close(Dialog(), Window());
      EXPECT_TRUE(Dialog().isVisible());
    });
    Button("CmdVersion")->click();
  });
  EXPECT_TRUE(it_was_);
  EXPECT_EQ(wire_, Wire{'?'});
  EXPECT_TRUE(Boxes.Questions.empty());
  EXPECT_TRUE(Port.PortOpen());
}

INSTANTIATE_TEST_SUITE_P(All, UpdateDialogWaysOut, ValuesIn(kWaysOut));

TEST_F(UpdateDialogTest, NothingPressedDuringAnUpdateChangesTheWire) {
  InDialog([this] {
    int rounds = 0;
    QTimer restless;
    QObject::connect(&restless, &QTimer::timeout, &restless, [this, &rounds] {
      if (Dialog().State().Now == update::Activity::Idle) return;
      ++rounds;
      for (const char* name : {"CmdUpdate", "CmdOpen", "CmdVersion", "OKButton"}) {
        emit Button(name)->clicked();
        QTest::keyClick(Button(name), Qt::Key_Space);
      }
      QTest::keyClick(&Dialog(), Qt::Key_Return);
      auto* port = Part<QComboBox>("Combo_ComPort");
      QTest::keyClick(port, rounds % 2 == 0 ? Qt::Key_Home : Qt::Key_End);
      emit port->activated(3);
      Window().Run([] { ADD_FAILURE() << "another command"; });
    });
    // The port is read at the start of the update, so it is left alone until then.
    Update([&restless] { restless.start(2); });
    EXPECT_GT(rounds, 20);
    EXPECT_TRUE(Status().startsWith(kDone)) << Status().toStdString();
  });
  EXPECT_EQ(wire_, WholeWire());
  EXPECT_EQ(Dialogs.Requests.size(), 1U);
  EXPECT_EQ(Boxes.Shown.size(), 1U);
}

TEST_F(UpdateDialogTest, WithoutAnUpdaterPortTheItemDoesNothing) {
  WindowBench bench;
  WindowRun run({.ProgrammerPort = bench.Port,
                 .Clock = bench.Clock,
                 .Files = bench.Files,
                 .CodePage = bench.CodePage,
                 .Settings = bench.Settings});
  run.Start({.AppFolder = "/app/", .CommandArgument = ""});
  Find<QAction>(run.Window(), "mnuFirmwareUpdate")->trigger();
  EXPECT_FALSE(bench.Files.Files.contains("/app/LOG.txt"));
}

TEST_F(UpdateDialogTest, LongTextsWrapAndNeitherWidenNorHideAnything) {
  InDialog([this] {
    const int width = Dialog().width();
    Dialog().SetDetail(std::string(400, 'x'));
    Dialog().SetStatusText(std::string(400, 'y'));
    Dialog().SetFileText("/" + std::string(400, 'z'));
    Dialog().SetInstructions(std::string(600, 'w'));
    QCoreApplication::processEvents();
    EXPECT_EQ(Dialog().width(), width);
    for (const char* name : {"Label3", "lblDetail"}) {
      const auto* label = Part<WrappedLabel>(name);
      EXPECT_GE(label->height(), label->heightForWidth(label->width())) << name;
    }
  });
}

}  // namespace
}  // namespace fenwright::ui
