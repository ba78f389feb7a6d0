#pragma once

#include "platform/clock.h"
#include "platform/event_loop.h"
#include "platform/file_archive.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/serial_control.h"
#include "platform/shell.h"
#include "platform/text_files.h"
#include "screen/device_form.h"
#include "screen/file_dialogs.h"
#include "screen/fuse_form.h"
#include "screen/guide_form.h"
#include "screen/hand_edit_form.h"
#include "screen/message_boxes.h"
#include "screen/message_dialog.h"
#include "screen/status_bar.h"
#include "screen/update_form.h"
#include "screen/views.h"
#include "support/prelude.h"

namespace fenwright {

// The platform's words that tests speak.
using platform::FileResult;
using platform::InputMode;
using platform::PortOpenStatus;
using platform::ShowMode;
using screen::FuseList;
using screen::GuidePosition;
using screen::MessageIcon;
using screen::MessageMode;
using screen::Panel;
using screen::View;

}  // namespace fenwright

namespace fenwright::testing {

/// What happened on the platform, in order, whichever part it went through.
using Journal = Texts;

/// A part of the platform that writes down what is done with it once it is given a journal.
class Noted {
 public:
  Journal* Notes = nullptr;

 protected:
  void Note(std::string_view what, std::string_view object) const {
    if (Notes != nullptr) Notes->push_back(std::string(what) + " " + std::string(object));
  }
  void Note(std::string_view what) const {
    if (Notes != nullptr) Notes->emplace_back(what);
  }
};

/// A clock that moves only when somebody rests on it; it falls back to 0 at midnight.
class VirtualClock final : public platform::Clock {
 public:
  double SecondsSinceMidnight() override { return seconds_; }
  platform::DateTime Now() override {
    return {.Year = 2005, .Month = 3, .Day = 14, .Hour = 12, .Minute = 34, .Second = 56};
  }
  void Sleep(double seconds) override { Advance(seconds); }

  void Set(double seconds) { seconds_ = seconds; }
  void Advance(double seconds) {
    elapsed_ += seconds;
    if (!Stands) seconds_ += seconds;
    constexpr double kDay = 86400;
    if (seconds_ >= kDay) seconds_ -= kDay;
  }
  /// Time passed since the start, whatever the time of day.
  [[nodiscard]] double Elapsed() const { return elapsed_; }

  bool Stands = false;  ///< the time of day moves by Set() alone

 private:
  double seconds_ = 36000;
  double elapsed_ = 0;
};

/// Counts the turns and runs what a test wants to happen during one.
class FakeEventLoop final : public platform::EventLoop, public Noted {
 public:
  void ProcessPendingEvents() override {
    Note("turn");
    ++Turns;
    if (OnTurn) OnTurn();
  }
  int Turns = 0;
  std::function<void()> OnTurn;
};

/// Settings in memory.
class FakeSettings final : public platform::SettingsStore, public Noted {
 public:
  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override {
    return store_.Read(section, key);
  }
  bool Write(std::string_view section, std::string_view key, std::string_view value) override {
    Note("store " + std::string(section) + "/" + std::string(key), value);
    return store_.Write(section, key, value);
  }

 private:
  platform::MemorySettingsStore store_;
};

class FakeStatusBar final : public screen::StatusBar, public Noted {
 public:
  void SetPanelText(Panel panel, std::string_view text) override {
    Note("panel " + std::to_string(static_cast<int>(panel)), text);
    Texts[panel] = text;
    History.emplace_back(panel, text);
  }
  void SetOutcome(screen::Outcome outcome, std::string_view reason) override {
    Outcome = outcome;
    Reason = reason;
  }
  screen::Outcome Outcome = screen::Outcome::None;
  std::string Reason;
  std::map<Panel, std::string> Texts;
  std::vector<std::pair<Panel, std::string>> History;
};

/// Behaves as the contract of the dialog says; nobody presses its buttons unless a test does.
class FakeMessageDialog final : public screen::MessageDialog, public Noted {
 public:
  void Show(std::string_view text, MessageMode mode) override {
    constexpr std::array kModes{"busy", "notice", "choice"};
    Note(kModes.at(static_cast<std::size_t>(mode)), text);
    Loaded = true;
    Text = text;
    Mode = mode;
    Detail.clear();
    Code.clear();
    Outcome = screen::Outcome::None;
    Phase.clear();
    ButtonVisible = mode != MessageMode::Busy;
    BarVisible = mode == MessageMode::Busy;
    Shown.emplace_back(text, mode);
  }
  void SetText(std::string_view text) override {
    Note("dialog text", text);
    if (!Loaded) {
      Mode = MessageMode::Busy;
      Detail.clear();
      Outcome = screen::Outcome::None;
      Phase.clear();
      ButtonVisible = false;
      BarVisible = true;
    }
    Loaded = true;
    Text = text;
  }
  void SetDetail(std::string_view text) override { Detail = text; }
  void SetCode(std::string_view word) override { Code = word; }
  void SetOutcome(screen::Outcome outcome) override {
    if (Loaded) Outcome = outcome;
  }
  void SetPhase(std::string_view text) override {
    Phase = text;
    Phases.emplace_back(text);
  }
  void ShowButton() override {
    Note("dialog button");
    ButtonVisible = true;
  }
  void FocusButton() override { ButtonFocused = true; }
  void SetProgressRange(int maximum) override { ProgressMaximum = maximum; }
  void SetProgress(int value) override {
    Note("progress", std::to_string(value) + " of " + std::to_string(ProgressMaximum));
    Progress.push_back(value);
  }
  void Close() override {
    Note("close dialog");
    Loaded = false;
  }
  [[nodiscard]] bool IsLoaded() const override { return Loaded; }
  [[nodiscard]] bool IsBusy() const override { return Loaded && !ButtonVisible; }

  bool Loaded = false;
  bool ButtonVisible = false;
  bool ButtonFocused = false;
  bool BarVisible = false;
  std::string Text;
  std::string Detail;
  std::string Code;
  screen::Outcome Outcome = screen::Outcome::None;
  std::string Phase;
  Texts Phases;  ///< every one that was shown
  MessageMode Mode = MessageMode::Busy;
  int ProgressMaximum = -1;
  std::vector<int> Progress;
  std::vector<std::pair<std::string, MessageMode>> Shown;
};

class FakeMessageBoxes final : public screen::MessageBoxes, public Noted {
 public:
  struct Box {
    MessageIcon Icon;
    std::string Title;
    std::string Text;
    std::string Detail = {};
    friend bool operator==(const Box&, const Box&) = default;
    friend void PrintTo(const Box& box, std::ostream* out) {
      *out << static_cast<int>(box.Icon) << " [" << box.Title << "] " << box.Text << " ("
           << box.Detail << ")";
    }
  };
  void Show(MessageIcon icon, std::string_view title, std::string_view text) override {
    Note("message box");
    Boxes.push_back({icon, std::string(title), std::string(text)});
  }
  void ShowWithDetail(MessageIcon icon, std::string_view title, std::string_view text,
                      std::string_view detail) override {
    Show(icon, title, text);
    Boxes.back().Detail = detail;
  }
  bool Ask(std::string_view title, std::string_view text) override {
    Note("question");
    Questions.emplace_back(title, text);
    return Answer;
  }
  [[nodiscard]] fenwright::Texts Texts() const {
    fenwright::Texts texts;
    for (const Box& box : Boxes) texts.push_back(box.Text);
    return texts;
  }
  std::vector<Box> Boxes;
  std::vector<std::pair<std::string, std::string>> Questions;
  bool Answer = false;
};

using Box = FakeMessageBoxes::Box;

class FakeFileDialogs final : public screen::FileDialogs {
 public:
  std::optional<std::string> Open(const screen::FileDialogRequest& request) override {
    Requests.push_back(request);
    return Choice;
  }
  std::optional<std::string> Save(const screen::FileDialogRequest& request) override {
    SaveRequests.push_back(request);
    return Choice;
  }
  std::vector<screen::FileDialogRequest> SaveRequests;
  std::vector<screen::FileDialogRequest> Requests;
  std::optional<std::string> Choice;
};

class FakeHandEditForm final : public screen::HandEditForm {
 public:
  [[nodiscard]] std::string AddressText() const override { return Address; }
  [[nodiscard]] std::string DataText() const override { return Data; }
  void SetDataText(std::string_view text) override { Data = text; }
  [[nodiscard]] bool FlashChosen() const override { return Flash; }
  std::string Address;
  std::string Data;
  bool Flash = true;
};

class FakeGuideForm final : public screen::GuideForm, public Noted {
 public:
  void SetIdle(GuidePosition position) override {
    Note("idle", Letter(position));
    Highlighted.erase(position);
  }
  void SetHighlighted(GuidePosition position) override {
    Note("highlight", Letter(position));
    Highlighted.insert(position);
  }
  static std::string Letter(GuidePosition position) {
    return {"ABCDE"[static_cast<std::size_t>(position)]};
  }
  std::set<GuidePosition> Highlighted;
};

/// A desktop that opens nothing; `Answer` is what it says about it.
class FakeShell final : public platform::Shell {
 public:
  struct Request {
    std::string Document;
    std::string WorkingFolder;
    ShowMode Mode = ShowMode::Normal;
    friend bool operator==(const Request&, const Request&) = default;
  };
  bool Open(std::string_view document, std::string_view working_folder, ShowMode mode) override {
    Requests.push_back({std::string(document), std::string(working_folder), mode});
    return Answer;
  }
  std::vector<Request> Requests;
  bool Answer = true;
};

/// Keeps what the frame shows, and the calls in order.
class FakeFuseForm final : public screen::FuseForm {
 public:
  struct List {
    std::vector<std::string> Items;
    int Index = -1;
    bool Enabled = true;
    [[nodiscard]] std::string Text() const {
      return Index < 0 ? "" : Items.at(static_cast<std::size_t>(Index));
    }
  };
  struct Call {
    std::string Name;
    std::optional<FuseList> Where;
  };

  void SetItems(FuseList list, std::span<const std::string_view> items) override {
    Lists[list] = {.Items = {items.begin(), items.end()}, .Enabled = Lists[list].Enabled};
    Calls.push_back({"items", list});
  }
  void Select(FuseList list, int index) override {
    Lists[list].Index = index;
    Calls.push_back({"select", list});
  }
  [[nodiscard]] int SelectedIndex(FuseList list) const override {
    const auto found = Lists.find(list);
    return found == Lists.end() ? -1 : found->second.Index;
  }
  void EnableList(FuseList list, bool enable) override { Lists[list].Enabled = enable; }
  void SetLockListVisible(bool visible) override { LockListVisible = visible; }
  void EnableButtons(bool read, bool write) override {
    ReadEnabled = read;
    WriteEnabled = write;
  }
  void SetCalibrationText(std::string_view text) override {
    Calibration = text;
    Calls.push_back({"calibration", std::nullopt});
  }
  void SetByteLine(std::string_view text) override { ByteLine = text; }
  void SetFrameVisible(bool visible) override {
    FrameVisible = visible;
    Calls.push_back({visible ? "show" : "hide", std::nullopt});
  }

  std::map<FuseList, List> Lists;
  std::vector<Call> Calls;
  std::string Calibration;
  std::string ByteLine;
  bool LockListVisible = false;
  bool ReadEnabled = false;
  bool WriteEnabled = false;
  bool FrameVisible = true;
};

class FakeViews final : public screen::Views, public Noted {
 public:
  void Clear(View view) override { Add("clear", view); }
  bool Load(View view, std::string_view path) override {
    Add("load", view);
    if (view != View::Verify) Differences.clear();
    Paths[view] = path;
    std::string& text = Texts[view];
    text.clear();
    if (!Source) return true;
    return static_cast<bool>(Source->Read(path, text));
  }
  void ShowText(View view, std::string_view text) override {
    Add("show text in", view);
    if (view != View::Verify) Differences.clear();
    Texts[view] = text;
  }
  void Mark(View view, const screen::TextPlace& place) override { Marks[view] = place; }
  void ClearMarks() override { Marks.clear(); }
  void MarkDifferences(View view, const std::vector<screen::DifferingPlace>& places) override {
    Differences[view] = places;
  }
  void ClearDifferences() override { Differences.clear(); }
  std::map<View, screen::TextPlace> Marks;
  std::map<View, std::vector<screen::DifferingPlace>> Differences;
  platform::TextFiles* Source = nullptr;  ///< where files are read when a test looks at the texts
  std::map<View, std::string> Texts;
  std::vector<std::pair<std::string, View>> Calls;
  std::map<View, std::string> Paths;

 private:
  void Add(const char* verb, View view) {
    constexpr std::array kNames{"flash view", "EEPROM view", "verify view"};
    Note(verb, kNames.at(static_cast<std::size_t>(view)));
    Calls.emplace_back(verb, view);
  }
};

class FakeDeviceForm final : public screen::DeviceForm, public Noted {
 public:
  void SetDevices(const std::vector<std::string>& display_names) override {
    Note("fill selector");
    Names = display_names;
    Index = -1;
  }
  [[nodiscard]] std::string DeviceText() const override {
    if (ForcedText) return *ForcedText;
    return Index < 0 ? "" : Names.at(static_cast<std::size_t>(Index));
  }
  [[nodiscard]] int DeviceIndex() const override { return Index; }
  void SetDeviceIndex(int index) override { Index = index; }
  void SetMemoryLabels(std::string_view flash, std::string_view eeprom) override {
    Note("labels");
    FlashLabel = flash;
    EepromLabel = eeprom;
  }
  void ShowDeviceFrame() override {
    Note("show device frame");
    FrameShown = true;
  }

  std::vector<std::string> Names;
  int Index = -1;
  std::optional<std::string> ForcedText;  ///< a text that no row has
  std::string FlashLabel;
  std::string EepromLabel;
  bool FrameShown = false;
};

/// The update dialog's controls; every change is also written down in `Calls`, in order.
class FakeUpdateForm final : public screen::UpdateForm {
 public:
  void PlaceDivider() override { Calls.emplace_back("divider"); }
  void SetPortItems(const std::vector<std::string>& items) override {
    PortItems = items;
    Calls.emplace_back("port items");
  }
  void SetPortText(std::string_view text) override { Note("port", Port, text); }
  [[nodiscard]] std::string PortText() const override { return Port; }
  void SetSpeedItems(const std::vector<std::string>& items) override {
    SpeedItems = items;
    Calls.emplace_back("speed items");
  }
  void SetSpeedText(std::string_view text) override { Note("speed", Speed, text); }
  [[nodiscard]] std::string SpeedText() const override { return Speed; }
  void EnableSpeed(bool enable) override { Note("speed", SpeedEnabled, enable); }
  void EnableVersionButton(bool enable) override { Note("CmdVersion", VersionEnabled, enable); }
  void EnableUpdateButton(bool enable) override { Note("CmdUpdate", UpdateEnabled, enable); }
  void SetVersionText(std::string_view text) override { Note("version", Version, text); }
  void SetFileText(std::string_view path) override { Note("file", File, path); }
  void SetInstructions(std::string_view text) override { Note("label", Instructions, text); }
  void SetInstructionsBackground(std::optional<std::uint32_t> colour) override {
    Background = colour;
    Calls.push_back("background " + (colour ? std::to_string(*colour) : "of the dialog"));
  }
  void SetStatusText(std::string_view text) override { Note("status", Status, text); }
  void SetDetail(std::string_view text) override { Detail = text; }
  void SetProgress(int value) override {
    Progress = value;
    Calls.push_back("bar at " + std::to_string(value));
  }
  void ShowProgress(int minimum, int maximum, int value) override {
    Progress = value;
    BarVisible = true;
    Calls.push_back("bar " + std::to_string(minimum) + ".." + std::to_string(maximum) + " at " +
                    std::to_string(value));
  }

  std::vector<std::string> Calls;
  std::vector<std::string> PortItems;
  std::vector<std::string> SpeedItems;
  std::string Port;
  std::string Speed;
  std::string Version;
  std::string File;
  std::string Instructions;
  std::string Status;
  std::string Detail;
  std::optional<std::uint32_t> Background;
  bool SpeedEnabled = true;
  bool VersionEnabled = true;
  bool UpdateEnabled = true;
  bool BarVisible = false;
  int Progress = 0;

 private:
  void Note(const char* what, std::string& field, std::string_view text) {
    field = text;
    Calls.push_back(std::string(what) + " \"" + field + '"');
  }
  void Note(const char* what, bool& field, bool enable) {
    field = enable;
    Calls.push_back(std::string(what) + (enable ? " enabled" : " disabled"));
  }
};

/// Files in memory. A path in `Refused` cannot be written, one in `Unreadable` exists but cannot be
/// read, one in `Unopenable` cannot be opened for writing, and one in `LostAtClose` takes every
/// byte and loses some when it is closed. A file grows to `Capacity` bytes.
class FakeTextFiles final : public platform::TextFiles, public Noted {
 public:
  bool Exists(std::string_view path) override {
    return Files.contains(path) || Unreadable.contains(path);
  }
  FileResult Read(std::string_view path, std::string& content) override {
    Note("read", path);
    if (OnRead) OnRead();
    if (const auto words = Unreadable.find(path); words != Unreadable.end()) {
      return {FileResult::Status::AccessRefused, words->second, Cause};
    }
    const auto file = Files.find(path);
    if (file == Files.end()) return {FileResult::Status::NotFound, "no such file"};
    content = file->second;
    return {};
  }
  FileResult Write(std::string_view path, std::string_view content) override {
    Note("write", path);
    ++Writes[std::string(path)];
    if (IsRefused(path) || IsFull()) return Refusal();
    Files.insert_or_assign(std::string(path), std::string(content));
    return {};
  }
  FileResult Append(std::string_view path, std::string_view content) override {
    Note("append", path);
    if (IsRefused(path) || IsFull()) return Refusal();
    Files[std::string(path)].append(content);
    return {};
  }
  std::unique_ptr<platform::FileWriter> OpenForWriting(std::string_view path,
                                                       FileResult& result) override {
    Note("open", path);
    const auto unopenable = Unopenable.find(path);
    result = unopenable != Unopenable.end() ? unopenable->second
             : IsRefused(path) || IsFull()  ? Refusal()
                                            : FileResult{};
    if (!result) return nullptr;
    std::string& file = Files[std::string(path)];
    file.clear();
    return std::make_unique<Writer>(file, *this, Names(LostAtClose, path));
  }
  std::unique_ptr<platform::FileWriter> OpenOwnForWriting(std::string_view path,
                                                          FileResult& result) override {
    OwnFiles.emplace_back(path);
    return OpenForWriting(path, result);
  }
  void Delete(std::string_view path) override {
    Note("delete", path);
    Deleted.emplace_back(path);
    if (const auto file = Files.find(path); file != Files.end()) Files.erase(file);
  }

  std::function<void()> OnRead;  ///< what a test wants to happen at a read; may be empty
  std::map<std::string, std::string, std::less<>> Files;
  std::vector<std::string> Refused;
  std::map<std::string, std::string, std::less<>> Unreadable;  ///< path and the system's words
  std::map<std::string, FileResult, std::less<>> Unopenable;
  platform::FailureCause Cause{};  ///< of what is refused or cannot be read
  std::vector<std::string> LostAtClose;
  std::vector<std::string> Deleted;
  std::vector<std::string> OwnFiles;  ///< opened as files that the program makes on its own
  std::map<std::string, int> Writes;
  std::size_t Capacity = 1U << 24U;
  int OpenWriters = 0;  ///< writers not yet closed
  int WriteCount = 0;   ///< writes of every kind
  int FullFrom = -1;    ///< the write from which on the disc takes nothing; -1 = none

 private:
  class Writer final : public platform::FileWriter {
   public:
    Writer(std::string& file, FakeTextFiles& files, bool loses)
        : file_(file), files_(files), capacity_(files.Capacity), loses_(loses) {
      ++files_.OpenWriters;
    }
    ~Writer() override { Release(); }
    bool Write(std::string_view bytes) override {
      if (file_.size() + bytes.size() > capacity_ || files_.IsFull()) {
        result_ = FullDisc();
        return false;
      }
      file_.append(bytes);
      return true;
    }
    bool Close() override {
      Release();
      if (loses_) result_ = FullDisc();
      return !loses_;
    }
    [[nodiscard]] const FileResult& Result() const override { return result_; }

   private:
    void Release() {
      if (open_) --files_.OpenWriters;
      open_ = false;
    }
    std::string& file_;
    FakeTextFiles& files_;
    std::size_t capacity_;
    FileResult result_;
    bool loses_;
    bool open_ = true;
  };

  static bool Names(const std::vector<std::string>& paths, std::string_view path) {
    return std::ranges::find(paths, path) != paths.end();
  }
  /// Counts a write.
  bool IsFull() {
    const int number = WriteCount++;
    return FullFrom >= 0 && number >= FullFrom;
  }
  [[nodiscard]] bool IsRefused(std::string_view path) const { return Names(Refused, path); }
  static FileResult FullDisc() {
    return {FileResult::Status::Failed, "disc full", platform::FailureCause::DiscFull};
  }
  [[nodiscard]] FileResult Refusal() const {
    return {FileResult::Status::AccessRefused, "permission denied", Cause};
  }
};

/// Keeps copies of files in memory, as "/backups/1 prog.hex" and so on among them.
class FakeArchive final : public platform::FileArchive, public Noted {
 public:
  explicit FakeArchive(FakeTextFiles& files) : files_(files) {}
  FileResult Keep(std::string_view path, std::string& copy) override {
    Note("keep", path);
    copy.clear();
    const auto file = files_.Files.find(path);
    if (file == files_.Files.end() || file->second.empty()) return {};
    if (!Refusal) return Refusal;
    const std::string name(path.substr(path.rfind('/') + 1));
    copy = "/backups/" + std::to_string(++Copies) + " " + name;
    files_.Files[copy] = file->second;
    return {};
  }
  void Drop(std::string_view copy) override {
    Note("drop", copy);
    files_.Files.erase(std::string(copy));
  }
  FileResult Refusal;  ///< why nothing can be kept, if so
  int Copies = 0;

 private:
  FakeTextFiles& files_;
};

}  // namespace fenwright::testing
