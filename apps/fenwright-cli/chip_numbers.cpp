#include "chip_numbers.h"

#include <fmt/format.h>

#include "fuse_check.h"
#include "time_text.h"

namespace fenwright::cli {
namespace {

template <typename Value, typename Parse>
CLI::Option* AddForm(CLI::App& command, const std::string& name, std::optional<Value>& value,
                     const std::string& description, Parse parse) {
  return command.add_option_function<std::string>(
      name,
      [&value, name, parse](const std::string& text) {
        core::Sentence error;
        value = parse(text, error);
        if (!value) throw CLI::ValidationError(name, error.English + ": " + text);
      },
      description);
}

ExitCode FailNoRoom(Session& session, const char* what, const core::Sentence& why) {
  return session.Fail(ExitCode::FileError, {.Code = problem::kNoRoom,
                                            .Text = {fmt::format("{} {}", what, why.Japanese),
                                                     fmt::format("{} {}", what, why.English)}});
}

}  // namespace

void AddCounterStart(CLI::App& command, std::optional<std::uint64_t>& start) {
  command
      .add_option("--counter-start", start, "make the counter's file, and begin with that number")
      ->type_name("N");
}

std::shared_ptr<ChipNumbers> AddChipNumbers(CLI::App& command) {
  auto numbers = std::make_shared<ChipNumbers>();
  CLI::Option* const serial =
      AddForm(command, "--serial", numbers->Serial,
              "put a serial number into the image: flash:0x1FFC=next:4 takes the counter's next "
              "number, a number in the place of \"next\" is itself; behind it bytes (1 to 8), "
              "little or big, step",
              job::ParseSerialNumber)
          ->type_name("PLACE=NUMBER");
  command
      .add_option("--counter", numbers->Counter,
                  "file that counts the serial numbers; none is ever given twice")
      ->type_name("FILE")
      ->needs(serial);
  AddCounterStart(command, numbers->CounterStart);
  command.get_option("--counter-start")->needs(command.get_option("--counter"));
  AddForm(command, "--osccal", numbers->Osccal,
          "put the chip's calibration byte into the image, for example at eeprom:0x00; "
          "eeprom:0x00=1 puts its second one there",
          job::ParseCalibration)
      ->type_name("PLACE");
  return numbers;
}

ExitCode CheckChipNumbers(Session& session, const ChipNumbers& numbers) {
  if (numbers.Serial) {
    const job::SerialNumber& serial = *numbers.Serial;
    const core::Sentence why = job::WhyNoRoom(session.State(), serial.Place, serial.Width);
    if (!why.English.empty()) return FailNoRoom(session, "--serial", why);
    if (!serial.Value && numbers.Counter.empty()) {
      return session.Fail(ExitCode::Usage,
                          {.Code = problem::kUsage,
                           .Text = {"--serial の next には --counter FILE が必要です",
                                    "--serial with \"next\" needs --counter FILE"}});
    }
    if (serial.Value && !numbers.Counter.empty()) {
      return session.Fail(ExitCode::Usage,
                          {.Code = problem::kUsage,
                           .Text = {"--counter は --serial の番号が next のときだけ使います",
                                    "--counter is for a --serial with \"next\""}});
    }
    std::uint64_t number = 0;
    const NumberCounter counter(numbers.Counter, numbers.CounterStart);
    const auto problem = serial.Value ? std::nullopt : counter.Peek(serial, number);
    if (problem) return session.Fail(ExitCode::FileError, *problem);
  }
  if (!numbers.Osccal) return ExitCode::Success;
  const job::Calibration& osccal = *numbers.Osccal;
  if (osccal.Index >= LayoutOf(session).CalibrationCount) {
    return session.Fail(
        ExitCode::Usage,
        {.Code = problem::kNoCalibration,
         .Text = {fmt::format("--osccal: {} の発振校正値は {} 個です", session.Device(),
                              LayoutOf(session).CalibrationCount),
                  fmt::format("--osccal: {} has {} calibration byte(s)", session.Device(),
                              LayoutOf(session).CalibrationCount)}});
  }
  const core::Sentence why = job::WhyNoRoom(session.State(), osccal.Place, 1);
  if (!why.English.empty()) return FailNoRoom(session, "--osccal", why);
  if (!numbers.Serial) return ExitCode::Success;
  const job::ImagePlace& number = numbers.Serial->Place;
  const bool meet = number.InFlash == osccal.Place.InFlash &&
                    osccal.Place.Address >= number.Address &&
                    osccal.Place.Address < number.Address + numbers.Serial->Width;
  if (!meet) return ExitCode::Success;
  return FailNoRoom(session, "--osccal",
                    {job::Describe(osccal.Place) + ": シリアル番号と同じ場所です",
                     job::Describe(osccal.Place) + ": the serial number is there"});
}

ExitCode TakenNumber::Take(Session& session, const ChipNumbers& numbers) {
  if (!numbers.Serial) return ExitCode::Success;
  std::uint64_t number = numbers.Serial->Value.value_or(0);
  if (!numbers.Serial->Value) {
    NumberCounter counter(numbers.Counter, numbers.CounterStart);
    const auto problem =
        numbers.TakeNone
            ? counter.Peek(*numbers.Serial, number)
            : counter.Take(*numbers.Serial, TimeText(session.Context().Line.Clock.Now()),
                           session.BoardName(), number);
    if (problem) return session.Fail(ExitCode::FileError, *problem);
    if (!numbers.TakeNone) counter_ = std::move(counter);
  }
  number_ = number;
  job::PutNumber(session.State(), *numbers.Serial, number);
  return ExitCode::Success;
}

void TakenNumber::Note(Session& session, bool used) const {
  if (!counter_) return;
  // Whatever happens to the note, the number is taken.
  if (const auto problem = counter_->Note(*number_, used)) session.Warn(*problem);
}

DeviceRun PutCalibration(Session& session, const job::Calibration& osccal, nlohmann::json& fields) {
  const DeviceRun run =
      ReadFusesTwice(session, {"。何も書き込んでいません", "; nothing was written"});
  if (run.Code != ExitCode::Success) return run;
  const std::uint8_t byte = CalibrationOf(session).at(static_cast<std::size_t>(osccal.Index));
  job::PutByte(session.State(), osccal.Place, byte);
  fields["osccal"] = byte;
  session.Out().PrintProgress(
      fmt::format(fmt::runtime(session.In({"発振校正値 0x{:02X} を {} に置きます",
                                           "calibration byte 0x{:02X} goes to {}"})),
                  byte, job::Describe(osccal.Place)));
  return run;
}

}  // namespace fenwright::cli
