#include <QAbstractButton>
#include <QLabel>
#include <QMessageBox>

#include "ui/qt_message_boxes.h"
#include "ui/window_bench.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

/// Does something to the message box as soon as it is on the screen.
void OnBox(const std::function<void(QMessageBox&)>& action) {
  auto* poll = new QTimer(qApp);
  QObject::connect(poll, &QTimer::timeout, poll, [poll, action] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box) return;
    poll->deleteLater();
    action(*box);
  });
  poll->start(10);
}

TEST(MessageBoxes, ABoxWithoutTitleIsTitledWithTheApplication) {
  OnBox([](QMessageBox& box) {
    EXPECT_EQ(box.windowTitle(), "FenwrightV6");
    EXPECT_EQ(box.text(), "1行目\n2行目");
    EXPECT_EQ(box.icon(), QMessageBox::Critical);
    QTest::mouseClick(Find<QPushButton>(box, "msgBoxOk"), Qt::LeftButton);
  });
  QtMessageBoxes(nullptr).Show(MessageIcon::Critical, "", "1行目\r\n2行目");
}

TEST(MessageBoxes, ANoticeHasTheInformationIconAndItsOwnTitle) {
  OnBox([](QMessageBox& box) {
    EXPECT_EQ(box.windowTitle(), "ファイル");
    EXPECT_EQ(box.icon(), QMessageBox::Information);
    box.reject();
  });
  QtMessageBoxes(nullptr).Show(MessageIcon::Information, "ファイル", "text");
}

TEST(MessageBoxes, ADetailStandsBelowTheTextAndAPathInItIsBrokenWhereItGetsTooWide) {
  const std::string path = "/home/<b>user</b>/" + std::string(300, 'x') + "/prog.hex";
  OnBox([path](QMessageBox& box) {
    EXPECT_EQ(box.text(), "text");
    const auto* detail = Find<WrappedLabel>(box, "lblDetail");
    const auto* text = Find<QLabel>(box, "qt_msgbox_label");
    const auto* button = Find<QPushButton>(box, "msgBoxOk");
    EXPECT_EQ(detail->text().toStdString(), "old content:\r\n" + path);
    EXPECT_EQ(detail->textFormat(), Qt::PlainText);
    EXPECT_GE(detail->y(), text->geometry().bottom());
    EXPECT_GE(detail->height(), detail->heightForWidth(detail->width()));
    EXPECT_GE(button->mapTo(&box, QPoint()).y(), detail->geometry().bottom());
    EXPECT_LE(box.width(), 600);
    EXPECT_EQ(box.accessibleDescription().toStdString(), "text\nold content:\n" + path);
    box.reject();
  });
  QtMessageBoxes(nullptr).ShowWithDetail(MessageIcon::Critical, "", "text",
                                         "old content:\r\n" + path);
}

TEST(MessageBoxes, WithoutADetailThereIsNoSecondText) {
  OnBox([](QMessageBox& box) {
    EXPECT_EQ(box.findChild<QWidget*>("lblDetail"), nullptr);
    box.reject();
  });
  QtMessageBoxes(nullptr).ShowWithDetail(MessageIcon::Critical, "", "text", "");
}

TEST(MessageBoxes, YesAnswersTrue) {
  OnBox([](QMessageBox& box) {
    QTest::mouseClick(Find<QPushButton>(box, "msgBoxYes"), Qt::LeftButton);
  });
  EXPECT_TRUE(QtMessageBoxes(nullptr).Ask("", "?"));
}

TEST(MessageBoxes, NoIsTheDefaultAnswer) {
  OnBox([](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); });
  EXPECT_FALSE(QtMessageBoxes(nullptr).Ask("", "?"));
}

TEST(MessageBoxes, EscapeAnswersNo) {
  OnBox([](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  EXPECT_FALSE(QtMessageBoxes(nullptr).Ask("", "?"));
}

/// The longest required text: eleven lines, padded, with a line end of its own at the end.
constexpr const char* kAdvisory =
    "ファームウエアバージョンが古いのでアップデートを行なってください。　　　　\r\n"
    "　\r\n"
    "新しいファームウエアは、ご購入されたキットに添付されていたＣＤ－ＲＯＭ内、　　　　\r\n"
    "または、サポートページ https://fenwright.example/support/ から入手できます。\r\n"
    "　\r\n"
    "アップデートの方法は、サポートページ https://fenwright.example/support/ に記載されています。"
    "\r\n"
    "　\r\n"
    "現在のファームウエアバージョン　 ： KV-LOD350 V6.31 \r\n"
    "推奨するファームウエアバージョン ： KV-LOD350 V6.38 、または、それ以降。　\r\n"
    "　\r\n"
    "（現在使用中のファームウエアバージョンは、メイン画面の右下に表示されます。）\r\n";

/// Lines that a label breaks its text into. Some are higher than others, by the fonts of their
/// characters.
int ShownLines(const QLabel& label) {
  const auto height = [&label](const QString& line, int width) {
    const QRect room(0, 0, width, QWIDGETSIZE_MAX);
    return label.fontMetrics().boundingRect(room, Qt::TextWordWrap, line).height();
  };
  int lines = 0;
  for (const QString& line : label.text().split('\n')) {
    lines += line.isEmpty()
                 ? 1
                 : height(line, label.contentsRect().width()) / height(line, QWIDGETSIZE_MAX);
  }
  return lines;
}

void ExpectWholeLines(QMessageBox& box) {
  auto* label = Find<QLabel>(box, "qt_msgbox_label");
  int longest = 0;
  for (const QString& line : label->text().split('\n')) {
    longest = std::max(longest, label->fontMetrics().horizontalAdvance(line));
  }
  EXPECT_GE(label->contentsRect().width(), longest);
  EXPECT_EQ(ShownLines(*label), label->text().count('\n') + 1);
  EXPECT_TRUE(box.rect().contains(label->geometry()));
  EXPECT_GE(label->height(), label->heightForWidth(label->width()));
  EXPECT_LE(box.width(), 1024);
}

TEST(MessageBoxes, ATextThatIsLaidOutKeepsItsLines) {
  for (const char* text :
       {kAdvisory,
        "　　　 ファームウエアアップデートが完了しました。  電源を再投入してください。  "
        "　　　　　　　\r\n　",
        "　　***　ファームウエアアップデート　コミュニケーション失敗。　***　　　　　　\r\n　",
        "一行だけでも、全角の空白で整えられた文は、途中で折り返さずにそのまま表示します。　　　"}) {
    OnBox([](QMessageBox& box) {
      ExpectWholeLines(box);
      box.reject();
    });
    QtMessageBoxes(nullptr).Show(MessageIcon::Critical, "", text);
  }
  OnBox([](QMessageBox& box) {
    ExpectWholeLines(box);
    box.reject();
  });
  QtMessageBoxes(nullptr).Ask("", kAdvisory);
}

TEST(MessageBoxes, AnotherTextIsBrokenWhereItGetsTooWide) {
  QString prose;
  for (int i = 0; i < 5; ++i) prose += "長い文は、読みやすい幅で折り返して表示します。";
  OnBox([](QMessageBox& box) {
    EXPECT_LE(box.width(), 500);
    EXPECT_GT(ShownLines(*Find<QLabel>(box, "qt_msgbox_label")), 1);
    box.reject();
  });
  QtMessageBoxes(nullptr).Show(MessageIcon::Information, "", prose.toStdString());
}

TEST(MessageBoxes, ALaidOutLineThatTheScreenHasNoRoomForIsBroken) {
  std::string line;
  for (int i = 0; i < 200; ++i) line += "長";
  OnBox([](QMessageBox& box) {
    EXPECT_LE(box.width(), box.screen()->availableGeometry().width());
    const auto* label = Find<QLabel>(box, "qt_msgbox_label");
    EXPECT_TRUE(box.rect().contains(label->geometry()));
    EXPECT_GE(label->height(), label->heightForWidth(label->width()));
    box.reject();
  });
  QtMessageBoxes(nullptr).Show(MessageIcon::Information, "", "一行目\r\n" + line);
}

}  // namespace
}  // namespace fenwright::ui
