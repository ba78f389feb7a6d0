#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/event_loop.h"
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

namespace fenwright::testing {

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
    seconds_ += seconds;
    constexpr double kDay = 86400;
    if (seconds_ >= kDay) seconds_ -= kDay;
  }
  /// Time passed since the start, whatever the time of day.
  [[nodiscard]] double Elapsed() const { return elapsed_; }

 private:
  double seconds_ = 36000;
  double elapsed_ = 0;
};

/// Counts the turns and runs what a test wants to happen during one.
class FakeEventLoop final : public platform::EventLoop {
 public:
  void ProcessPendingEvents() override {
    ++Turns;
    if (OnTurn) OnTurn();
  }
  int Turns = 0;
  std::function<void()> OnTurn;
};

class FakeStatusBar final : public screen::StatusBar {
 public:
  void SetPanelText(screen::Panel panel, std::string_view text) override {
    Texts[panel] = text;
    History.emplace_back(panel, text);
  }
  std::map<screen::Panel, std::string> Texts;
  std::vector<std::pair<screen::Panel, std::string>> History;
};

/// Behaves as the contract of the dialog says; nobody presses its buttons unless a test does.
class FakeMessageDialog final : public screen::MessageDialog {
 public:
  void Show(std::string_view text, screen::MessageMode mode) override {
    Loaded = true;
    Text = text;
    Mode = mode;
    Detail.clear();
    ButtonVisible = mode != screen::MessageMode::Busy;
    BarVisible = mode == screen::MessageMode::Busy;
    Shown.emplace_back(text, mode);
  }
  void SetText(std::string_view text) override {
    Loaded = true;
    Text = text;
  }
  void SetDetail(std::string_view text) override { Detail = text; }
  void ShowButton() override { ButtonVisible = true; }
  void FocusButton() override { ButtonFocused = true; }
  void SetProgressRange(int maximum) override { ProgressMaximum = maximum; }
  void SetProgress(int value) override { Progress.push_back(value); }
  void Close() override { Loaded = false; }
  [[nodiscard]] bool IsLoaded() const override { return Loaded; }
  [[nodiscard]] bool IsBusy() const override { return Loaded && !ButtonVisible; }

  bool Loaded = false;
  bool ButtonVisible = false;
  bool ButtonFocused = false;
  bool BarVisible = false;
  std::string Text;
  std::string Detail;
  screen::MessageMode Mode = screen::MessageMode::Busy;
  int ProgressMaximum = -1;
  std::vector<int> Progress;
  std::vector<std::pair<std::string, screen::MessageMode>> Shown;
};

class FakeMessageBoxes final : public screen::MessageBoxes {
 public:
  struct Box {
    screen::MessageIcon Icon;
    std::string Title;
    std::string Text;
  };
  void Show(screen::MessageIcon icon, std::string_view title, std::string_view text) override {
    Boxes.push_back({icon, std::string(title), std::string(text)});
  }
  bool Ask(std::string_view title, std::string_view text) override {
    Questions.emplace_back(title, text);
    return Answer;
  }
  std::vector<Box> Boxes;
  std::vector<std::pair<std::string, std::string>> Questions;
  bool Answer = false;
};

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

class FakeGuideForm final : public screen::GuideForm {
 public:
  void SetIdle(screen::GuidePosition position) override { Highlighted.erase(position); }
  void SetHighlighted(screen::GuidePosition position) override { Highlighted.insert(position); }
  std::set<screen::GuidePosition> Highlighted;
};

/// A desktop that opens nothing; `Answer` is what it says about it.
class FakeShell final : public platform::Shell {
 public:
  struct Request {
    std::string Document;
    std::string WorkingFolder;
    platform::ShowMode Mode = platform::ShowMode::Normal;
    friend bool operator==(const Request&, const Request&) = default;
  };
  bool Open(std::string_view document, std::string_view working_folder,
            platform::ShowMode mode) override {
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
    std::optional<screen::FuseList> Where;
  };

  void SetItems(screen::FuseList list, std::span<const std::string_view> items) override {
    Lists[list] = {.Items = {items.begin(), items.end()}, .Enabled = Lists[list].Enabled};
    Calls.push_back({"items", list});
  }
  void Select(screen::FuseList list, int index) override {
    Lists[list].Index = index;
    Calls.push_back({"select", list});
  }
  [[nodiscard]] int SelectedIndex(screen::FuseList list) const override {
    const auto found = Lists.find(list);
    return found == Lists.end() ? -1 : found->second.Index;
  }
  void EnableList(screen::FuseList list, bool enable) override { Lists[list].Enabled = enable; }
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

  std::map<screen::FuseList, List> Lists;
  std::vector<Call> Calls;
  std::string Calibration;
  std::string ByteLine;
  bool LockListVisible = false;
  bool ReadEnabled = false;
  bool WriteEnabled = false;
  bool FrameVisible = true;
};

class FakeViews final : public screen::Views {
 public:
  void Clear(screen::View view) override { Calls.emplace_back("clear", view); }
  void Load(screen::View view, std::string_view path) override {
    Calls.emplace_back("load", view);
    Paths[view] = path;
  }
  std::vector<std::pair<std::string, screen::View>> Calls;
  std::map<screen::View, std::string> Paths;
};

class FakeDeviceForm final : public screen::DeviceForm {
 public:
  void SetDevices(const std::vector<std::string>& display_names) override {
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
    FlashLabel = flash;
    EepromLabel = eeprom;
  }
  void ShowDeviceFrame() override { FrameShown = true; }

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
  void SetInstructionsBackground(std::uint32_t colour) override {
    Background = colour;
    Calls.push_back("background " + std::to_string(colour));
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

/// Files in memory. A path in `Refused` cannot be written; a file grows to `Capacity` bytes.
class FakeTextFiles final : public platform::TextFiles {
 public:
  bool Exists(std::string_view path) override { return Files.contains(path); }
  platform::FileResult Read(std::string_view path, std::string& content) override {
    if (OnRead) OnRead();
    const auto file = Files.find(path);
    if (file == Files.end()) return {platform::FileResult::Status::NotFound, "no such file"};
    content = file->second;
    return {};
  }
  platform::FileResult Write(std::string_view path, std::string_view content) override {
    ++Writes[std::string(path)];
    if (IsRefused(path)) return Refusal();
    Files.insert_or_assign(std::string(path), std::string(content));
    return {};
  }
  platform::FileResult Append(std::string_view path, std::string_view content) override {
    if (IsRefused(path)) return Refusal();
    Files[std::string(path)].append(content);
    return {};
  }
  std::unique_ptr<platform::FileWriter> OpenForWriting(std::string_view path,
                                                       platform::FileResult& result) override {
    result = IsRefused(path) ? Refusal() : platform::FileResult{};
    if (!result) return nullptr;
    std::string& file = Files[std::string(path)];
    file.clear();
    return std::make_unique<Writer>(file, Capacity, OpenWriters);
  }
  void Delete(std::string_view path) override {
    Deleted.emplace_back(path);
    if (const auto file = Files.find(path); file != Files.end()) Files.erase(file);
  }

  std::function<void()> OnRead;  ///< what a test wants to happen at a read; may be empty
  std::map<std::string, std::string, std::less<>> Files;
  std::vector<std::string> Refused;
  std::vector<std::string> Deleted;
  std::map<std::string, int> Writes;
  std::size_t Capacity = 1U << 24U;
  int OpenWriters = 0;  ///< writers not yet closed

 private:
  class Writer final : public platform::FileWriter {
   public:
    Writer(std::string& file, std::size_t capacity, int& open_writers)
        : file_(file), capacity_(capacity), open_writers_(open_writers) {
      ++open_writers_;
    }
    ~Writer() override { Release(); }
    bool Write(std::string_view bytes) override {
      if (file_.size() + bytes.size() > capacity_) return false;
      file_.append(bytes);
      return true;
    }
    bool Close() override {
      Release();
      return true;
    }

   private:
    void Release() {
      if (open_) --open_writers_;
      open_ = false;
    }
    std::string& file_;
    std::size_t capacity_;
    int& open_writers_;
    bool open_ = true;
  };

  [[nodiscard]] bool IsRefused(std::string_view path) const {
    return std::ranges::find(Refused, path) != Refused.end();
  }
  static platform::FileResult Refusal() {
    return {platform::FileResult::Status::AccessRefused, "permission denied"};
  }
};

}  // namespace fenwright::testing
