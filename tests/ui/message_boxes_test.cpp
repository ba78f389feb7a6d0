#include <QAbstractButton>
#include <QMessageBox>

#include "ui/qt_message_boxes.h"
#include "ui/window_bench.h"

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

}  // namespace
}  // namespace fenwright::ui
