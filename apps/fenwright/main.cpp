#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QTimer>
#include <QTranslator>

#include "board/simulated_serial_control.h"
#include "core/build_info.h"
#include "core/settings_keys.h"
#include "platform/asio/asio_serial_control.h"
#include "platform/posix/code_page.h"
#include "platform/posix/port_names.h"
#include "platform/posix/system_clock.h"
#include "platform/posix/text_files.h"
#include "ui/app_folder.h"
#include "ui/command_line.h"
#include "ui/fonts.h"
#include "ui/qt_settings_store.h"
#include "ui/text.h"
#include "ui/window_run.h"

namespace {

using fenwright::platform::PortOption;
using fenwright::platform::PortOverrides;
using fenwright::platform::SettingsStore;
using fenwright::ui::CommandLine;
using fenwright::ui::ToQString;
using fenwright::ui::ToUtf8;

constexpr int kExitStartFailed = 1;
constexpr int kExitUsage = 2;

/// A window program has no console on Windows; elsewhere the message belongs to the caller's.
int RefuseStart(const QString& message) {
#ifdef Q_OS_WIN
  QMessageBox::critical(nullptr, ToQString(fenwright::core::kApplicationName), message);
#else
  std::cerr << "fenwright: " << ToUtf8(message) << '\n';
#endif
  return kExitUsage;
}

int ShowInformation(const QString& text) {
#ifdef Q_OS_WIN
  QMessageBox::information(nullptr, ToQString(fenwright::core::kApplicationName), text);
#else
  std::cout << ToUtf8(text) << '\n';
#endif
  return 0;
}

/// Answers what needs no window, before one is prepared: without a display that would abort.
std::optional<int> AnswerWithoutDisplay(int argc, char** argv) {
#ifdef Q_OS_WIN
  static_cast<void>(argc);
  static_cast<void>(argv);
  return std::nullopt;
#else
  const QCoreApplication application(argc, argv);
  const CommandLine arguments = fenwright::ui::ParseCommandLine(QCoreApplication::arguments());
  if (!arguments.Error.isEmpty()) return std::nullopt;  // it may be an option of Qt's own
  if (arguments.ShowHelp) return ShowInformation(arguments.Help);
  if (arguments.ShowVersion) return ShowInformation(ToQString(fenwright::core::kVersion));
  return std::nullopt;
#endif
}

/// In place of the abort that a missing display, or a missing platform plugin, ends in.
void EndWithoutDisplay(QtMsgType type, const QMessageLogContext& /*context*/,
                       const QString& message) {
  if (type != QtFatalMsg) {
    std::cerr << ToUtf8(message) << '\n';
    return;
  }
  std::cerr << "fenwright: ウインドウを表示できません。DISPLAY の設定を確認してください。"
            << std::endl;
  std::_Exit(kExitStartFailed);
}

QString StoreName(bool simulate) {
  const QString name = ToQString(fenwright::core::kApplicationName);
  return simulate ? name + "-simulated" : name;
}

void StorePort(SettingsStore& settings, int number) {
  settings.Write(fenwright::core::kSettingsSection, fenwright::core::kPortNumberKey,
                 std::to_string(number));
}

/// The port of the run: the one on the command line; a simulated board is on port 1 unless another
/// was chosen.
void ChoosePort(SettingsStore& settings, const std::optional<PortOption>& given, bool simulate) {
  if (given) {
    StorePort(settings, given->Number);
  } else if (simulate &&
             !settings.Read(fenwright::core::kSettingsSection, fenwright::core::kPortNumberKey)) {
    StorePort(settings, 1);
  }
}

std::unique_ptr<fenwright::platform::SerialControl> RealPort(const SettingsStore& settings,
                                                             const PortOverrides& overrides) {
  return std::make_unique<fenwright::platform::AsioSerialControl>(
      [&settings, overrides](int number) {
        return fenwright::platform::DevicePath(settings, overrides, number);
      });
}

std::string AbsolutePath(const QString& file) {
  if (file.isEmpty()) return {};
  return ToUtf8(QDir::toNativeSeparators(QFileInfo(file).absoluteFilePath()));
}

/// Beside the program, or where an installation puts a program's own data.
std::vector<std::string> ManualFolders() {
  const QString program_folder = QCoreApplication::applicationDirPath();
  return {ToUtf8(QDir::toNativeSeparators(program_folder + "/")),
          ToUtf8(QDir::toNativeSeparators(QDir::cleanPath(program_folder + "/../share/fenwright") +
                                          "/"))};
}

int RunWindow(QApplication& application, const CommandLine& arguments, const QString& app_folder,
              const std::optional<PortOption>& port_option) {
  auto settings = fenwright::ui::QtSettingsStore::ForApplication(StoreName(arguments.Simulate));
  ChoosePort(settings, port_option, arguments.Simulate);
  PortOverrides overrides;
  if (port_option && !port_option->Path.empty()) {
    overrides[port_option->Number] = port_option->Path;
  }

  fenwright::platform::SystemClock clock;
  fenwright::platform::SystemTextFiles files;
  fenwright::platform::Cp932CodePage code_page;
  std::unique_ptr<fenwright::platform::SerialControl> port;
  fenwright::board::SimulatedSerialControl* simulated = nullptr;
  if (arguments.Simulate) {
    auto control = std::make_unique<fenwright::board::SimulatedSerialControl>(
        fenwright::board::SimulatedBoardOptions{}, fenwright::board::SteadyTimeSource());
    simulated = control.get();
    port = std::move(control);
  } else {
    port = RealPort(settings, overrides);
  }

  fenwright::ui::WindowRun run({.ProgrammerPort = *port,
                                .Clock = clock,
                                .Files = files,
                                .CodePage = code_page,
                                .Settings = settings,
                                .ManualFolders = ManualFolders()});
  if (simulated) {
    simulated->ChipInSocket = [&run] { return run.Context().DeviceForm.DeviceText(); };
    run.Window().MarkSimulated();
  }

  const fenwright::ops::StartOptions options{.AppFolder = ToUtf8(app_folder),
                                             .CommandArgument = AbsolutePath(arguments.File)};
  QTimer::singleShot(0, &application, [&run, &options] {
    if (run.Start(options) == fenwright::core::CommandEnding::BadSetting) {
      QCoreApplication::exit(kExitStartFailed);
    }
  });
  return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
  if (const std::optional<int> code = AnswerWithoutDisplay(argc, argv)) return *code;
  const QtMessageHandler usual_handler = qInstallMessageHandler(EndWithoutDisplay);
  QApplication application(argc, argv);
  qInstallMessageHandler(usual_handler);
  QCoreApplication::setApplicationName(ToQString(fenwright::core::kApplicationName));
  QCoreApplication::setApplicationVersion(ToQString(fenwright::core::kVersion));
  QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
  QTranslator own_texts_of_qt;
  if (own_texts_of_qt.load("qtbase_ja", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&own_texts_of_qt);
  }
  fenwright::ui::ApplyInterfaceFont(application);

  const CommandLine arguments = fenwright::ui::ParseCommandLine(QCoreApplication::arguments());
  if (!arguments.Error.isEmpty()) return RefuseStart(arguments.Error);
  if (arguments.ShowHelp) return ShowInformation(arguments.Help);
  if (arguments.ShowVersion) return ShowInformation(ToQString(fenwright::core::kVersion));

  std::optional<PortOption> port_option;
  if (!arguments.Port.isEmpty()) {
    port_option = fenwright::platform::ParsePortOption(ToUtf8(arguments.Port));
    if (!port_option) {
      return RefuseStart("--port の値は COM1 から COM20、または COMn=PATH で指定してください: " +
                         arguments.Port);
    }
  }

  const std::optional<QString> app_folder =
      fenwright::ui::FindAppFolder(arguments.Folder, QCoreApplication::applicationDirPath());
  if (!app_folder) {
    return RefuseStart(
        arguments.Folder.isEmpty()
            ? QString("作業フォルダーに書き込めません。--folder で指定してください。")
            : "フォルダーを使用できません。書き込みのできるフォルダーを指定してください: " +
                  arguments.Folder);
  }
  return RunWindow(application, arguments, *app_folder, port_option);
}
