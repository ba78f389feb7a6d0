#include "ui/window_run.h"

#include <memory>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "core/device_catalogue.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

constexpr int kProgramWords = 400;

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
  EXPECT_EQ(bench.Run.Window().FlashSizeLabel()->text(), "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 512 word");
  EXPECT_EQ(bench.Run.Window().EepromSizeLabel()->text(), "EEPROMﾃﾞｰﾀﾒﾓﾘ: 64 byte");
  EXPECT_TRUE(bench.Run.Window().DeviceFrame()->isVisible());
}

TEST(WindowRun, AFileGivenAtTheStartIsInTheFlashView) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  const QString text =
      bench.Run.Window().ViewOf(platform::View::Flash)->TextControl()->toPlainText();
  EXPECT_TRUE(text.startsWith("0000: 0000 0701 0E02 ")) << text.left(40).toStdString();
}

TEST(WindowRun, PickingADeviceByKeyboardShowsItsSizesAndBlankMemory) {
  WindowBench bench;
  bench.Start(bench.GivenHexFile(kProgramWords));
  QComboBox* selector = bench.Run.Window().DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_End);
  EXPECT_EQ(selector->currentText(), "AT90S8535");
  EXPECT_EQ(bench.Run.Window().FlashSizeLabel()->text(), "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  const QString text =
      bench.Run.Window().ViewOf(platform::View::Flash)->TextControl()->toPlainText();
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
  EXPECT_TRUE(bench.Run.Window().ViewOf(platform::View::Verify)->isVisible());
  EXPECT_TRUE(Find<QPushButton>(bench.Run.Window(), "Cmd_btn_program")->isEnabled());
}

TEST(WindowRun, ClosingTheDialogDuringProgrammingOnlyClosesTheDialog) {
  WindowBench bench(kAtBoardSpeed);
  bench.Start(bench.GivenHexFile(kProgramWords));
  bool closed = false;
  const auto timer = DuringTheOperation([&] {
    if (bench.Run.State().Chip.FlashWordsWritten < 20) return false;
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
  WindowBench bench(kAtBoardSpeed);
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
  WindowBench bench(kAtBoardSpeed);
  bench.Start(bench.GivenHexFile(kProgramWords));
  bench.Boxes.Answer = true;
  const auto timer = DuringTheOperation([&] {
    if (bench.Run.State().Chip.FlashWordsWritten < 20) return false;
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
  WindowBench bench(kAtBoardSpeed);
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
