#include "ui/window_run.h"

#include <algorithm>
#include <memory>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

#include "core/device_catalogue.h"
#include "ui/elided_label.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

void Press(WindowBench& bench, const char* name) {
  QTest::mouseClick(Find<QPushButton>(bench.Run.Window(), name), Qt::LeftButton);
}

bool MessageShown(WindowBench& bench, const char* text) {
  const QtMessageDialog& dialog = bench.Run.MessageDialog();
  return dialog.isVisible() && dialog.findChild<QLabel*>("txtMsg")->text() == text;
}

/// True when the chip in the socket holds what the flash buffer holds.
bool ChipHoldsBuffer(WindowBench& bench) {
  const auto& buffer = bench.Run.State().FlashBuffer;
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

TEST(WindowRun, AfterTheStartTheSelectorHasTheThirteenDevicesAndTheFirstIsChosen) {
  WindowBench bench;
  EXPECT_EQ(bench.Start(), core::CommandEnding::Finished);
  const QComboBox* selector = bench.Run.Window().DeviceSelector();
  ASSERT_EQ(selector->count(), 13);
  for (int row = 0; row < selector->count(); ++row) {
    EXPECT_EQ(selector->itemText(row).toStdString(),
              core::DeviceCatalogue()[static_cast<std::size_t>(row)].DisplayName);
  }
  EXPECT_EQ(selector->currentText(), "ATtiny12L");
  EXPECT_EQ(Find<QLabel>(bench.Run.Window(), "Lbl_flash_size")->text(), "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 512 word");
  EXPECT_EQ(Find<QLabel>(bench.Run.Window(), "Lbl_eeprom_size")->text(), "EEPROMﾃﾞｰﾀﾒﾓﾘ: 64 byte");
  EXPECT_TRUE(Find<QFrame>(bench.Run.Window(), "fraDeviceInfo")->isVisible());
}

TEST(WindowRun, AFileGivenAtTheStartIsInTheFlashView) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  const QString text = bench.Run.Window().ViewOf(screen::View::Flash)->TextControl()->toPlainText();
  EXPECT_TRUE(text.startsWith("0000: 0000 0701 0E02 ")) << text.left(40).toStdString();
}

TEST(WindowRun, PickingADeviceByKeyboardShowsItsSizesAndBlankMemory) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  QComboBox* selector = bench.Run.Window().DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_End);
  EXPECT_EQ(selector->currentText(), "AT90S8535");
  EXPECT_EQ(Find<QLabel>(bench.Run.Window(), "Lbl_flash_size")->text(), "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  const QString text = bench.Run.Window().ViewOf(screen::View::Flash)->TextControl()->toPlainText();
  EXPECT_TRUE(text.startsWith("0000: FFFF FFFF ")) << text.left(40).toStdString();
  EXPECT_EQ(bench.Settings.Read("Settings", "device"), "12");
}

TEST(WindowRun, OpenThenProgramWritesTheChipAndShowsTheResult) {
  WindowBench bench;
  bench.Start();
  bench.Dialogs.Choice = bench.GivenHexFile(kProgramWords);
  Press(bench, "Cmd_btn_open");
  Press(bench, "Cmd_btn_program");
  EXPECT_TRUE(ChipHoldsBuffer(bench));
  EXPECT_TRUE(MessageShown(bench, "ベリファイ　FLASH : OK / EEPROM : OK"));
  EXPECT_TRUE(bench.Run.Window().ViewOf(screen::View::Verify)->isVisible());
  EXPECT_TRUE(Find<QPushButton>(bench.Run.Window(), "Cmd_btn_program")->isEnabled());
}

TEST(WindowRun, AfterANoticeTheNextCommandBeginsInABusyDialogWithoutAButton) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  const QtMessageDialog& dialog = bench.Run.MessageDialog();
  int looks = 0;
  bench.Port.OnOutput = [&](std::span<const std::uint8_t>) {
    if (!MessageShown(bench, "ライターを COM1に検出しました。")) return;
    ++looks;
    EXPECT_TRUE(dialog.IsBusy());
    EXPECT_TRUE(Find<QProgressBar>(bench.Run.MessageDialog(), "ProgBar")->isVisible());
    EXPECT_FALSE(Find<QLabel>(bench.Run.MessageDialog(), "lblDetail")->isVisible());
  };
  for (const bool confirmed : {false, true}) {
    looks = 0;
    Press(bench, "Cmd_btn_program");
    ASSERT_TRUE(MessageShown(bench, "ベリファイ　FLASH : OK / EEPROM : OK"));
    EXPECT_GT(looks, 0);
    if (confirmed) {
      QTest::mouseClick(Find<QPushButton>(bench.Run.MessageDialog(), "Cmd_okm"), Qt::LeftButton);
    }
    looks = 0;
    Press(bench, "Cmd_btn_verify");
    EXPECT_GT(looks, 0);
  }
}

TEST(WindowRun, ADialogClosedDuringAnOperationLeavesTheProgressToTheStatusBarUntilTheNextMessage) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.Start(bench.GivenHexFile(kProgramWords));
  const QtMessageDialog& dialog = bench.Run.MessageDialog();
  const auto* bar = Find<QProgressBar>(bench.Run.Window(), "sbProgress");
  bool closed = false;
  int moves = 0;
  int back_in_between = 0;
  QObject::connect(bar, &QProgressBar::valueChanged, bar, [&] {
    ++moves;
    back_in_between += dialog.isVisible() ? 1 : 0;
  });
  const auto timer = DuringTheOperation([&] {
    if (!bench.Run.State().CommandRunning) return false;
    const auto* progress = Find<QProgressBar>(bench.Run.MessageDialog(), "ProgBar");
    if (!MessageShown(bench, "フラッシュメモリ ベリファイ中.....") || progress->value() < 20) {
      return false;
    }
    bench.Run.MessageDialog().reject();
    closed = true;
    return true;
  });
  Press(bench, "Cmd_btn_verify");
  EXPECT_TRUE(closed);
  EXPECT_GT(moves, 10);
  EXPECT_EQ(back_in_between, 0);
  EXPECT_TRUE(dialog.isVisible()) << "the result is a message";
  EXPECT_FALSE(bar->isVisible());
}

struct ReportTest : WindowTest {
  ReportTest() { StartWithFile(); }
  ViewWindow* Report() { return Window().ViewOf(screen::View::Verify); }
};

TEST_F(ReportTest, AClosedVerifyReportIsShownAgainByTheButtonOfTheStatusBar) {
  auto* show = Named<QToolButton>("cmdShowReport");
  EXPECT_FALSE(show->isVisible()) << "there is none yet";
  EXPECT_FALSE(show->toolTip().isEmpty());
  show->click();
  EXPECT_FALSE(Report()->isVisible());

  Press("Cmd_btn_program");
  Press("Cmd_btn_verify");
  EXPECT_TRUE(show->isVisible());
  const QString text = ViewText(View::Verify);
  EXPECT_TRUE(text.startsWith("Flash Program memory address verify\n")) << text.toStdString();
  Report()->close();
  EXPECT_TRUE(show->isVisible());
  Files.Files.erase("/app/avrvfy.txt");
  show->setFocus();
  QTest::keyClick(show, Qt::Key_Space);
  EXPECT_TRUE(Report()->isVisible());
  EXPECT_EQ(Window().ChildArea()->activeSubWindow(), Report());
  EXPECT_EQ(ViewText(View::Verify), text);
}

TEST_F(ReportTest, AMinimisedOrCoveredReportComesToTheFront) {
  Press("Cmd_btn_program");
  Report()->showMinimized();
  Named<QToolButton>("cmdShowReport")->click();
  EXPECT_FALSE(Report()->isMinimized());
  const QRect place = Report()->geometry();
  Window().ChildArea()->OpenFlashView();
  EXPECT_NE(Window().ChildArea()->activeSubWindow(), Report());
  Named<QToolButton>("cmdShowReport")->click();
  EXPECT_EQ(Window().ChildArea()->activeSubWindow(), Report());
  EXPECT_EQ(Report()->geometry(), place);
}

TEST_F(ReportTest, AReportThatIsEmptyCannotBeShown) {
  Press("Cmd_btn_program");
  EXPECT_TRUE(Named<QToolButton>("cmdShowReport")->isVisible());
  Window().ChildArea()->Clear(View::Verify);
  EXPECT_FALSE(Named<QToolButton>("cmdShowReport")->isVisible());
  Report()->close();
  Window().ChildArea()->ShowReport();
  EXPECT_FALSE(Report()->isVisible());
}

std::string FileInfo(WindowBench& bench) {
  return Find<QLabel>(bench.Run.Window(), "lblFileInfo")->text().toStdString();
}

QString ViewText(WindowBench& bench, screen::View view) {
  return bench.Run.Window().ViewOf(view)->TextControl()->toPlainText();
}

void Choose(WindowBench& bench, const char* item) {
  Find<QAction>(bench.Run.Window(), item)->trigger();
}

TEST(WindowRun, ClearingTheBuffersShowsBlankMemoryAndForgetsWhatIsSaidAboutTheFile) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  EXPECT_NE(FileInfo(bench).find("prog.hex"), std::string::npos);
  Choose(bench, "mnuPC_buffer_clear");
  EXPECT_TRUE(ViewText(bench, screen::View::Flash)
                  .startsWith("0000: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF "));
  EXPECT_TRUE(ViewText(bench, screen::View::Eeprom)
                  .startsWith("0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "));
  EXPECT_EQ(bench.Run.Window().StatusPanel(screen::Panel::Status)->text(),
            "バッファーをクリアしました。");
  EXPECT_EQ(FileInfo(bench),
            "コード : 空 (バッファーのクリア)\nデータ : 空 (バッファーのクリア)\n"
            "上書き保存の先 : prog.hex (変更あり)、prog.eep\n"
            "⚠ 上書き保存すると prog.hex の内容は消えて空になります。");
}

TEST(WindowRun, AChipReadAndSavedIsTheFileThatWasProgrammed) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  Press(bench, "Cmd_btn_program");
  const std::vector<std::uint8_t> programmed = bench.Run.State().FlashBuffer;
  bench.Run.State().FlashBuffer.assign(programmed.size(), 0x55);
  Press(bench, "Cmd_btn_read");
  const std::vector<std::uint8_t>& read = bench.Run.State().FlashBuffer;
  EXPECT_TRUE(std::equal(programmed.begin(), programmed.begin() + 2 * kProgramWords, read.begin()));
  EXPECT_TRUE(ViewText(bench, screen::View::Flash).startsWith("0000: 0000 0701 0E02 "));
  EXPECT_EQ(bench.Run.Window().StatusPanel(screen::Panel::Status)->text(),
            "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
  EXPECT_EQ(FileInfo(bench),
            "コード : チップから読み出し  400 / 512 word (79 %)\n"
            "データ : チップから読み出し  0 / 64 byte (0 %)\n"
            "上書き保存の先 : prog.hex、prog.eep");
  bench.Dialogs.Choice = "/files/copy.hex";
  Choose(bench, "mnuFileSaveAs");
  EXPECT_EQ(bench.Dialogs.SaveRequests.size(), 1U);
  EXPECT_TRUE(bench.Files.Files.contains("/files/copy.hex"));
  EXPECT_TRUE(bench.Files.Files.contains("/files/copy.eep"));
}

TEST(WindowRun, AReadThatBroughtNothingLeavesTheFileInfo) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  const std::string before = FileInfo(bench);
  bench.Port.ChipInSocket = [] { return std::string("AT90S8515"); };
  Press(bench, "Cmd_btn_read");
  EXPECT_EQ(FileInfo(bench), before);
}

TEST(WindowRun, EachSaveItemWritesItsOwnFiles) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  bench.Dialogs.Choice = "/files/a.hex";
  Choose(bench, "mnuFileSaveAsCode");
  EXPECT_TRUE(bench.Files.Files.contains("/files/a.hex"));
  EXPECT_FALSE(bench.Files.Files.contains("/files/a.eep"));
  bench.Dialogs.Choice = "/files/b.eep";
  Choose(bench, "mnuFileSaveAsData");
  EXPECT_TRUE(bench.Files.Files.contains("/files/b.eep"));
  EXPECT_FALSE(bench.Files.Files.contains("/files/b.hex"));
}

TEST(WindowRun, SaveWritesTheOpenedFilesAndReloadBringsThemBack) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  Press(bench, "Cmd_btn_save");
  EXPECT_TRUE(bench.Files.Files.contains("/files/prog.eep"));
  bench.Files.Files["/files/prog.hex"] = ":02000000CDAB86\r\n:00000001FF\r\n";
  Press(bench, "Cmd_btn_reload");
  EXPECT_TRUE(ViewText(bench, screen::View::Flash).startsWith("0000: ABCD FFFF "));
  EXPECT_NE(FileInfo(bench).find("prog.hex  1 / 512 word"), std::string::npos) << FileInfo(bench);
}

TEST(WindowRun, TheVerifyButtonComparesAndShowsTheReport) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  Press(bench, "Cmd_btn_program");
  bench.Run.Window().ViewOf(screen::View::Verify)->close();
  Press(bench, "Cmd_btn_verify");
  EXPECT_TRUE(bench.Run.Window().ViewOf(screen::View::Verify)->isVisible());
  EXPECT_EQ(bench.Run.Window().StatusPanel(screen::Panel::Status)->text(),
            "ベリファイ終了しました。");
}

TEST(WindowRun, TheEraseButtonErasesTheChipAndLeavesTheBuffers) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  Press(bench, "Cmd_btn_program");
  ASSERT_TRUE(ChipHoldsBuffer(bench));
  const std::vector<std::uint8_t> before = bench.Run.State().FlashBuffer;
  Press(bench, "Cmd_btn_erase");
  EXPECT_EQ(bench.Port.Board().Socket().FlashWord(1), 0xFFFF);
  EXPECT_EQ(bench.Run.State().FlashBuffer, before);
}

TEST(WindowRun, OpeningOneFileKeepsWhatIsKnownAboutTheOther) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  bench.Files.Files["/files/table.eep"] = ":0200000011AA43\r\n:00000001FF\r\n";
  bench.Dialogs.Choice = "/files/table.eep";
  Choose(bench, "mnuFileOpenData");
  EXPECT_TRUE(ViewText(bench, screen::View::Eeprom).startsWith("0000: 11 AA FF "));
  EXPECT_NE(FileInfo(bench).find("prog.hex  400 / 512 word"), std::string::npos);
  EXPECT_NE(FileInfo(bench).find("table.eep  2 / 64 byte"), std::string::npos) << FileInfo(bench);

  bench.Files.Files["/files/other.hex"] = ":02000000CDAB86\r\n:00000001FF\r\n";
  bench.Dialogs.Choice = "/files/other.hex";
  Choose(bench, "mnuFileOpenCode");
  EXPECT_TRUE(ViewText(bench, screen::View::Flash).startsWith("0000: ABCD FFFF "));
  EXPECT_NE(FileInfo(bench).find("other.hex  1 / 512 word"), std::string::npos);
  EXPECT_NE(FileInfo(bench).find("table.eep"), std::string::npos);

  // A file of another kind is passed over.
  bench.Files.Files["/files/notes.txt"] = "notes";
  bench.Dialogs.Choice = "/files/notes.txt";
  Choose(bench, "mnuFileOpenCode");
  EXPECT_NE(FileInfo(bench).find("other.hex"), std::string::npos);
}

TEST(WindowRun, AFileThatIsTooLargeIsToldInTheFileBoxAndBesideTheResult) {
  WindowBench bench;
  bench.Files.Files["/files/boot.hex"] = HexFile(Bytes(8192, 0x12));
  bench.Start();
  bench.Dialogs.Choice = "/files/boot.hex";
  Press(bench, "Cmd_btn_open");
  const std::string doubt =
      "⚠ boot.hex : 65行目 : アドレス 0x0400 は ATtiny12L の容量(0x03FF まで)を超えています。";
  EXPECT_EQ(FileInfo(bench).find("コード : boot.hex  4096 / 512 word\n" + doubt), 0U)
      << FileInfo(bench);
  Press(bench, "Cmd_btn_program");
  const std::string detail =
      Find<QLabel>(bench.Run.MessageDialog(), "lblDetail")->text().toStdString();
  EXPECT_EQ(detail.find(doubt), 0U) << detail;
}

TEST(WindowRun, WithoutAFileTheFileBoxSaysSo) {
  const std::string nothing = "ファイルは開かれていません。";
  WindowBench bench;
  bench.Start();
  EXPECT_EQ(FileInfo(bench), nothing);
  bench.Dialogs.Choice = bench.GivenHexFile(kProgramWords);
  Press(bench, "Cmd_btn_open");
  ASSERT_NE(FileInfo(bench), nothing);
  QTest::keyClick(bench.Run.Window().DeviceSelector(), Qt::Key_End);
  EXPECT_EQ(FileInfo(bench),
            "コード : 空 (デバイスの変更で消去)\nデータ : 空 (デバイスの変更で消去)\n"
            "上書き保存の先 : prog.hex (変更あり)、prog.eep\n"
            "⚠ 上書き保存すると prog.hex の内容は消えて空になります。")
      << "a change of the device discards what was loaded; a save still goes to the file";

  Press(bench, "Cmd_btn_open");
  ASSERT_NE(FileInfo(bench), nothing);
  bench.Files.Files.erase("/files/prog.hex");
  Press(bench, "Cmd_btn_reload");
  EXPECT_EQ(FileInfo(bench),
            "コード : 空 (prog.hex はありません)\nデータ : 空 (prog.eep はありません)\n"
            "上書き保存の先 : prog.hex、prog.eep")
      << "the file is gone and the buffer blank";
}

TEST(WindowRun, ACodeFileThatEndsAnOpenLeavesWhatIsKnownAboutTheDataFile) {
  WindowBench bench;
  bench.Files.Files["/files/prog.eep"] = ":0200000011AA43\r\n:00000001FF\r\n";
  bench.Start(bench.GivenHexFile(kProgramWords));
  bench.Files.Files["/files/far.hex"] = ":02FFFF000102FD\r\n";
  bench.Dialogs.Choice = "/files/far.hex";
  Press(bench, "Cmd_btn_open");
  EXPECT_NE(FileInfo(bench).find("prog.eep  2 / 64 byte"), std::string::npos) << FileInfo(bench);
  EXPECT_NE(
      FileInfo(bench).find("⚠ far.hex : 1行目 : アドレス 0x10000 がバッファの範囲を超えている"),
      std::string::npos)
      << FileInfo(bench);
}

TEST(WindowRun, ADroppedFileIsOpenedWithTheDataFileBesideIt) {
  WindowBench bench;
  bench.Start();
  bench.GivenHexFile(kProgramWords);
  bench.Files.Files["/files/prog.eep"] = ":0200000011AA43\r\n:00000001FF\r\n";
  EXPECT_TRUE(DropFiles(bench.Run.Window(), {"/files/prog.hex"}));
  QApplication::processEvents();
  EXPECT_TRUE(ViewText(bench, screen::View::Flash).startsWith("0000: 0000 0701 "));
  EXPECT_TRUE(ViewText(bench, screen::View::Eeprom).startsWith("0000: 11 AA FF "));
  EXPECT_NE(FileInfo(bench).find("prog.eep"), std::string::npos);
}

TEST(WindowRun, ACellIsShownAsItsAddressIsTypedAndCanBeChanged) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  auto* address = Find<QLineEdit>(bench.Run.Window(), "txtAddress");
  auto* data = Find<QLineEdit>(bench.Run.Window(), "txtData");
  address->setFocus();
  QTest::keyClicks(address, "2");
  EXPECT_EQ(data->text(), "0E02");
  data->selectAll();
  QTest::keyClicks(data, "BEEF");
  Press(bench, "CmdWrite");
  EXPECT_TRUE(ViewText(bench, screen::View::Flash).startsWith("0000: 0000 0701 BEEF "));
  data->clear();
  Press(bench, "CmdRead");
  EXPECT_EQ(data->text(), "BEEF");
}

TEST(WindowRun, AHandEditScrollsToItsCellAndMarksIt) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  QApplication::processEvents();
  const auto marked = [&bench](screen::View view) {
    const auto marks = bench.Run.Window().ViewOf(view)->TextControl()->extraSelections();
    return marks.isEmpty() ? "" : marks.front().cursor.selectedText().toStdString();
  };
  auto* address = Find<QLineEdit>(bench.Run.Window(), "txtAddress");
  auto* data = Find<QLineEdit>(bench.Run.Window(), "txtData");
  const QTextEdit* flash = bench.Run.Window().ViewOf(screen::View::Flash)->TextControl();
  address->setText("18F");
  EXPECT_EQ(marked(screen::View::Flash), data->text().toStdString());
  EXPECT_GT(flash->verticalScrollBar()->value(), 100);
  EXPECT_EQ(flash->textCursor().blockNumber(), 0x18F / 8);
  data->setText("BEEF");
  Press(bench, "CmdWrite");
  EXPECT_EQ(marked(screen::View::Flash), "BEEF");

  Find<QRadioButton>(bench.Run.Window(), "OptionEeprom")->click();
  EXPECT_EQ(data->text(), "") << "it was a word of the flash";
  EXPECT_EQ(address->text(), "18F");
  EXPECT_EQ(marked(screen::View::Flash), "");
  address->setText("3F");
  EXPECT_EQ(data->text(), "FF");
  EXPECT_EQ(marked(screen::View::Eeprom), "FF");
  EXPECT_EQ(marked(screen::View::Flash), "");
  address->setText("3FF");
  EXPECT_EQ(marked(screen::View::Eeprom), "") << "there is no such byte";
}

TEST(WindowRun, AHandEditKeepsThePartOfTheViewInSight) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  QApplication::processEvents();
  QScrollBar* bar =
      bench.Run.Window().ViewOf(screen::View::Flash)->TextControl()->verticalScrollBar();
  Find<QLineEdit>(bench.Run.Window(), "txtAddress")->setText("A0");
  const int scrolled_to_the_cell = bar->value();
  EXPECT_NE(scrolled_to_the_cell, 20);
  // The line of the cell stays in sight.
  bar->setValue(scrolled_to_the_cell + 20);
  ASSERT_EQ(bar->value(), scrolled_to_the_cell + 20);
  Find<QLineEdit>(bench.Run.Window(), "txtData")->setText("1234");
  Press(bench, "CmdWrite");
  QApplication::processEvents();
  EXPECT_EQ(bench.Run.State().FlashBuffer.at(0x140), 0x12);
  EXPECT_EQ(bar->value(), scrolled_to_the_cell + 20);
}

TEST(WindowRun, AnEepromCellIsChangedByItsOwnOption) {
  WindowBench bench;
  bench.Start();
  Find<QRadioButton>(bench.Run.Window(), "OptionEeprom")->click();
  Find<QLineEdit>(bench.Run.Window(), "txtAddress")->setText("3F");
  EXPECT_EQ(Find<QLineEdit>(bench.Run.Window(), "txtData")->text(), "FF");
  Find<QLineEdit>(bench.Run.Window(), "txtData")->setText("5A");
  Press(bench, "CmdWrite");
  EXPECT_EQ(bench.Run.State().EepromBuffer.at(0x3F), 0x5A);
  EXPECT_TRUE(ViewText(bench, screen::View::Eeprom).contains("FF 5A "));
}

TEST(WindowRun, AWrongAddressIsSaidInTheMessageDialogAndTypingGoesOn) {
  WindowBench bench;
  bench.Start();
  auto* address = Find<QLineEdit>(bench.Run.Window(), "txtAddress");
  address->setFocus();
  QTest::keyClicks(address, "7f");
  EXPECT_EQ(address->text(), "7f");
  EXPECT_TRUE(MessageShown(bench, "入力データに誤りがあります．"));
  EXPECT_EQ(bench.Run.Window().focusWidget(), address);
}

TEST(WindowRun, ClosingTheDialogDuringProgrammingOnlyClosesTheDialog) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.Start(bench.GivenHexFile(kProgramWords));
  bool closed = false;
  const auto timer = DuringTheOperation([&] {
    if (bench.Run.State().Command.FlashWordsWritten < 20) return false;
    QTest::keyClick(&bench.Run.MessageDialog(), Qt::Key_Escape);
    closed = !bench.Run.MessageDialog().isVisible();
    return true;
  });
  Press(bench, "Cmd_btn_program");
  EXPECT_TRUE(closed);
  EXPECT_EQ(bench.Run.State().CancelRequested, 2);
  EXPECT_TRUE(ChipHoldsBuffer(bench));
  EXPECT_TRUE(MessageShown(bench, "ベリファイ　FLASH : OK / EEPROM : OK"));
}

TEST(WindowRun, ThreeClicksDuringProgrammingStartOneCommand) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.Start(bench.GivenHexFile(kProgramWords));
  int clicks = 0;
  const auto timer = DuringTheOperation([&] {
    Press(bench, "Cmd_btn_program");
    Press(bench, "Cmd_btn_open");
    return ++clicks == 3;
  });
  Press(bench, "Cmd_btn_program");
  EXPECT_EQ(clicks, 3);
  EXPECT_TRUE(bench.Dialogs.Requests.empty());
  const std::string& trace = bench.Files.Files["/app/_debug_avr.txt"];
  const std::string mark = ">>>>> START <<<<<";
  const std::size_t first = trace.find(mark);
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(trace.find(mark, first + 1), std::string::npos);
}

TEST(WindowRun, ClosingDuringProgrammingStopsAfterTheExchangeAndCloses) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.Start(bench.GivenHexFile(kProgramWords));
  bench.Boxes.Answer = true;
  const auto timer = DuringTheOperation([&] {
    if (bench.Run.State().Command.FlashWordsWritten < 20) return false;
    bench.Run.Window().close();
    EXPECT_TRUE(bench.Run.Window().isVisible());
    return true;
  });
  Press(bench, "Cmd_btn_program");
  EXPECT_EQ(bench.Boxes.Questions.size(), 1U);
  EXPECT_FALSE(bench.Run.Window().isVisible());
  EXPECT_FALSE(bench.Run.MessageDialog().isVisible());
  EXPECT_FALSE(bench.Run.State().CommandRunning);
  EXPECT_FALSE(ChipHoldsBuffer(bench));
}

TEST(WindowRun, TheWindowReactsWithinFiftyMillisecondsDuringProgramming) {
  WindowBench bench({.Baud = kAtBoardSpeed});
  bench.Start(bench.GivenHexFile(kProgramWords));
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
  Press(bench, "Cmd_btn_program");
  EXPECT_GT(turns, 20);
  EXPECT_LE(longest, 50);
}

}  // namespace
}  // namespace fenwright::ui
