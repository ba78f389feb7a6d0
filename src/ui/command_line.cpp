#include "ui/command_line.h"

#include <QCommandLineParser>

#include "core/build_info.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

/// The value of an option that must not be empty; sets `error` when it is.
QString ValueOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                QString& error) {
  const QString value = parser.value(option);
  if (parser.isSet(option) && value.isEmpty()) {
    error = "--" + option.names().constFirst() + " の値がありません。";
  }
  return value;
}

}  // namespace

CommandLine ParseCommandLine(const QStringList& arguments) {
  const QCommandLineOption simulate("simulate", "ボードとチップをシミュレーションします。");
  const QCommandLineOption folder("folder", "作業ファイルを置くフォルダー。", "DIR");
  const QCommandLineOption port("port", "使用するCOMポート。COMn または COMn=PATH。", "PORT");
  QCommandLineParser parser;
  parser.setApplicationDescription(ToQString(core::kFileDescription));
  const QCommandLineOption help({"h", "help"}, "このヘルプを表示します。");
  const QCommandLineOption version({"v", "version"}, "バージョンを表示します。");
  parser.addOptions({simulate, folder, port, help, version});
  parser.addPositionalArgument("file", "起動時に開くコードファイル (*.hex, *.rom)。", "[file]");

  CommandLine result;
  if (!parser.parse(arguments)) {
    result.Error = parser.errorText();
  } else {
    result.Simulate = parser.isSet(simulate);
    result.ShowHelp = parser.isSet(help);
    result.ShowVersion = parser.isSet(version);
    result.Folder = ValueOf(parser, folder, result.Error);
    result.Port = ValueOf(parser, port, result.Error);
    result.File = parser.positionalArguments().value(0);
  }
  result.Help = parser.helpText();
  return result;
}

}  // namespace fenwright::ui
