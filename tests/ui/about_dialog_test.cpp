#include "ui/about_dialog.h"

#include <QDesktopServices>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextBrowser>

#include "core/build_info.h"
#include "ui/license_dialog.h"
#include "ui/qt_shell.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using Requests = std::vector<FakeShell::Request>;

struct About : WindowTest {
  About() {
    Start();
    Choose("mnuHelpAbout");
  }
  AboutDialog& Dialog() { return Window().About(); }
  std::string Text(const char* label) {
    return Find<QLabel>(Dialog(), label)->text().toStdString();
  }
  void Press(const char* button) {
    QTest::mouseClick(Find<QPushButton>(Dialog(), button), Qt::LeftButton);
  }
};

TEST_F(About, TheMenuShowsItModally) {
  EXPECT_TRUE(Dialog().isVisible());
  EXPECT_TRUE(Dialog().isModal());
  EXPECT_EQ(Dialog().objectName(), "frmAbout");
  EXPECT_EQ(Dialog().windowTitle(), "バージョン情報");
}

TEST_F(About, ItShowsTheVersionRecord) {
  EXPECT_EQ(Text("lblTitle"), "FenwrightV6");
  EXPECT_EQ(Text("lblVersion"), "Version 6.5.5");
  EXPECT_EQ(Text("lblDescription"), core::kFileDescription);
  EXPECT_EQ(Text("lblDisclaimer"), core::kComments);
  EXPECT_FALSE(Text("Label1").empty());
  EXPECT_FALSE(Find<QLabel>(Dialog(), "picIcon")->pixmap().isNull());
}

TEST_F(About, TheButtonsAreCaptionedAsTheyShallBe) {
  EXPECT_EQ(Find<QPushButton>(Dialog(), "Command1")->text(), "サポートホームページへジャンプ");
  EXPECT_EQ(Find<QPushButton>(Dialog(), "cmdOK")->text(), "閉じる");
}

TEST_F(About, ItNamesTheSupportPage) {
  EXPECT_EQ(Text("lblSupportPage"), "ｻﾎﾟｰﾄﾍﾟｰｼﾞ : " + std::string(core::kSupportUrl));
  Dialog().SetSupportPageLabel("ｻﾎﾟｰﾄﾍﾟｰｼﾞ : https://other.example/");
  EXPECT_EQ(Text("lblSupportPage"), "ｻﾎﾟｰﾄﾍﾟｰｼﾞ : https://other.example/");
}

TEST_F(About, LoadingSetsTheAddressOfTheSupportPage) {
  EXPECT_EQ(State().SupportPageAddress, core::kSupportUrl);
}

TEST_F(About, TheJumpOpensTheSupportPageInTheProgramsFolderAndTheBoxStays) {
  Press("Command1");
  EXPECT_EQ(Shell.Requests,
            (Requests{{std::string(core::kSupportUrl), "/opt/bin/", ShowMode::Normal}}));
  EXPECT_TRUE(Dialog().isVisible());
}

TEST_F(About, WithoutABrowserTheJumpReportsNothing) {
  Shell.Answer = false;
  Press("Command1");
  EXPECT_EQ(Shell.Requests.size(), 1U);
  EXPECT_TRUE(Boxes.Shown.empty());
  EXPECT_TRUE(Dialog().isVisible());
}

TEST_F(About, CloseAndEscapeUnloadTheBoxAndItComesBack) {
  Press("cmdOK");
  EXPECT_FALSE(Dialog().isVisible());
  Choose("mnuHelpAbout");
  EXPECT_TRUE(Dialog().isVisible());
  QTest::keyClick(&Dialog(), Qt::Key_Escape);
  EXPECT_FALSE(Dialog().isVisible());
}

TEST_F(About, ReturnClosesTheBox) {
  QTest::keyClick(&Dialog(), Qt::Key_Return);
  EXPECT_FALSE(Dialog().isVisible());
  EXPECT_TRUE(Shell.Requests.empty());
}

TEST_F(About, TheKeyboardReachesBothButtons) {
  EXPECT_EQ(Dialog().focusWidget(), Find<QPushButton>(Dialog(), "cmdOK"));
  QTest::keyClick(Dialog().focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(Dialog().focusWidget(), Find<QPushButton>(Dialog(), "Command1"));
  QTest::keyClick(Dialog().focusWidget(), Qt::Key_Space);
  EXPECT_EQ(Shell.Requests.size(), 1U);
}

TEST_F(About, ItGoesWithTheMainWindow) {
  EXPECT_TRUE(Window().close());
  EXPECT_FALSE(Dialog().isVisible());
}

struct Licenses : About {
  Licenses() { Press("Command2"); }
  LicenseDialog& Shown() { return Dialog().Licenses(); }
  QTextBrowser& Page() { return *Find<QTextBrowser>(Shown(), "txtLicense"); }
  std::string Read() { return Page().toPlainText().toStdString(); }
  /// A text of the program without the end of its last line, as the page has to show it.
  static std::string Lines(const QString& name) {
    QFile file(":/licenses/" + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    std::string text = file.readAll().toStdString();
    EXPECT_TRUE(text.ends_with('\n')) << name.toStdString();
    text.pop_back();
    return text;
  }
};

TEST_F(Licenses, TheAboutBoxHasThemInADialogOfTheirOwnAndStays) {
  EXPECT_TRUE(Shown().isVisible());
  EXPECT_TRUE(Shown().isModal());
  EXPECT_EQ(Shown().windowTitle(), "ライセンス");
  EXPECT_TRUE(Dialog().isVisible());
  for (const char* name : {"MIT", "Qt 6", "LGPL-3.0", "CLI11", "fmt", "nlohmann-json"}) {
    EXPECT_THAT(Read(), ::testing::HasSubstr(name));
  }
}

TEST_F(Licenses, EveryTextIsBehindALinkAndTheWayBackLeadsToTheOverview) {
  const std::string overview = Read();
  QPushButton* back = Find<QPushButton>(Shown(), "cmdBack");
  const QString markdown = Page().toMarkdown();
  int texts = 0;
  for (QDirIterator file(":/licenses", QDir::Files, QDirIterator::Subdirectories);
       file.hasNext();) {
    const QString name = file.next().mid(QString(":/licenses/").size());
    if (name == "THIRD-PARTY.md") continue;
    EXPECT_TRUE(markdown.contains("](" + name + ")")) << name.toStdString();
    EXPECT_FALSE(back->isEnabled());
    Page().setSource(QUrl(name));
    EXPECT_NE(Read(), overview) << name.toStdString();
    EXPECT_EQ(Read(), Lines(name)) << name.toStdString();
    QTest::mouseClick(back, Qt::LeftButton);
    EXPECT_EQ(Read(), overview);
    Page().clearHistory();
    ++texts;
  }
  EXPECT_GE(texts, 8);
}

TEST_F(Licenses, NoLinkOfTheOverviewLeadsNowhere) {
  const QString markdown = Page().toMarkdown();
  QRegularExpressionMatchIterator link =
      QRegularExpression(R"(\]\(([^)]*)\))").globalMatch(markdown);
  int links = 0;
  for (; link.hasNext(); ++links) {
    const QString target = link.next().captured(1);
    EXPECT_TRUE(target.startsWith("https://") || QFileInfo(":/licenses/" + target).isFile())
        << target.toStdString();
  }
  EXPECT_GE(links, 8);
}

TEST_F(Licenses, ItBeginsWithTheOverviewEachTime) {
  const std::string overview = Read();
  Page().setSource(QUrl("LICENSE"));
  EXPECT_THAT(Read(), ::testing::HasSubstr("the Fenwright authors"));
  QTest::mouseClick(Find<QPushButton>(Shown(), "cmdClose"), Qt::LeftButton);
  EXPECT_FALSE(Shown().isVisible());
  Press("Command2");
  EXPECT_EQ(Read(), overview);
  EXPECT_FALSE(Find<QPushButton>(Shown(), "cmdBack")->isEnabled());
}

TEST_F(Licenses, EscapeLeadsBackToTheAboutBox) {
  QTest::keyClick(&Shown(), Qt::Key_Escape);
  EXPECT_FALSE(Shown().isVisible());
  EXPECT_TRUE(Dialog().isVisible());
}

struct Manual : WindowTest {
  Manual() { Start(); }
};

TEST_F(Manual, TheHelpItemOpensItInTheProgramsFolderWithoutTakingTheFocus) {
  Files.Files["/opt/bin/readme_tarnwick6.pdf"] = "%PDF";
  Choose("mnuHelpSub");
  EXPECT_EQ(Shell.Requests,
            (Requests{{"/opt/bin/readme_tarnwick6.pdf", "", ShowMode::NoActivate}}));
}

TEST_F(Manual, AnInstalledOneIsFoundToo) {
  Files.Files["/opt/share/readme_tarnwick6.pdf"] = "%PDF";
  Choose("mnuHelpSub");
  ASSERT_EQ(Shell.Requests.size(), 1U);
  EXPECT_EQ(Shell.Requests[0].Document, "/opt/share/readme_tarnwick6.pdf");
}

TEST_F(Manual, AMissingOneIsAskedForAllTheSameAndNothingIsShown) {
  Shell.Answer = false;
  Choose("mnuHelpSub");
  ASSERT_EQ(Shell.Requests.size(), 1U);
  EXPECT_EQ(Shell.Requests[0].Document, "/opt/bin/readme_tarnwick6.pdf");
  EXPECT_TRUE(Boxes.Shown.empty());
  EXPECT_FALSE(Run.MessageDialog().isVisible());
}

TEST_F(Manual, TheHelpKeySaysWhenThereIsNone) {
  QTest::keyClick(&Window(), Qt::Key_F1);
  EXPECT_TRUE(Shell.Requests.empty());
  EXPECT_EQ(Boxes.Shown,
            (std::vector<std::string>{"ﾍﾙﾌﾟの目次を表示できません。 "
                                      "このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。"}));
}

TEST_F(Manual, TheHelpKeyOpensIt) {
  Files.Files["/opt/bin/readme_tarnwick6.pdf"] = "%PDF";
  QTest::keyClick(&Window(), Qt::Key_F1);
  EXPECT_EQ(Shell.Requests.size(), 1U);
  EXPECT_TRUE(Boxes.Shown.empty());
}

/// Takes what the desktop would be asked to open.
class Desktop : public QObject {
  Q_OBJECT

 public:
  Desktop() {
    for (const char* scheme : {"file", "https"}) {
      QDesktopServices::setUrlHandler(scheme, this, "Take");
    }
  }
  ~Desktop() override {
    for (const char* scheme : {"file", "https"}) QDesktopServices::unsetUrlHandler(scheme);
  }
  QList<QUrl> Taken;

 public slots:
  void Take(const QUrl& url) { Taken.append(url); }
};

TEST(QtShell, AnAddressOfTheWebGoesToTheDesktop) {
  Desktop desktop;
  EXPECT_TRUE(QtShell().Open("https://support.example/a?b=1", "/opt/", ShowMode::Normal));
  EXPECT_EQ(desktop.Taken, QList<QUrl>{QUrl("https://support.example/a?b=1")});
}

TEST(QtShell, ADocumentGoesToTheDesktopWhateverItsName) {
  Desktop desktop;
  const QTemporaryDir folder;
  QFile document(folder.filePath("説明書 #1.pdf"));
  ASSERT_TRUE(document.open(QIODevice::WriteOnly));
  EXPECT_TRUE(QtShell().Open(document.fileName().toStdString(), "", ShowMode::NoActivate));
  EXPECT_EQ(desktop.Taken, QList<QUrl>{QUrl::fromLocalFile(document.fileName())});
}

TEST(QtShell, AMissingDocumentIsNotHandedToTheDesktop) {
  Desktop desktop;
  EXPECT_FALSE(QtShell().Open("/no/such/readme_tarnwick6.pdf", "", ShowMode::NoActivate));
  EXPECT_TRUE(desktop.Taken.isEmpty());
}

}  // namespace
}  // namespace fenwright::ui

#include "about_dialog_test.moc"
