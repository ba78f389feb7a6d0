#include "core/recorded_run.h"

#include <algorithm>
#include <utility>

namespace fenwright::testing {
namespace {

std::string PanelNumber(screen::Panel panel) { return std::to_string(static_cast<int>(panel)); }

std::string NameOf(screen::View view) {
  switch (view) {
    case screen::View::Flash:
      return "flash view";
    case screen::View::Eeprom:
      return "EEPROM view";
    case screen::View::Verify:
      return "verify view";
  }
  return "?";
}

std::string Joined(std::string_view verb, std::string_view object) {
  return std::string(verb) + " " + std::string(object);
}

/// A file whose close reports lost bytes.
class LossyWriter final : public platform::FileWriter {
 public:
  explicit LossyWriter(std::unique_ptr<platform::FileWriter> writer) : writer_(std::move(writer)) {}
  bool Write(std::string_view bytes) override { return writer_->Write(bytes); }
  bool Close() override {
    writer_->Close();
    return false;
  }

 private:
  std::unique_ptr<platform::FileWriter> writer_;
};

}  // namespace

bool RecordingTextFiles::Exists(std::string_view path) {
  return files_.Exists(path) || Unreadable.contains(path);
}

platform::FileResult RecordingTextFiles::Read(std::string_view path, std::string& content) {
  journal_.push_back(Joined("read", path));
  if (const auto refused = Unreadable.find(path); refused != Unreadable.end()) {
    return {platform::FileResult::Status::AccessRefused, refused->second};
  }
  return files_.Read(path, content);
}

platform::FileResult RecordingTextFiles::Write(std::string_view path, std::string_view content) {
  journal_.push_back(Joined("write", path));
  return files_.Write(path, content);
}

platform::FileResult RecordingTextFiles::Append(std::string_view path, std::string_view content) {
  journal_.push_back(Joined("append", path));
  return files_.Append(path, content);
}

std::unique_ptr<platform::FileWriter> RecordingTextFiles::OpenForWriting(
    std::string_view path, platform::FileResult& result) {
  journal_.push_back(Joined("open", path));
  if (const auto refused = Unopenable.find(path); refused != Unopenable.end()) {
    result = refused->second;
    return nullptr;
  }
  std::unique_ptr<platform::FileWriter> writer = files_.OpenForWriting(path, result);
  if (writer == nullptr || std::ranges::find(LostAtClose, path) == LostAtClose.end()) return writer;
  return std::make_unique<LossyWriter>(std::move(writer));
}

void RecordingTextFiles::Delete(std::string_view path) {
  journal_.push_back(Joined("delete", path));
  files_.Delete(path);
}

void RecordingViews::Clear(screen::View view) {
  journal_.push_back(Joined("clear", NameOf(view)));
  views_.Clear(view);
}

void RecordingViews::Load(screen::View view, std::string_view path) {
  journal_.push_back(Joined("load", NameOf(view)));
  views_.Load(view, path);
}

void RecordingStatusBar::SetPanelText(screen::Panel panel, std::string_view text) {
  journal_.push_back(Joined("panel " + PanelNumber(panel), text));
  bar_.SetPanelText(panel, text);
}

void RecordingMessageDialog::Show(std::string_view text, screen::MessageMode mode) {
  journal_.push_back(Joined("dialog", text));
  dialog_.Show(text, mode);
}

void RecordingMessageDialog::Close() {
  journal_.emplace_back("close dialog");
  dialog_.Close();
}

void RecordingMessageBoxes::Show(screen::MessageIcon icon, std::string_view title,
                                 std::string_view text) {
  journal_.emplace_back("message box");
  boxes_.Show(icon, title, text);
}

bool RecordingMessageBoxes::Ask(std::string_view title, std::string_view text) {
  journal_.emplace_back("question");
  return boxes_.Ask(title, text);
}

void RecordingDeviceForm::SetDevices(const std::vector<std::string>& display_names) {
  journal_.emplace_back("fill selector");
  form_.SetDevices(display_names);
}

void RecordingDeviceForm::SetMemoryLabels(std::string_view flash, std::string_view eeprom) {
  journal_.emplace_back("labels");
  form_.SetMemoryLabels(flash, eeprom);
}

void RecordingDeviceForm::ShowDeviceFrame() {
  journal_.emplace_back("show device frame");
  form_.ShowDeviceFrame();
}

void RecordingGuideForm::SetIdle(screen::GuidePosition position) {
  journal_.push_back("idle " + std::string(1, "ABCDE"[static_cast<std::size_t>(position)]));
  form_.SetIdle(position);
}

void RecordingGuideForm::SetHighlighted(screen::GuidePosition position) {
  journal_.push_back("highlight " + std::string(1, "ABCDE"[static_cast<std::size_t>(position)]));
  form_.SetHighlighted(position);
}

void RecordingEventLoop::ProcessPendingEvents() {
  journal_.emplace_back("turn");
  events_.ProcessPendingEvents();
}

bool RecordingSettings::Write(std::string_view section, std::string_view key,
                              std::string_view value) {
  journal_.push_back(Joined("store " + std::string(section) + "/" + std::string(key), value));
  return settings_.Write(section, key, value);
}

void RecordedRun::Start(std::string_view display_name) {
  Select(Context, display_name);
  Recorded.clear();
}

Journal RecordedRun::TakeJournal() { return std::exchange(Recorded, {}); }

}  // namespace fenwright::testing
