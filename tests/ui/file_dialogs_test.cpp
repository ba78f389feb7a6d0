#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include "platform/temporary_folder.h"
#include "support/prelude.h"
#include "ui/qt_file_dialogs.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

const screen::FileDialogRequest kRequest{.Title = "コードファイル ＆ データファイルを開く",
                                         .Filter = "Hex File|*.hex;*.rom|All Files|*.*|",
                                         .DefaultExtension = "hex;rom",
                                         .StartFolder = {}};

/// Does something to the file dialog as soon as it is on the screen.
void OnDialog(const std::function<void(QFileDialog&)>& action) {
  auto* poll = new QTimer(qApp);
  QObject::connect(poll, &QTimer::timeout, poll, [poll, action] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (!dialog) return;
    poll->deleteLater();
    action(*dialog);
  });
  poll->start(10);
}

TEST(FileDialogs, APairOfLabelAndPatternsBecomesOneNameFilterInBothCases) {
  EXPECT_EQ(NameFilters("Hex File|*.hex;*.rom|All Files|*.*|"),
            QStringList({"Hex File (*.hex *.HEX *.rom *.ROM)", "All Files (*)"}));
  EXPECT_EQ(NameFilters("Hex File|*.HEX|All Files|*.*|").constFirst(), "Hex File (*.hex *.HEX)");
}

TEST(FileDialogs, AFilterWithoutPatternsGivesNoNameFilter) {
  EXPECT_TRUE(NameFilters("").isEmpty());
}

TEST(FileDialogs, TheDefaultSuffixIsTheFirstExtensionWithoutWildcard) {
  EXPECT_EQ(DefaultSuffix("hex;rom"), "hex");
  EXPECT_EQ(DefaultSuffix("*.eep"), "eep");
  EXPECT_EQ(DefaultSuffix(""), "");
}

TEST(FileDialogs, TheOpenDialogShowsTheRequestAndReturnsTheChosenPath) {
  const platform::TemporaryFolder folder;
  QFile file(ToQString(folder.File("prog.HEX")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  screen::FileDialogRequest request = kRequest;
  request.StartFolder = folder.Path();
  OnDialog([&](QFileDialog& dialog) {
    EXPECT_EQ(ToUtf8(dialog.windowTitle()), kRequest.Title);
    EXPECT_EQ(dialog.directory().absolutePath(), ToQString(folder.Path()));
    EXPECT_EQ(dialog.nameFilters().size(), 2);
    // Typed, not selected: the list is filled by a thread, which may not have come to the file.
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText("prog.HEX");
    static_cast<QDialog&>(dialog).accept();
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.reject();
  });
  EXPECT_EQ(QtFileDialogs(nullptr).Open(request), folder.File("prog.HEX"));
}

const screen::FileDialogRequest kSaveRequest{.Title = "コードファイル(*.hex)の保存",
                                             .Filter = "Hex File|*.HEX|All Files|*.*|",
                                             .DefaultExtension = "*.hex",
                                             .StartFolder = {}};

/// Types a name into the save dialog that comes up, and accepts it.
std::optional<std::string> SaveUnder(const platform::TemporaryFolder& folder, const QString& name,
                                     screen::FileDialogRequest request = kSaveRequest) {
  request.StartFolder = folder.Path();
  OnDialog([&](QFileDialog& dialog) {
    EXPECT_EQ(ToUtf8(dialog.windowTitle()), request.Title);
    EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptSave);
    EXPECT_EQ(dialog.directory().absolutePath(), ToQString(folder.Path()));
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText(name);
    static_cast<QDialog&>(dialog).accept();
    // A dialog that is still there has asked something.
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.reject();
  });
  return QtFileDialogs(nullptr).Save(request);
}

TEST(FileDialogs, ANameTypedWithoutExtensionIsSavedWithTheDefaultOne) {
  const platform::TemporaryFolder folder;
  EXPECT_EQ(SaveUnder(folder, "prog"), folder.File("prog.hex"));
}

TEST(FileDialogs, ATypedExtensionStays) {
  const platform::TemporaryFolder folder;
  EXPECT_EQ(SaveUnder(folder, "prog.rom"), folder.File("prog.rom"));
}

TEST(FileDialogs, WithoutADefaultExtensionTheNameStaysAsTyped) {
  const platform::TemporaryFolder folder;
  screen::FileDialogRequest request = kSaveRequest;
  request.DefaultExtension.clear();
  EXPECT_EQ(SaveUnder(folder, "prog", request), folder.File("prog"));
}

TEST(FileDialogs, TheSaveDialogDoesNotAskAboutAFileThatExists) {
  const platform::TemporaryFolder folder;
  QFile file(ToQString(folder.File("prog.hex")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  EXPECT_EQ(SaveUnder(folder, "prog.hex"), folder.File("prog.hex"));
}

TEST(FileDialogs, AnInitialPatternStandsInTheNameFieldAndChoosesNothing) {
  const platform::TemporaryFolder folder;
  for (const char* name : {"new.hex", "NEW2.HEX", "notes.txt"}) {
    QFile file(ToQString(folder.File(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  screen::FileDialogRequest request = kRequest;
  request.Filter = "アップデータファイル|*.HEX|全てのファイル|*.*|";
  request.StartFolder = folder.Path();
  request.FileName = "*.HEX";
  OnDialog([&](QFileDialog& dialog) {
    auto* field = dialog.findChild<QLineEdit*>("fileNameEdit");
    EXPECT_EQ(field->text(), "*.HEX");
    EXPECT_EQ(field->selectedText(), "*.HEX") << "what is typed replaces it";
    for (const char* pattern : {"*.HEX", "not?s.txt"}) {
      field->setText(pattern);
      // A box that says that there is no such file would wait for its answer here.
      QTimer::singleShot(500, &dialog, [] {
        QWidget* box = QApplication::activeModalWidget();
        if (qobject_cast<QFileDialog*>(box)) return;
        ADD_FAILURE() << "a message box";
        box->close();
      });
      static_cast<QDialog&>(dialog).accept();
      ASSERT_TRUE(dialog.isVisible()) << pattern;
    }
    const auto* listed = dialog.findChild<QFileSystemModel*>("qt_filesystem_model");
    const auto listed_files = [&] {
      QStringList names;
      const QModelIndex root = listed->index(ToQString(folder.Path()));
      for (int row = 0; row < listed->rowCount(root); ++row) {
        names.append(listed->index(row, 0, root).data().toString());
      }
      return names;
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return listed_files() == QStringList{"notes.txt"}; }, 5000))
        << listed_files().join(' ').toStdString();
    field->setText("new.hex");
    static_cast<QDialog&>(dialog).accept();
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.reject();
  });
  EXPECT_EQ(QtFileDialogs(nullptr).Open(request), folder.File("new.hex"));
}

TEST(FileDialogs, AnInitialNameOfASaveDialogIsTheOneSaved) {
  const platform::TemporaryFolder folder;
  screen::FileDialogRequest request = kSaveRequest;
  request.StartFolder = folder.Path();
  request.FileName = "old.hex";
  OnDialog([](QFileDialog& dialog) {
    static_cast<QDialog&>(dialog).accept();
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.reject();
  });
  EXPECT_EQ(QtFileDialogs(nullptr).Save(request), folder.File("old.hex"));
}

#ifndef Q_OS_WIN
TEST(FileDialogs, AFileWhoseNameLooksLikeAPatternCanBeChosen) {
  const platform::TemporaryFolder folder;
  QFile file(ToQString(folder.File("what*.hex")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  screen::FileDialogRequest request = kRequest;
  request.StartFolder = folder.Path();
  OnDialog([](QFileDialog& dialog) {
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText("what*.hex");
    static_cast<QDialog&>(dialog).accept();
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.reject();
  });
  EXPECT_EQ(QtFileDialogs(nullptr).Open(request), folder.File("what*.hex"));
}
#endif

TEST(FileDialogs, TheirTextsAreJapaneseWhateverIsInstalled) {
  const auto look = [](QFileDialog& dialog, const char* accept) {
    EXPECT_EQ(dialog.labelText(QFileDialog::LookIn), "場所:");
    EXPECT_EQ(dialog.labelText(QFileDialog::FileName), "ファイル名(&N):");
    EXPECT_EQ(dialog.labelText(QFileDialog::FileType), "ファイルの種類:");
    EXPECT_EQ(dialog.labelText(QFileDialog::Accept), accept);
    EXPECT_EQ(dialog.labelText(QFileDialog::Reject), "キャンセル");
    dialog.reject();
  };
  OnDialog([&](QFileDialog& dialog) { look(dialog, "開く(&O)"); });
  EXPECT_EQ(QtFileDialogs(nullptr).Open({}), std::nullopt);
  OnDialog([&](QFileDialog& dialog) { look(dialog, "保存(&S)"); });
  EXPECT_EQ(QtFileDialogs(nullptr).Save({}), std::nullopt);
}

TEST(FileDialogs, ACancelledSaveGivesNothing) {
  OnDialog([](QFileDialog& dialog) { dialog.reject(); });
  EXPECT_EQ(QtFileDialogs(nullptr).Save(kSaveRequest), std::nullopt);
}

TEST(FileDialogs, ACancelledDialogGivesNothing) {
  OnDialog([](QFileDialog& dialog) { dialog.reject(); });
  EXPECT_EQ(QtFileDialogs(nullptr).Open(kRequest), std::nullopt);
}

}  // namespace
}  // namespace fenwright::ui
