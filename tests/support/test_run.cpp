#include "support/test_run.h"

#include <random>

#include "core/device_catalogue.h"
#include "core/settings_keys.h"
#include "core/trace_log.h"
#include "ops/device_change.h"
#include "ops/outcome.h"

namespace fenwright::testing {
namespace {

board::SimulatedBoardOptions WithChip(std::string_view device,
                                      board::SimulatedBoardOptions options) {
  if (options.Chip == "empty") options.Chip = device;
  return options;
}

}  // namespace

board::TimeSource TimeOf(VirtualClock& clock) {
  return {.Now =
              [&clock] {
                constexpr double kNanosecondsPerSecond = 1e9;
                return std::chrono::nanoseconds(
                    static_cast<std::int64_t>(clock.Elapsed() * kNanosecondsPerSecond));
              },
          .Rest =
              [&clock](std::chrono::nanoseconds time) {
                // Rounded up, so that a rest until a byte is due always reaches it.
                clock.Advance(std::chrono::duration<double>(time).count() + 1e-8);
              }};
}

TestPlatform::TestPlatform() {
  State.AppFolder = "/app/";
  Settings.Write(core::kSettingsSection, core::kPortNumberKey, "3");
}

core::RunContext TestPlatform::ContextOn(platform::SerialControl& port) {
  return ContextOn(port, {.StatusBar = StatusBar, .MessageDialog = Dialog, .MessageBoxes = Boxes});
}

core::RunContext TestPlatform::ContextOn(platform::SerialControl& port, const Shown& shown) {
  return {.State = State,
          .Line = {.ProgrammerPort = port, .Clock = Clock, .Events = Events},
          .Storage = {.Files = Files, .CodePage = CodePage, .Settings = Settings},
          .Screen = {.StatusBar = shown.StatusBar,
                     .MessageDialog = shown.MessageDialog,
                     .MessageBoxes = shown.MessageBoxes,
                     .FileDialogs = FileDialogs,
                     .Views = Views,
                     .DeviceForm = Form,
                     .HandEdit = HandEdit,
                     .Guide = Guide,
                     .Fuses = Fuses,
                     .ComForm = ComForm}};
}

void TestPlatform::Select(core::RunContext& context, std::string_view display_name) {
  std::vector<std::string> names;
  for (const core::DeviceEntry& entry : core::DeviceCatalogue()) {
    names.emplace_back(entry.DisplayName);
  }
  Form.SetDevices(names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == display_name) Form.SetDeviceIndex(static_cast<int>(i));
  }
  if (Form.Index < 0) throw std::invalid_argument(std::string(display_name));
  ops::PickDevice(context);
}

std::string TestPlatform::FileText(std::string_view name) const {
  const auto file = Files.Files.find(State.AppFolder + std::string(name));
  return file == Files.Files.end() ? "" : CodePage.ToUtf8(file->second);
}

std::vector<std::string> TestPlatform::Trace() const {
  const std::string end = "\t2005/03/14 12:34:56\r\n";
  std::vector<std::string> texts;
  const std::string all = FileText(core::kTraceFileName);
  for (std::size_t start = 0; start < all.size();) {
    const std::size_t stop = all.find(end, start);
    if (stop == std::string::npos) throw std::runtime_error("a trace line without a time");
    texts.push_back(all.substr(start, stop - start));
    start = stop + end.size();
  }
  return texts;
}

std::vector<std::string> TestPlatform::NewTrace() {
  std::vector<std::string> all = Trace();
  std::vector<std::string> fresh(all.begin() + static_cast<std::ptrdiff_t>(traced_), all.end());
  traced_ = all.size();
  return fresh;
}

std::string TestPlatform::PanelText(Panel panel) const {
  const auto text = StatusBar.Texts.find(panel);
  return text == StatusBar.Texts.end() ? "" : text->second;
}

std::string TestPlatform::ChipState() const {
  return ops::DescribeChipState(State, core::Language::English);
}

RecordedRun::RecordedRun() {
  for (Noted* part : std::initializer_list<Noted*>{&Events, &Files, &Archive, &Settings, &StatusBar,
                                                   &Dialog, &Boxes, &Views, &Form, &Guide, &Port}) {
    part->Notes = &Recorded;
  }
}

void RecordedRun::Start(std::string_view display_name) {
  Select(Context, display_name);
  Recorded.clear();
}

BoardRun::BoardRun(std::string_view device, board::SimulatedBoardOptions options)
    : Port(WithChip(device, std::move(options)), TimeOf(Clock)), Context(ContextOn(Port)) {
  Port.OnOutput = [this](std::span<const std::uint8_t> bytes) {
    Wire.insert(Wire.end(), bytes.begin(), bytes.end());
  };
  Select(Context, device);
  NewTrace();
}

RecordedBoardRun::RecordedBoardRun(std::string_view device, board::SimulatedBoardOptions options)
    : BoardRun(device, std::move(options)) {
  for (Noted* part : std::initializer_list<Noted*>{&Events, &Files, &Settings, &StatusBar, &Dialog,
                                                   &Boxes, &Views, &Form, &Guide}) {
    part->Notes = &Recorded;
  }
  Port.OnOutput = [this, note_wire = Port.OnOutput](std::span<const std::uint8_t> bytes) {
    note_wire(bytes);
    Recorded.push_back("send " + ToHex(bytes));
  };
}

Journal RecordedBoardRun::Steps() const {
  Journal steps;
  std::ranges::copy_if(Recorded, std::back_inserter(steps), [](const std::string& step) {
    return step != "turn" && !step.starts_with("append ");
  });
  return steps;
}

Journal RecordedBoardRun::StepsOfPhase(const std::string& text) const {
  const Journal steps = Steps();
  const auto begun = std::find(steps.rbegin(), steps.rend(), "busy " + text).base();
  if (begun == steps.begin()) return {};
  return {begun, std::find(begun, steps.end(), "send 41")};
}

Journal RecordedBoardRun::EndOfPhase(const std::string& text) const {
  const Journal steps = StepsOfPhase(text);
  return {std::find(steps.rbegin(), steps.rend(), "send 4C").base(), steps.end()};
}

void BoardRun::LoadImage(const Bytes& flash, const Bytes& eeprom) {
  for (std::size_t i = 0; i < flash.size(); ++i) State.FlashBuffer[i ^ 1U] = flash[i];
  std::copy(eeprom.begin(), eeprom.end(), State.EepromBuffer.begin());
}

Bytes BoardRun::LinkCheckBytes(std::uint8_t device_code) {
  return {0x1B, '?', '?', 'A', 'T', device_code, 0x1B};
}

Bytes RandomBytes(std::size_t count, unsigned seed) {
  std::mt19937 generator(seed);
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator());
  return bytes;
}

Bytes FullImage(std::size_t count, unsigned seed) {
  Bytes bytes = RandomBytes(count, seed);
  bytes.back() = 0x5A;
  return bytes;
}

std::string HexRecord(unsigned address, const Bytes& data, unsigned type) {
  Bytes record{static_cast<std::uint8_t>(data.size()), static_cast<std::uint8_t>(address >> 8),
               static_cast<std::uint8_t>(address), static_cast<std::uint8_t>(type)};
  record.insert(record.end(), data.begin(), data.end());
  unsigned sum = 0;
  for (const std::uint8_t byte : record) sum += byte;
  record.push_back(static_cast<std::uint8_t>(0U - sum));
  std::string digits = ToHex(record);
  std::erase(digits, ' ');
  return ":" + digits + "\r\n";
}

std::string HexFile(const Bytes& data, unsigned start) {
  std::string text;
  for (std::size_t i = 0; i < data.size(); i += 16) {
    const auto first = data.begin() + static_cast<std::ptrdiff_t>(i);
    const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(16, data.size() - i));
    text += HexRecord(start + static_cast<unsigned>(i), Bytes(first, first + count));
  }
  return text + kEndRecord;
}

board::Fault MakeFault(std::string_view form) {
  std::string error;
  const auto fault = board::ParseFault(form, error);
  if (!fault) throw std::invalid_argument(error);
  return *fault;
}

board::SimulatedBoardOptions WithFaults(const std::string& forms) {
  board::SimulatedBoardOptions options;
  std::istringstream stream(forms);
  for (std::string form; stream >> form;) options.Faults.push_back(MakeFault(form));
  return options;
}

}  // namespace fenwright::testing
