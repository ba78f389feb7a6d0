#pragma once

#include <map>
#include <vector>

#include <QWidget>

#include "screen/fuse_form.h"

class QComboBox;
class QGridLayout;
class QGroupBox;
class QLabel;
class QPushButton;

namespace fenwright::ui {

class TextPane;
class WrappedLabel;

/// What the frame shows about a field whose item is not the default.
struct FieldNote {
  screen::FuseList List;
  QString Default;  ///< the default item
  QString Words;    ///< one line about what the chosen item does
  QString Source;   ///< where that is said, "" = nowhere
};

/// The frame "Lock/Fuse ビット ＆ Calib.データ" and what stands below it: a list with its label for
/// each fuse field and for the lock mode, the calibration bytes, and the two buttons; then the line
/// with the bytes, and a line in words for each field that is not at its default. Such a list has a
/// corner mark and bold letters.
///
/// Where there is no room for that line and these words, the rows of lists that the device does not
/// have give way; after them, the words are scrolled.
///
/// It only shows what it is given and reports what the user does. Until it is given anything it
/// looks as without a device.
class FuseFrame final : public QWidget, public screen::FuseForm {
  Q_OBJECT

 public:
  FuseFrame();

  void SetItems(screen::FuseList list, std::span<const std::string_view> items) override;
  void Select(screen::FuseList list, int index) override;
  [[nodiscard]] int SelectedIndex(screen::FuseList list) const override;
  void EnableList(screen::FuseList list, bool enable) override;
  void SetLockListVisible(bool visible) override;
  void EnableButtons(bool read, bool write) override;
  void SetCalibrationText(std::string_view text) override;
  void SetByteLine(std::string_view text) override;
  void SetFrameVisible(bool visible) override;

  [[nodiscard]] QGroupBox* Frame() const { return frame_; }
  [[nodiscard]] QComboBox* List(screen::FuseList list) const { return lists_.at(list); }
  [[nodiscard]] QLabel* LabelOf(screen::FuseList list) const { return labels_.at(list); }
  [[nodiscard]] QLabel* Calibration() const { return calibration_; }
  [[nodiscard]] QPushButton* ReadButton() const { return read_; }
  [[nodiscard]] QPushButton* WriteButton() const { return write_; }
  [[nodiscard]] QLabel* ByteLine() const { return byte_line_; }

  /// Leaves out that many of the rows without a field of the device, the lowest first, or all where
  /// there are fewer.
  void LeaveRowsOut(int count);

  /// How many it leaves out now.
  [[nodiscard]] int RowsLeftOut() const;

  /// What one of them gives.
  [[nodiscard]] int RowHeight() const;

  /// Marks these fields, and no other, and says what they do.
  void ShowNotes(const std::vector<FieldNote>& notes);

 signals:
  /// The user has picked an item of `Combo_RSTDISABL`, even the one that was chosen already.
  void ResetPinPicked();
  /// The user has chosen another item of any list.
  void SelectionChanged();
  /// The byte line has changed, and with it, perhaps, which fields are at their defaults.
  void BytesShown();

 private:
  [[nodiscard]] std::vector<int> EmptyRows() const;
  void ShowRows();
  void AddFields(QGridLayout* grid);
  void AddCalibration(QGridLayout* grid, int row);
  void AddButtons(QGridLayout* grid, int row);

  QGroupBox* frame_;
  std::map<screen::FuseList, QComboBox*> lists_;
  std::map<screen::FuseList, QLabel*> labels_;
  QLabel* calibration_ = nullptr;
  QPushButton* read_ = nullptr;
  QPushButton* write_ = nullptr;
  QLabel* byte_line_;
  WrappedLabel* words_;
  TextPane* words_pane_;
  int rows_to_leave_out_ = 0;
};

}  // namespace fenwright::ui
