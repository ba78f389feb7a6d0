#include "ui/window_run.h"

#include "core/device_catalogue.h"
#include "ui/elided_label.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

/// True when the chip in the socket holds what the flash buffer holds.
bool ChipHoldsBuffer(WindowBench& bench) {
  const auto& buffer = bench.State().FlashBuffer;
  for (std::uint32_t word = 0; word < kProgramWords; ++word) {
    const int expected = buffer.at(2 * word) << 8 | buffer.at(2 * word + 1);
    if (bench.Port.Board().Socket().FlashWord(word) != expected) return false;
  }
  return true;
}

/// Runs something again and again, every few milliseconds, until it says that it is done.
std::unique_ptr<QTimer> DuringTheOperation(const std::function<bool()>& action) {
  auto timer = std::make_unique<QTimer>();
  QObject::connect(timer.get(), &QTimer::timeout, timer.get(), [clock = timer.get(), action] {
    if (action()) clock->stop();
  });
  timer->start(5);
  return timer;
}

TEST_ON(WindowTest, WindowRun, AfterTheStartTheSelectorHasTheThirteenDevicesAndTheFirstIsChosen) {
  EXPECT_EQ(Start(), CommandEnding::Finished);
  const QComboBox* selector = Window().DeviceSelector();
  ASSERT_EQ(selector->count(), std::ssize(core::DeviceCatalogue()));
  for (int row = 0; row < selector->count(); ++row) {
    EXPECT_EQ(selector->itemText(row).toStdString(),
              core::DeviceCatalogue()[static_cast<std::size_t>(row)].DisplayName);
  }
  EXPECT_EQ(selector->currentText(), "ATtiny12L");
  EXPECT_EQ(Window().FlashSizeLabel()->text(), "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 512 word");
  EXPECT_EQ(Window().EepromSizeLabel()->text(), "EEPROMﾃﾞｰﾀﾒﾓﾘ: 64 byte");
  EXPECT_TRUE(Window().DeviceFrame()->isVisible());
}

TEST_ON(WindowTest, WindowRun, AFileGivenAtTheStartIsInTheFlashView) {
  StartWithFile();
  const QString text = ViewText(View::Flash);
  EXPECT_TRUE(text.startsWith("0000: 0000 0701 0E02 ")) << text.left(40).toStdString();
}

TEST_ON(WindowTest, WindowRun, PickingADeviceByKeyboardShowsItsSizesAndBlankMemory) {
  StartWithFile();
  QComboBox* selector = Window().DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_End);
  EXPECT_EQ(selector->currentText(), "AT90S8535");
  EXPECT_EQ(Window().FlashSizeLabel()->text(), "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  const QString text = ViewText(View::Flash);
  EXPECT_TRUE(text.startsWith("0000: FFFF FFFF ")) << text.left(40).toStdString();
  EXPECT_EQ(Settings.Read("Settings", "device"), "12");
}

TEST_ON(WindowTest, WindowRun, OpenThenProgramWritesTheChipAndShowsTheResult) {
  Start();
  Dialogs.Choice = GivenHexFile(kProgramWords);
  Press("Cmd_btn_open");
  Press("Cmd_btn_program");
  EXPECT_TRUE(ChipHoldsBuffer(*this));
  EXPECT_EQ(MessageText(), "ベリファイ　FLASH : OK / EEPROM : OK");
  EXPECT_TRUE(Window().ViewOf(View::Verify)->isVisible());
  EXPECT_TRUE(Named<QPushButton>("Cmd_btn_program")->isEnabled());
}

TEST_ON(WindowTest, WindowRun, ClearingTheBuffersShowsBlankMemoryAndForgetsWhatIsSaidAboutTheFile) {
  StartWithFile();
  EXPECT_THAT(FileInfo(), HasSubstr("prog.hex"));
  Choose("mnuPC_buffer_clear");
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF "));
  EXPECT_TRUE(
      ViewText(View::Eeprom).startsWith("0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "));
  EXPECT_EQ(PanelText(Panel::Status), "バッファーをクリアしました。");
  EXPECT_THAT(FileInfo(), Not(HasSubstr("prog.hex")));
}

TEST_ON(WindowTest, WindowRun, AChipReadAndSavedIsTheFileThatWasProgrammed) {
  StartWithFile();
  Press("Cmd_btn_program");
  const std::vector<std::uint8_t> programmed = State().FlashBuffer;
  State().FlashBuffer.assign(programmed.size(), 0x55);
  Press("Cmd_btn_read");
  const std::vector<std::uint8_t>& read = State().FlashBuffer;
  EXPECT_TRUE(std::equal(programmed.begin(), programmed.begin() + 2 * kProgramWords, read.begin()));
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: 0000 0701 0E02 "));
  EXPECT_EQ(PanelText(Panel::Status),
            "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
  EXPECT_EQ(FileInfo(),
            "デバイスから読み出した内容\n400 / 512 word (79 %)\n0 / 64 byte (0 %)\n"
            "上書き保存の先 :\nprog.hex\nprog.eep");
  Dialogs.Choice = "/files/copy.hex";
  Choose("mnuFileSaveAs");
  EXPECT_EQ(Dialogs.SaveRequests.size(), 1U);
  EXPECT_TRUE(Files.Files.contains("/files/copy.hex"));
  EXPECT_TRUE(Files.Files.contains("/files/copy.eep"));
}

TEST_ON(WindowTest, WindowRun, AReadThatBroughtNothingLeavesTheFileInfo) {
  StartWithFile();
  const std::string before = FileInfo();
  Port.ChipInSocket = [] { return std::string("AT90S8515"); };
  Press("Cmd_btn_read");
  EXPECT_EQ(FileInfo(), before);
}

TEST_ON(WindowTest, WindowRun, EachSaveItemWritesItsOwnFiles) {
  StartWithFile();
  Dialogs.Choice = "/files/a.hex";
  Choose("mnuFileSaveAsCode");
  EXPECT_TRUE(Files.Files.contains("/files/a.hex"));
  EXPECT_FALSE(Files.Files.contains("/files/a.eep"));
  Dialogs.Choice = "/files/b.eep";
  Choose("mnuFileSaveAsData");
  EXPECT_TRUE(Files.Files.contains("/files/b.eep"));
  EXPECT_FALSE(Files.Files.contains("/files/b.hex"));
}

TEST_ON(WindowTest, WindowRun, SaveWritesTheOpenedFilesAndReloadBringsThemBack) {
  StartWithFile();
  Press("Cmd_btn_save");
  EXPECT_TRUE(Files.Files.contains("/files/prog.eep"));
  Files.Files["/files/prog.hex"] = ":02000000CDAB86\r\n:00000001FF\r\n";
  Press("Cmd_btn_reload");
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: ABCD FFFF "));
  EXPECT_THAT(FileInfo(), HasSubstr("prog.hex\n1 / 512 word"));
}

TEST_ON(WindowTest, WindowRun, TheVerifyButtonComparesAndShowsTheReport) {
  StartWithFile();
  Press("Cmd_btn_program");
  Window().ViewOf(View::Verify)->close();
  Press("Cmd_btn_verify");
  EXPECT_TRUE(Window().ViewOf(View::Verify)->isVisible());
  EXPECT_EQ(PanelText(Panel::Status), "ベリファイ終了しました。");
}

TEST_ON(WindowTest, WindowRun, TheEraseButtonErasesTheChipAndLeavesTheBuffers) {
  StartWithFile();
  Press("Cmd_btn_program");
  ASSERT_TRUE(ChipHoldsBuffer(*this));
  const std::vector<std::uint8_t> before = State().FlashBuffer;
  Press("Cmd_btn_erase");
  EXPECT_EQ(Port.Board().Socket().FlashWord(1), 0xFFFF);
  EXPECT_EQ(State().FlashBuffer, before);
}

TEST_ON(WindowTest, WindowRun, OpeningOneFileKeepsWhatIsKnownAboutTheOther) {
  StartWithFile();
  Files.Files["/files/table.eep"] = ":0200000011AA43\r\n:00000001FF\r\n";
  Dialogs.Choice = "/files/table.eep";
  Choose("mnuFileOpenData");
  EXPECT_TRUE(ViewText(View::Eeprom).startsWith("0000: 11 AA FF "));
  EXPECT_THAT(FileInfo(), HasSubstr("prog.hex\n400 / 512 word"));
  EXPECT_THAT(FileInfo(), HasSubstr("table.eep\n2 / 64 byte"));

  Files.Files["/files/other.hex"] = ":02000000CDAB86\r\n:00000001FF\r\n";
  Dialogs.Choice = "/files/other.hex";
  Choose("mnuFileOpenCode");
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: ABCD FFFF "));
  EXPECT_THAT(FileInfo(), HasSubstr("other.hex\n1 / 512 word"));
  EXPECT_THAT(FileInfo(), HasSubstr("table.eep"));

  // A file of another kind is passed over.
  Files.Files["/files/notes.txt"] = "notes";
  Dialogs.Choice = "/files/notes.txt";
  Choose("mnuFileOpenCode");
  EXPECT_THAT(FileInfo(), HasSubstr("other.hex"));
}

TEST_ON(WindowTest, WindowRun, WithoutAFileTheFileBoxSaysSo) {
  const std::string nothing = "ファイルは開かれていません。";
  Start();
  EXPECT_EQ(FileInfo(), nothing);
  Dialogs.Choice = GivenHexFile(kProgramWords);
  Press("Cmd_btn_open");
  ASSERT_NE(FileInfo(), nothing);
  QTest::keyClick(Window().DeviceSelector(), Qt::Key_End);
  EXPECT_EQ(FileInfo(), nothing) << "a change of the device discards the file";

  Press("Cmd_btn_open");
  ASSERT_NE(FileInfo(), nothing);
  Files.Files.erase("/files/prog.hex");
  Press("Cmd_btn_reload");
  EXPECT_EQ(FileInfo(), nothing) << "the file is gone and the buffer blank";
}

TEST_ON(WindowTest, WindowRun, ACodeFileThatEndsAnOpenLeavesWhatIsKnownAboutTheDataFile) {
  Files.Files["/files/prog.eep"] = ":0200000011AA43\r\n:00000001FF\r\n";
  StartWithFile();
  Files.Files["/files/far.hex"] = ":02FFFF000102FD\r\n";
  Dialogs.Choice = "/files/far.hex";
  Press("Cmd_btn_open");
  EXPECT_THAT(FileInfo(), HasSubstr("prog.eep\n2 / 64 byte"));
  EXPECT_THAT(FileInfo(), HasSubstr("⚠ far.hex : 1行目のアドレスがバッファの範囲を超えている"));
}

TEST_ON(WindowTest, WindowRun, ADroppedFileIsOpenedWithTheDataFileBesideIt) {
  Start();
  GivenHexFile(kProgramWords);
  Files.Files["/files/prog.eep"] = ":0200000011AA43\r\n:00000001FF\r\n";
  EXPECT_TRUE(DropFiles(Window(), {"/files/prog.hex"}));
  QApplication::processEvents();
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: 0000 0701 "));
  EXPECT_TRUE(ViewText(View::Eeprom).startsWith("0000: 11 AA FF "));
  EXPECT_THAT(FileInfo(), HasSubstr("prog.eep"));
}

TEST_ON(WindowTest, WindowRun, ACellIsShownAsItsAddressIsTypedAndCanBeChanged) {
  StartWithFile();
  auto* address = Named<QLineEdit>("txtAddress");
  auto* data = Named<QLineEdit>("txtData");
  address->setFocus();
  QTest::keyClicks(address, "2");
  EXPECT_EQ(data->text(), "0E02");
  data->selectAll();
  QTest::keyClicks(data, "BEEF");
  Press("CmdWrite");
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: 0000 0701 BEEF "));
  data->clear();
  Press("CmdRead");
  EXPECT_EQ(data->text(), "BEEF");
}

TEST_ON(WindowTest, WindowRun, AHandEditKeepsThePartOfTheViewInSight) {
  StartWithFile();
  QApplication::processEvents();
  QScrollBar* bar = Window().ViewOf(View::Flash)->TextControl()->verticalScrollBar();
  bar->setValue(20);
  ASSERT_EQ(bar->value(), 20);
  Named<QLineEdit>("txtAddress")->setText("A0");
  Named<QLineEdit>("txtData")->setText("1234");
  Press("CmdWrite");
  QApplication::processEvents();
  EXPECT_EQ(State().FlashBuffer.at(0x140), 0x12);
  EXPECT_EQ(bar->value(), 20);
}

TEST_ON(WindowTest, WindowRun, AnEepromCellIsChangedByItsOwnOption) {
  Start();
  Named<QRadioButton>("OptionEeprom")->click();
  Named<QLineEdit>("txtAddress")->setText("3F");
  EXPECT_EQ(Named<QLineEdit>("txtData")->text(), "FF");
  Named<QLineEdit>("txtData")->setText("5A");
  Press("CmdWrite");
  EXPECT_EQ(State().EepromBuffer.at(0x3F), 0x5A);
  EXPECT_TRUE(ViewText(View::Eeprom).contains("FF 5A "));
}

TEST_ON(WindowTest, WindowRun, AWrongAddressIsSaidInTheMessageDialogAndTypingGoesOn) {
  Start();
  auto* address = Named<QLineEdit>("txtAddress");
  address->setFocus();
  QTest::keyClicks(address, "7f");
  EXPECT_EQ(address->text(), "7f");
  EXPECT_EQ(MessageText(), "入力データに誤りがあります．");
  EXPECT_EQ(Window().focusWidget(), address);
}

TEST_ON(WindowTest, WindowRun, ClosingTheDialogDuringProgrammingOnlyClosesTheDialog) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.StartWithFile();
  bool closed = false;
  const auto timer = DuringTheOperation([&] {
    if (bench.State().Chip.FlashWordsWritten < 20) return false;
    QTest::keyClick(&bench.Run.MessageDialog(), Qt::Key_Escape);
    closed = !bench.Run.MessageDialog().isVisible();
    return true;
  });
  bench.Press("Cmd_btn_program");
  EXPECT_TRUE(closed);
  EXPECT_EQ(bench.State().CancelRequested, 2);
  EXPECT_TRUE(ChipHoldsBuffer(bench));
  EXPECT_EQ(bench.MessageText(), "ベリファイ　FLASH : OK / EEPROM : OK");
}

TEST_ON(WindowTest, WindowRun, ThreeClicksDuringProgrammingStartOneCommand) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.StartWithFile();
  int clicks = 0;
  const auto timer = DuringTheOperation([&] {
    bench.Press("Cmd_btn_program");
    bench.Press("Cmd_btn_open");
    return ++clicks == 3;
  });
  bench.Press("Cmd_btn_program");
  EXPECT_EQ(clicks, 3);
  EXPECT_TRUE(bench.Dialogs.Requests.empty());
  const std::string& trace = bench.Files.Files["/app/_debug_avr.txt"];
  const std::string mark = ">>>>> START <<<<<";
  const std::size_t first = trace.find(mark);
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(trace.find(mark, first + 1), std::string::npos);
}

TEST_ON(WindowTest, WindowRun, ClosingDuringProgrammingStopsAfterTheExchangeAndCloses) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.StartWithFile();
  bench.Boxes.Answer = true;
  const auto timer = DuringTheOperation([&] {
    if (bench.State().Chip.FlashWordsWritten < 20) return false;
    bench.Window().close();
    EXPECT_TRUE(bench.Window().isVisible());
    return true;
  });
  bench.Press("Cmd_btn_program");
  EXPECT_EQ(bench.Boxes.Questions.size(), 1U);
  EXPECT_FALSE(bench.Window().isVisible());
  EXPECT_FALSE(bench.Run.MessageDialog().isVisible());
  EXPECT_FALSE(bench.State().CommandRunning);
  EXPECT_FALSE(ChipHoldsBuffer(bench));
}

TEST_ON(WindowTest, WindowRun, TheWindowReactsWithinFiftyMillisecondsDuringProgramming) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.StartWithFile();
  QElapsedTimer since_last;
  qint64 longest = 0;
  int turns = 0;
  QTimer timer;
  timer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
    if (turns++ > 0) longest = std::max(longest, since_last.elapsed());
    since_last.start();
  });
  timer.start(5);
  bench.Press("Cmd_btn_program");
  EXPECT_GT(turns, 20);
  EXPECT_LE(longest, 50);
}

}  // namespace
}  // namespace fenwright::ui
