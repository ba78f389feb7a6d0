// The signs of outcomes: in the message dialog, in status panel 1, and on the program's button in
// the taskbar.

#include "ui/outcome_sign.h"

#include <set>

#include "ui/icons.h"
#include "ui/panel_bar.h"
#include "ui/qt_message_dialog.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using Sign = screen::Outcome;

constexpr std::array kSigns{Sign::Success, Sign::Attention, Sign::Failure, Sign::Danger};

constexpr int kSide = 48;

QImage PictureOf(Sign sign) {
  return OutcomeIcon(sign).pixmap(kSide, kSide).toImage().convertToFormat(QImage::Format_ARGB32);
}

/// What is drawn and what is left free, without any colour.
QImage ShapeOf(Sign sign) {
  QImage shape(kSide, kSide, QImage::Format_Grayscale8);
  const QImage picture = PictureOf(sign);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const bool drawn = qAlpha(picture.pixel(x, y)) > 127;
      shape.setPixelColor(x, y, drawn ? Qt::black : Qt::white);
    }
  }
  return shape;
}

int DifferentPixels(const QImage& one, const QImage& other) {
  int count = 0;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      count += std::abs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y))) > 64 ? 1 : 0;
    }
  }
  return count;
}

TEST(OutcomeIcons, EachHasAnOutlineOfItsOwn) {
  for (const Sign one : kSigns) {
    for (const Sign other : kSigns) {
      if (one >= other) continue;
      EXPECT_GT(DifferentPixels(ShapeOf(one), ShapeOf(other)), 60)
          << static_cast<int>(one) << static_cast<int>(other);
    }
  }
  EXPECT_TRUE(OutcomeIcon(Sign::None).isNull());
}

TEST(OutcomeIcons, SuccessIsGreenAttentionAmberAndTheOthersRed) {
  const auto hue = [](Sign sign) {
    // Near the left edge, where no white sign stands.
    return QColor(PictureOf(sign).pixel(kSide / 5, kSide * 4 / 5)).hue();
  };
  EXPECT_NEAR(hue(Sign::Success), 148, 15);
  EXPECT_NEAR(hue(Sign::Attention), 36, 10);
  for (const Sign red : {Sign::Failure, Sign::Danger}) {
    EXPECT_LT((hue(red) + 30) % 360, 40);
  }
}

struct SignTest : WindowTest {
  SignTest() { StartWithFile(); }
  OutcomeSign* PanelSign() { return Named<OutcomeSign>("sbOutcome"); }
  QLabel* Picture() { return Find<QLabel>(Run.MessageDialog(), "Picture1"); }
};

TEST_F(SignTest, TheDialogAndPanelOneShowTheSameSignAndSayIt) {
  EXPECT_FALSE(PanelSign()->isVisible());
  Press("Cmd_btn_program");
  EXPECT_EQ(PanelSign()->Outcome(), Sign::Success);
  EXPECT_TRUE(PanelSign()->isVisible());
  EXPECT_EQ(PanelSign()->accessibleDescription(), "成功");
  EXPECT_EQ(PanelSign()->toolTip(), "成功");
  EXPECT_EQ(Picture()->accessibleDescription(), "成功");
  EXPECT_EQ(Run.MessageDialog().accessibleDescription(), "成功");
  const QImage good = Picture()->pixmap().toImage();
  EXPECT_EQ(good, OutcomeIcon(Sign::Success).pixmap(QSize(kSide, kSide), 1.0).toImage());

  Board->Socket().SetFlashWord(0, 0x1234);
  Press("Cmd_btn_verify");
  EXPECT_EQ(PanelSign()->Outcome(), Sign::Failure);
  EXPECT_TRUE(PanelSign()->accessibleDescription().startsWith("失敗 : デバイスから読み出した"));
  EXPECT_EQ(Picture()->accessibleDescription(), "失敗");
  EXPECT_NE(Picture()->pixmap().toImage(), good);
}

TEST_F(SignTest, WhileWorkGoesOnThereIsNone) {
  Press("Cmd_btn_program");
  int looks = 0;
  Port.OnOutput = [&](std::span<const std::uint8_t>) {
    if (!Run.MessageDialog().IsBusy()) return;
    ++looks;
    EXPECT_EQ(Picture()->accessibleDescription(), "");
    EXPECT_FALSE(PanelSign()->isVisible() && State().ShownOutcome == Sign::None);
  };
  Press("Cmd_btn_verify");
  EXPECT_GT(looks, 0);
}

TEST_F(SignTest, TheTextOfPanelOneMakesRoomForTheSign) {
  auto* panel = Window().StatusPanel(Panel::Status);
  const auto last_inked_column = [panel] {
    const QImage picture = panel->grab().toImage();
    constexpr int kFrame = 5;
    const QRgb ground = picture.pixel(picture.width() - 2 * kFrame, picture.height() / 2);
    int last = 0;
    for (int x = kFrame; x < picture.width() - kFrame; ++x) {
      for (int y = kFrame; y < picture.height() - kFrame; ++y) {
        if (picture.pixel(x, y) != ground) last = x;
      }
    }
    return last;
  };
  panel->SetText("■■■■");
  Window().Panels().SetOutcome(Sign::None, "");
  const int without = last_inked_column();
  ASSERT_GT(without, PanelSign()->width());
  Window().Panels().SetOutcome(Sign::Failure, "");
  EXPECT_TRUE(panel->rect().contains(PanelSign()->geometry()));
  EXPECT_GE(last_inked_column(), without + PanelSign()->width());
}

TEST_F(SignTest, ThePickOfTheResetPinShowsTheDanger) {
  Named<QComboBox>("Combo_RSTDISABL")->setCurrentIndex(0);
  emit Named<QComboBox>("Combo_RSTDISABL")->activated(0);
  EXPECT_EQ(Picture()->accessibleDescription(), "危険");
  EXPECT_EQ(PanelSign()->Outcome(), Sign::Danger);
}

/// A taskbar that writes down what is shown on it.
class NotedTaskbar final : public Taskbar {
 public:
  explicit NotedTaskbar(std::vector<std::string>& notes) : notes_(notes) {}
  void ShowProgress(int percent) override { notes_.push_back(std::to_string(percent)); }
  void ShowFailure() override { notes_.emplace_back("failure"); }
  void Clear() override { notes_.emplace_back("clear"); }

 private:
  std::vector<std::string>& notes_;
};

struct TaskbarTest : Test {
  explicit TaskbarTest()
      : Bench({.MakeTaskbar = [this](QWidget& window) {
          EXPECT_EQ(window.objectName(), "frmMain");
          return std::make_unique<NotedTaskbar>(Notes);
        }}) {
    Bench.StartWithFile();
    Notes.clear();
  }
  std::vector<std::string> Notes;
  WindowBench Bench;
};

TEST_F(TaskbarTest, ShowsEachPercentageOnceAndNothingAfterASuccess) {
  Bench.Press("Cmd_btn_verify");
  Bench.Press("Cmd_btn_program");
  Notes.clear();
  Bench.Press("Cmd_btn_verify");
  ASSERT_GT(Notes.size(), 50U);
  EXPECT_EQ(Notes.front(), "clear");
  EXPECT_EQ(Notes.at(1), "0");
  EXPECT_EQ(Notes.back(), "clear");
  EXPECT_EQ(std::ranges::adjacent_find(Notes), Notes.end());
}

TEST_F(TaskbarTest, AFailureStaysUntilTheUserHasTakenNoteOfIt) {
  Bench.Press("Cmd_btn_verify");
  EXPECT_EQ(Notes.back(), "failure") << "the chip is blank";
  QTest::mouseClick(Find<QPushButton>(Bench.Run.MessageDialog(), "Cmd_okm"), Qt::LeftButton);
  EXPECT_EQ(Notes.back(), "clear");
}

}  // namespace
}  // namespace fenwright::ui
