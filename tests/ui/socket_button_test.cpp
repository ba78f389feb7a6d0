// The button beside the selector: what is in the socket, and a device that is picked there.

#include <QAccessible>
#include <QMenu>
#include <QToolButton>

#include "image/buffer_content.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

struct SocketButton : WindowTest {
  SocketButton() { StartWithFile(); }

  void GivenChip(const char* chip) {
    Port.ChipInSocket = [chip] { return std::string(chip); };
  }
  void Ask() { QTest::mouseClick(Named<QToolButton>("cmdReadSocket"), Qt::LeftButton); }
  QMenu* Offer() { return Named<QMenu>("mnuSocketDevices"); }
  QStringList Offered() {
    QStringList texts;
    for (const QAction* item : Offer()->actions()) texts << item->text();
    return texts;
  }
  ~SocketButton() override { Offer()->close(); }
};

TEST_F(SocketButton, OffersTheDeviceInTheSocketAndKeepsTheImageWhenItIsPicked) {
  const std::vector<std::uint8_t> image = State().FlashBuffer;
  GivenChip("AT90S8515");
  Ask();
  EXPECT_TRUE(Offer()->isVisible());
  EXPECT_EQ(Offered(), QStringList{"AT90S8515 に変更"});
  EXPECT_EQ(PanelText(Panel::Status), "ソケットのデバイスは AT90S8515 です。");
  EXPECT_EQ(PanelText(Panel::Signature), "1E:93:01");
  EXPECT_EQ(MessageText(), "");
  Choose("mnuSocketDevice_11");
  EXPECT_EQ(Window().DeviceSelector()->currentText(), "AT90S8515");
  EXPECT_EQ(State().FlashWords, 4096);
  EXPECT_EQ(State().FlashBuffer, image);
  EXPECT_EQ(Settings.Read("Settings", "device"), "11");
  EXPECT_EQ(PanelText(Panel::Status),
            "デバイスを AT90S8515 に変更しました。バッファーの内容はそのままです。");
  EXPECT_THAT(FileInfo(), StartsWith("コード : prog.hex  400 / 4096 word (10 %)\n"));
  EXPECT_TRUE(ViewText(View::Flash).startsWith("0000: 0000 0701 "));
}

TEST_F(SocketButton, APickInTheSelectorStillDiscardsTheImage) {
  PickDevice(11);
  EXPECT_EQ(State().FlashBuffer[2], 0xFF);
}

TEST_F(SocketButton, BothRowsOfAnAt90s1200AreOffered) {
  GivenChip("AT90S1200");
  Ask();
  EXPECT_EQ(Offered(),
            (QStringList{"AT90S1200 (外部ｸﾛｯｸ) に変更", "AT90S1200A(内部RCｸﾛｯｸ1MHz) に変更"}));
}

TEST_F(SocketButton, TheSelectedDeviceIsShownAsThat) {
  Ask();
  EXPECT_EQ(Offered(), QStringList{"ATtiny12L (選択中)"});
  EXPECT_FALSE(Offer()->actions().front()->isEnabled());
}

TEST_F(SocketButton, TheOpenOfferIsInTheAccessibilityTree) {
  QAccessibleInterface* const box =
      QAccessible::queryAccessibleInterface(Named<QWidget>("fraDevice"));
  const int closed = box->childCount();
  GivenChip("AT90S1200");
  Ask();
  ASSERT_EQ(box->childCount(), closed + 1);
  QAccessibleInterface* const offer = box->child(closed);
  ASSERT_NE(offer, nullptr);
  EXPECT_EQ(box->indexOfChild(offer), closed);
  EXPECT_EQ(offer->text(QAccessible::Name), "ソケットのデバイス");
  ASSERT_EQ(offer->childCount(), 2);
  EXPECT_EQ(offer->child(0)->text(QAccessible::Name), "AT90S1200 (外部ｸﾛｯｸ) に変更");
  Offer()->close();
  EXPECT_EQ(box->childCount(), closed);
}

TEST_F(SocketButton, AnImageThatIsLargerThanTheDeviceIsSaid) {
  State().FlashBuffer[2 * 600] = 0x12;
  GivenChip("ATtiny15L");
  Ask();
  Choose("mnuSocketDevice_1");
  EXPECT_THAT(PanelText(Panel::Status),
              HasSubstr("デバイスの容量を超える部分は書き込まれません。"));
  EXPECT_TRUE(Named<QWidget>("sbOutcome")->accessibleDescription().startsWith("注意"));
  EXPECT_THAT(image::DescribeContent(State()),
              HasSubstr("\n⚠ コードはデバイスの容量を超えています。"));
}

/// Neither does a run on it look whole, nor a save of it harmless.
TEST_F(SocketButton, AnImageThatIsLargerThanTheDeviceIsNoPlainSuccess) {
  State().FlashBuffer[0] = 0x34;
  State().FlashBuffer[2 * 600] = 0x12;
  State().CodeFileName = "large.hex";
  image::NoteLoaded(State(), image::Memory::Flash, "large.hex", true);
  GivenChip("ATtiny15L");
  Ask();
  Choose("mnuSocketDevice_1");
  EXPECT_THAT(image::DescribeContent(State()), HasSubstr("large.hex (変更あり)"));
  Press("Cmd_btn_program");
  EXPECT_TRUE(Named<QWidget>("sbOutcome")->accessibleDescription().startsWith("注意"));
}

TEST_F(SocketButton, AnEmptySocketOffersNothingAndIsSaid) {
  GivenChip("empty");
  Ask();
  EXPECT_FALSE(Offer()->isVisible());
  EXPECT_EQ(MessageText(), "ソケットのデバイスを読み出せませんでした。");
  EXPECT_EQ(Find<QLabel>(Run.MessageDialog(), "lblDetail")->text(), "コード: no-signature");
  EXPECT_EQ(Named<QWidget>("sbOutcome")->accessibleDescription(), "失敗");
  EXPECT_EQ(Run.MessageDialog().accessibleDescription(), "失敗");
}

TEST(SocketButtonWithoutABoard, TheLinkCheckSaysSo) {
  WindowBench bench({.Faults = {{.What = board::Fault::Kind::Silent}}});
  bench.Start();
  bench.Named<QToolButton>("cmdReadSocket")->click();
  EXPECT_FALSE(bench.Named<QMenu>("mnuSocketDevices")->isVisible());
  EXPECT_EQ(bench.MessageText(),
            "ライターを検出できませんでした。使用可能な通信ポートを設定してください。");
}

TEST_F(SocketButton, NothingIsWrittenToTheChip) {
  std::string sent;
  Port.OnOutput = [&sent](std::span<const std::uint8_t> bytes) {
    sent.append(bytes.begin(), bytes.end());
  };
  Ask();
  EXPECT_EQ(sent.find('e'), std::string::npos);
  EXPECT_THAT(sent, EndsWith("PsL"));
}

TEST_F(SocketButton, ItCannotBePressedWhileACommandRuns) {
  bool enabled = true;
  Window().Run([&] { enabled = Named<QToolButton>("cmdReadSocket")->isEnabled(); });
  EXPECT_FALSE(enabled);
  EXPECT_TRUE(Named<QToolButton>("cmdReadSocket")->isEnabled());
}

}  // namespace
}  // namespace fenwright::ui
