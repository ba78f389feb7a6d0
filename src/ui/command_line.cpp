#include "ui/command_line.h"

#include <QCommandLineParser>

#include "core/build_info.h"
#include "core/device_catalogue.h"
#include "core/lower_case.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

/// The value of an option that must not be empty; sets `error` when it is.
QString ValueOf(const QCommandLineParser& parser, const QString& option, QString& error) {
  const QString value = parser.value(option);
  if (parser.isSet(option) && value.isEmpty()) {
    error = "--" + option + " の値がありません。";
  }
  return value;
}

/// The device of that name, in capitals or not; sets `error` when there is none.
std::optional<int> FindDeviceNamed(const QString& name, QString& error) {
  const auto& devices = core::DeviceCatalogue();
  QStringList names;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const std::string alias = core::DeviceAlias(devices[i].DisplayName);
    if (core::LowerCase(alias) == core::LowerCase(ToUtf8(name))) return static_cast<int>(i);
    names.append(ToQString(alias));
  }
  error = "--device の「" + name +
          "」というデバイスはありません。次のどれかにします: " + names.join(", ");
  return std::nullopt;
}

}  // namespace

QList<CommandLineOption> CommandLineOptions() {
  return {{{"simulate"},
           "ボードとチップをシミュレーションします。",
           "use a simulated board with simulated chips, and settings of their own",
           ""},
          {{"device"}, "起動時に選ぶデバイス。", "device that is selected at the start", "NAME"},
          {{"folder"}, "作業ファイルを置くフォルダー。", "folder for the working files", "DIR"},
          {{"port"},
           "使用するCOMポート。COMn または COMn=PATH。",
           "port of the programmer in this run: COMn, or COMn=PATH",
           "PORT"},
          {{"h", "help"}, "このヘルプを表示します。", "print help and exit", ""},
          {{"v", "version"}, "バージョンを表示します。", "print the version and exit", ""}};
}

CommandLine ParseCommandLine(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.setApplicationDescription(ToQString(core::kFileDescription));
  for (const CommandLineOption& option : CommandLineOptions()) {
    parser.addOption(QCommandLineOption(option.Names, option.Description, option.ValueName));
  }
  parser.addPositionalArgument("file", "起動時に開くコードファイル (*.hex, *.rom)。", "[file]");

  CommandLine result;
  if (!parser.parse(arguments)) {
    result.Error = parser.errorText();
  } else {
    result.Simulate = parser.isSet("simulate");
    result.ShowHelp = parser.isSet("help");
    result.ShowVersion = parser.isSet("version");
    result.Folder = ValueOf(parser, "folder", result.Error);
    const QString device = ValueOf(parser, "device", result.Error);
    if (!device.isEmpty()) result.Device = FindDeviceNamed(device, result.Error);
    result.Port = ValueOf(parser, "port", result.Error);
    result.File = parser.positionalArguments().value(0);
  }
  result.Help = parser.helpText();
  return result;
}

}  // namespace fenwright::ui
