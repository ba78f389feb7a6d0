#include <iostream>
#include <random>

#include "ui/hand_edit_box.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

constexpr unsigned kSeed = 20050314;
constexpr int kRounds = 1000;
constexpr const char* kMark = ">>>>> START <<<<<";

/// Every operation begins with them.
constexpr std::size_t kLinkCheckBytes = 7;

using Wire = std::vector<std::uint8_t>;

/// The operations of one cycle, by their buttons. Each cycle leaves chip and buffers as the next
/// one needs them.
constexpr std::array<const char*, 4> kCycle{"Cmd_btn_program", "Cmd_btn_verify", "Cmd_btn_read",
                                            "Cmd_btn_erase"};

struct ReentrancyTest : WindowTest {
  ReentrancyTest() {
    Port.OnOutput = [this](std::span<const std::uint8_t> bytes) {
      wire_.insert(wire_.end(), bytes.begin(), bytes.end());
    };
    StartWithFile();
  }

  /// Presses a command button and gives what went over the wire until it returned.
  Wire Operate(const char* button) {
    wire_.clear();
    Named<QPushButton>(button)->click();
    ++operations_;
    return wire_;
  }

  [[nodiscard]] int StartMarks() {
    const std::string& trace = Files.Files["/app/_debug_avr.txt"];
    int marks = 0;
    for (std::size_t at = trace.find(kMark); at != std::string::npos;
         at = trace.find(kMark, at + 1)) {
      ++marks;
    }
    return marks;
  }

  Wire wire_;
  int operations_ = 0;
};

/// Somebody who touches whatever there is, at random, while a command runs.
class RestlessUser {
 public:
  RestlessUser(WindowBench& bench, unsigned seed) : bench_(bench), random_(seed) {
    QObject::connect(&each_turn_, &QTimer::timeout, &each_turn_, [this] { OnTurn(); });
    each_turn_.start(0);
    bench_.Boxes.WhileAsking = [this] { Act(); };
  }

  [[nodiscard]] int Rounds() const { return rounds_; }
  /// How often each action was done.
  [[nodiscard]] std::vector<int> ActionsDone() const { return {done_.begin(), done_.end()}; }

 private:
  int Pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

  template <typename Item>
  Item& PickOf(QList<Item>& items) {
    return items[Pick(static_cast<int>(items.size()))];
  }

  void OnTurn() {
    if (!bench_.State().CommandRunning || --turns_until_next_ > 0) return;
    constexpr int kLongestPause = 8;
    turns_until_next_ = 1 + Pick(kLongestPause);
    ++rounds_;
    Act();
  }

  /// One action. The question about closing asks for another while it is on the screen.
  void Act() {
    constexpr int kDeepest = 2;
    if (depth_ == kDeepest) return;
    ++depth_;
    const auto action = static_cast<std::size_t>(Pick(static_cast<int>(kActions.size())));
    ++done_.at(action);
    (this->*kActions.at(action))();
    --depth_;
  }

  QPushButton* AnyButton() {
    auto buttons = Window().findChildren<QPushButton*>();
    const QtMessageDialog& dialog = bench_.Run.MessageDialog();
    buttons.removeIf([&](QPushButton* button) { return dialog.isAncestorOf(button); });
    return PickOf(buttons);
  }

  QAction* AnyItem() {
    auto items = Window().findChildren<QAction*>();
    items.removeIf([](QAction* item) { return item->objectName().isEmpty(); });
    return PickOf(items);
  }

  void ClickAButton() { QTest::mouseClick(AnyButton(), Qt::LeftButton); }

  /// A click that was on its way when the button was disabled.
  void ForceAButton() { emit AnyButton()->clicked(); }

  void ChooseAnItem() { AnyItem()->trigger(); }

  void ForceAnItem() { emit AnyItem()->triggered(); }

  void PressAShortcut() {
    static constexpr std::array<std::pair<Qt::Key, bool>, 8> kKeys{{{Qt::Key_F5, false},
                                                                    {Qt::Key_F6, false},
                                                                    {Qt::Key_F7, false},
                                                                    {Qt::Key_O, true},
                                                                    {Qt::Key_S, true},
                                                                    {Qt::Key_R, true},
                                                                    {Qt::Key_Return, false},
                                                                    {Qt::Key_Space, false}}};
    const auto& [key, control] = kKeys.at(static_cast<std::size_t>(Pick(kKeys.size())));
    QTest::keyClick(&Window(), key, control ? Qt::ControlModifier : Qt::NoModifier);
  }

  void Type() {
    auto fields = Window().HandEdit().findChildren<QLineEdit*>();
    QLineEdit* field = PickOf(fields);
    QTest::keyClick(field, static_cast<Qt::Key>(Qt::Key_0 + Pick(10)));
    // Text that an input method commits late.
    if (Pick(2) == 0) field->setText(QString::number(Pick(1000)));
    if (Pick(2) == 0) Window().HandEdit().EepromOption()->click();
  }

  void PickADevice() {
    QComboBox* selector = Window().DeviceSelector();
    QTest::keyClick(selector, Pick(2) == 0 ? Qt::Key_Down : Qt::Key_End);
    QTest::mouseClick(selector, Qt::LeftButton);
    emit selector->activated(Pick(selector->count()));
  }

  void DropAFile() { EXPECT_FALSE(DropFiles(Window(), {"/files/prog.hex"})); }

  void TouchTheDialog() {
    QtMessageDialog& dialog = bench_.Run.MessageDialog();
    auto buttons = dialog.findChildren<QPushButton*>();
    switch (Pick(3)) {
      case 0:
        return PickOf(buttons)->click();
      case 1:
        return QTest::keyClick(&dialog, Qt::Key_Escape);
      default:
        dialog.close();
    }
  }

  void RequestClosing() {
    Window().close();
    EXPECT_TRUE(Window().isVisible());
  }

  MainWindow& Window() { return bench_.Window(); }

  static constexpr std::array kActions{
      &RestlessUser::ClickAButton,  &RestlessUser::ForceAButton,   &RestlessUser::ChooseAnItem,
      &RestlessUser::ForceAnItem,   &RestlessUser::PressAShortcut, &RestlessUser::Type,
      &RestlessUser::PickADevice,   &RestlessUser::DropAFile,      &RestlessUser::TouchTheDialog,
      &RestlessUser::RequestClosing};

  WindowBench& bench_;
  std::mt19937 random_;
  QTimer each_turn_;
  int turns_until_next_ = 1;
  int rounds_ = 0;
  int depth_ = 0;
  std::array<int, kActions.size()> done_{};
};

TEST_F(ReentrancyTest, NothingThatTheUserDoesDuringOperationsChangesTheWire) {
  std::array<Wire, kCycle.size()> undisturbed;
  for (std::size_t step = 0; step < kCycle.size(); ++step) {
    undisturbed.at(step) = Operate(kCycle.at(step));
    ASSERT_GT(undisturbed.at(step).size(), kLinkCheckBytes) << kCycle.at(step);
  }
  // What the second cycle starts from is what the first one started from.
  for (std::size_t step = 0; step < kCycle.size(); ++step) {
    ASSERT_EQ(Operate(kCycle.at(step)), undisturbed.at(step)) << kCycle.at(step);
  }
  const std::vector<std::uint8_t> flash = State().FlashBuffer;
  const std::string device = Run.Context().Screen.DeviceForm.DeviceText();

  std::cout << "seed " << kSeed << '\n';
  RestlessUser user(*this, kSeed);
  for (std::size_t step = 0; user.Rounds() < kRounds; step = (step + 1) % kCycle.size()) {
    const int rounds_before = user.Rounds();
    ASSERT_EQ(Operate(kCycle.at(step)), undisturbed.at(step))
        << kCycle.at(step) << ", rounds " << rounds_before << " to " << user.Rounds();
    ASSERT_EQ(StartMarks(), operations_);
    ASSERT_EQ(State().FlashBuffer, flash);
    ASSERT_FALSE(State().CommandRunning);
    ASSERT_TRUE(Window().isVisible());
  }
  std::cout << user.Rounds() << " rounds in " << operations_ << " operations\n";

  // Nothing that was pressed meanwhile is carried out late.
  constexpr int kLongerThanAButtonStaysDown = 250;
  QTest::qWait(kLongerThanAButtonStaysDown);
  EXPECT_EQ(StartMarks(), operations_);
  EXPECT_EQ(Run.Context().Screen.DeviceForm.DeviceText(), device);
  EXPECT_TRUE(Dialogs.Requests.empty());
  EXPECT_TRUE(Dialogs.SaveRequests.empty());
  EXPECT_FALSE(Boxes.Questions.empty());
  for (const int times : user.ActionsDone()) EXPECT_GT(times, kRounds / 20);
  EXPECT_TRUE(Named<QPushButton>("Cmd_btn_program")->isEnabled());
}

}  // namespace
}  // namespace fenwright::ui
