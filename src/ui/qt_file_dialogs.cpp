#include "ui/qt_file_dialogs.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLineEdit>
#include <QSplitter>
#include <QTreeView>

#include "ui/text.h"

namespace fenwright::ui {
namespace {

constexpr QSize kSize(760, 480);
constexpr int kFoldersWidth = 180;

QString Patterns(const QString& list) {
  QStringList patterns;
  for (const QString& part : list.split(';', Qt::SkipEmptyParts)) {
    const QString pattern = part.trimmed();
    if (pattern == "*.*") {
      patterns.append("*");
      continue;
    }
#ifdef Q_OS_WIN
    patterns.append(pattern);  // the system takes both cases for one
#else
    patterns.append(pattern.toLower());
    patterns.append(pattern.toUpper());
#endif
  }
  patterns.removeDuplicates();
  return patterns.join(' ');
}

/// A pattern in the name field lists what matches, as the system's own dialogs do; Qt's would look
/// for a file of that name.
class PatternDialog final : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;

  /// Shows a name, or a pattern, in the name field, ready to be typed over.
  void ShowName(const QString& name) {
    if (name.isEmpty()) return;
    selectFile(name);
    if (auto* field = NameField()) field->selectAll();
  }

  void accept() override {
    const auto* field = NameField();
    auto* listed = findChild<QFileSystemModel*>("qt_filesystem_model");
    if (!field || !listed || !IsPattern(field->text())) {
      QFileDialog::accept();
      return;
    }
    listed->setNameFilters(Patterns(field->text()).split(' '));
  }

 private:
  /// None while the dialog is one of the desktop's.
  [[nodiscard]] QLineEdit* NameField() const { return findChild<QLineEdit*>("fileNameEdit"); }

  [[nodiscard]] bool IsPattern(const QString& name) const {
    const bool wild = name.contains('*') || name.contains('?');
    return wild && !QFileInfo::exists(directory().filePath(name));
  }
};

void Prepare(QFileDialog& dialog, const QString& object_name, QFileDialog::AcceptMode mode,
             const screen::FileDialogRequest& request) {
  dialog.setObjectName(object_name);
  dialog.setAcceptMode(mode);
  dialog.setWindowTitle(ToQString(request.Title));
  dialog.setAccessibleName(dialog.windowTitle());
  dialog.setNameFilters(NameFilters(request.Filter));
  dialog.setDefaultSuffix(DefaultSuffix(request.DefaultExtension));
  if (!request.StartFolder.empty()) dialog.setDirectory(ToQString(request.StartFolder));
}

/// Qt's own texts are English where its translations are not installed.
void SetLabels(QFileDialog& dialog, const QString& accept) {
  dialog.setLabelText(QFileDialog::LookIn, "場所:");
  dialog.setLabelText(QFileDialog::FileName, "ファイル名(&N):");
  dialog.setLabelText(QFileDialog::FileType, "ファイルの種類:");
  dialog.setLabelText(QFileDialog::Accept, accept);
  dialog.setLabelText(QFileDialog::Reject, "キャンセル");
}

/// Room for whole names, dates and folders. A dialog of the desktop's has no such list, and a size
/// of its own.
void MakeRoom(QFileDialog& dialog) {
  auto* list = dialog.findChild<QTreeView*>("treeView");
  if (!list) return;
  dialog.resize(kSize);
  list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  if (auto* panes = dialog.findChild<QSplitter*>("splitter")) {
    panes->setSizes({kFoldersWidth, kSize.width() - kFoldersWidth});
  }
}

std::optional<std::string> Run(QFileDialog& dialog) {
  MakeRoom(dialog);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
  return ToUtf8(QDir::toNativeSeparators(dialog.selectedFiles().constFirst()));
}

}  // namespace

QStringList NameFilters(const std::string& filter) {
  const QStringList fields = ToQString(filter).split('|');
  QStringList filters;
  for (qsizetype field = 0; field + 1 < fields.size(); field += 2) {
    filters.append(fields.at(field) + " (" + Patterns(fields.at(field + 1)) + ')');
  }
  return filters;
}

QString DefaultSuffix(const std::string& default_extension) {
  const QString first = ToQString(default_extension).section(';', 0, 0).trimmed();
  return first.startsWith("*.") ? first.mid(2) : first;
}

std::optional<std::string> QtFileDialogs::Open(const screen::FileDialogRequest& request) {
  PatternDialog dialog(parent_);
  Prepare(dialog, "dlgOpen", QFileDialog::AcceptOpen, request);
  dialog.setFileMode(QFileDialog::ExistingFile);
  SetLabels(dialog, "開く(&O)");
  dialog.ShowName(ToQString(request.FileName));
  return Run(dialog);
}

std::optional<std::string> QtFileDialogs::Save(const screen::FileDialogRequest& request) {
  PatternDialog dialog(parent_);
  Prepare(dialog, "dlgSave", QFileDialog::AcceptSave, request);
  dialog.setFileMode(QFileDialog::AnyFile);
  SetLabels(dialog, "保存(&S)");
  dialog.ShowName(ToQString(request.FileName));
  // The commands ask: about the names that they write, which may not be the chosen one.
  dialog.setOption(QFileDialog::DontConfirmOverwrite);
  return Run(dialog);
}

}  // namespace fenwright::ui
