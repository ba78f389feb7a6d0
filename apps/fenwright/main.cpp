#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QAccessible>
#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <QTranslator>

#include "board/simulated_port_infos.h"
#include "board/simulated_serial_control.h"
#include "core/build_info.h"
#include "core/settings_keys.h"
#include "platform/system/code_page.h"
#include "platform/system/end_signals.h"
#include "platform/system/folder_archive.h"
#include "platform/system/instance_lock.h"
#include "platform/system/port_names.h"
#include "platform/system/system_clock.h"
#include "platform/system/system_port_infos.h"
#include "platform/system/system_serial_control.h"
#include "platform/system/text_files.h"
#include "ui/app_folder.h"
#include "ui/command_line.h"
#include "ui/dark_style.h"
#include "ui/fonts.h"
#include "ui/qt_settings_store.h"
#include "ui/taskbar.h"
#include "ui/text.h"
#include "ui/unasked_end.h"
#include "ui/window_run.h"

#ifdef Q_OS_WIN
#include "platform/windows/windows_shell.h"
#endif

namespace {

using fenwright::platform::PortOption;
using fenwright::platform::PortOverrides;
using fenwright::platform::RunSettingsStore;
using fenwright::ui::CommandLine;
using fenwright::ui::ToQString;
using fenwright::ui::ToUtf8;

constexpr int kExitStartFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitDisplayLost = 1;
constexpr int kExitSignal = 128;  ///< plus its number, as a shell says it

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

/// The port of the run: the one on the command line; a simulated board is on port 1 unless another
/// was chosen, and nobody is asked for it. What is stored stays.
void ChoosePort(RunSettingsStore& settings, const std::optional<PortOption>& given, bool simulate) {
  constexpr auto kSection = fenwright::core::kSettingsSection;
  constexpr auto kKey = fenwright::core::kPortNumberKey;
  if (given) {
    settings.GiveForThisRun(kSection, kKey, std::to_string(given->Number));
  } else if (simulate && !settings.Read(kSection, kKey)) {
    settings.GiveForThisRun(kSection, kKey, "1");
    settings.GiveForThisRun(kSection, fenwright::core::kComPortAskedKey, "1");
  }
}

/// One run for each store of settings. The lock lies where the user's session keeps such things.
std::unique_ptr<fenwright::platform::SingleInstance> InstanceFor(const QString& store,
                                                                 const QString& location) {
  const QByteArray session = qgetenv("XDG_RUNTIME_DIR");
  const QString folder = session.isEmpty()
                             ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
                             : QString::fromLocal8Bit(session);
  const QByteArray digest =
      QCryptographicHash::hash(location.toUtf8(), QCryptographicHash::Sha1).toHex().left(12);
  return fenwright::platform::MakeInstanceLock(ToUtf8(folder),
                                               ToUtf8(store) + "-" + digest.toStdString());
}

std::string AbsolutePath(const QString& file) {
  if (file.isEmpty()) return {};
  return ToUtf8(QDir::toNativeSeparators(QFileInfo(file).absoluteFilePath()));
}

/// Where files that are saved over leave what they held.
std::string BackupFolder() {
  return ToUtf8(QDir::toNativeSeparators(
      QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + "/Backups"));
}

/// Beside the program, or where an installation puts a program's own data.
std::vector<std::string> ManualFolders() {
  const QString program_folder = QCoreApplication::applicationDirPath();
  return {ToUtf8(QDir::toNativeSeparators(program_folder + "/")),
          ToUtf8(QDir::toNativeSeparators(QDir::cleanPath(program_folder + "/../share/fenwright") +
                                          "/"))};
}

/// The run that a call of exit() would leave behind where it stands.
fenwright::ui::WindowRun* run_to_end = nullptr;

/// Ends the run at once when somebody else calls exit() in the middle of it: Qt does, from inside
/// its event loop, as soon as the display is lost.
class ExitGuard {
 public:
  explicit ExitGuard(fenwright::ui::WindowRun& run) {
    run_to_end = &run;
    std::atexit([] {
      if (!run_to_end) return;
      run_to_end->EndAtOnce();
      // Going on would take Qt apart below an application object that is still alive.
      std::_Exit(kExitDisplayLost);
    });
  }
  ~ExitGuard() { run_to_end = nullptr; }
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;
};

/// For the end with an accessibility client. The window has closed, and what is to last is on the
/// disc. With a client that is busy asking, Qt 6.4 now and then crashes while it takes down its
/// cache of what it has told: it is left to the system instead.
[[noreturn]] void LeaveWithoutQt(int code) {
  // Answers to the client are still on their way, on a thread of Qt's own.
  constexpr unsigned long kAnswerMilliseconds = 200;
  QThread::msleep(kAnswerMilliseconds);
  std::cout.flush();
  std::_Exit(code);
}

/// Starts the run, and gives the exit code when it has ended, in whatever way.
int RunToTheEnd(QApplication& application, fenwright::ui::WindowRun& run,
                const fenwright::ops::StartOptions& options,
                const fenwright::platform::EndSignals& end_signals) {
  fenwright::ui::UnaskedEnd end(run.Window(), run.State(), [] { QCoreApplication::exit(0); });
  end.BeginOn(end_signals.Descriptor());
  // At the end of a session on Windows the process is gone when this has returned.
  QObject::connect(&application, &QCoreApplication::aboutToQuit, &run.Window(),
                   [&run] { run.EndAtOnce(); });
  const ExitGuard exit_guard(run);

  QTimer::singleShot(0, &application, [&run, &options] {
    const fenwright::core::CommandEnding ending = run.Start(options);
    using fenwright::core::CommandEnding;
    if (ending == CommandEnding::BadSetting || ending == CommandEnding::FileError) {
      QCoreApplication::exit(kExitStartFailed);
    } else if (ending == CommandEnding::AnotherInstance) {
      QCoreApplication::exit(0);
    }
  });
  const int code = QApplication::exec();
  return end_signals.Received() == 0 ? code : kExitSignal + end_signals.Received();
}

/// The simulated board that the COM port dialog offers; its chip is the selected device.
fenwright::ui::SimulatedLines MakeSimulation(fenwright::core::RunContext& context) {
  const auto board =
      std::make_shared<fenwright::board::SimulatedBoard>(fenwright::board::SimulatedBoardOptions{});
  auto programmer_port = std::make_unique<fenwright::board::SimulatedSerialControl>(
      board, fenwright::board::SteadyTimeSource());
  programmer_port->ChipInSocket = [&context] { return context.Screen.DeviceForm.DeviceText(); };
  return fenwright::ui::SimulatedLines{
      .ProgrammerPort = std::move(programmer_port),
      .UpdaterPort = std::make_unique<fenwright::board::SimulatedSerialControl>(
          board, fenwright::board::SteadyTimeSource()),
      .Ports = std::make_unique<fenwright::board::SimulatedPortInfos>()};
}

int RunWindow(QApplication& application, const CommandLine& arguments, const QString& app_folder,
              const std::optional<PortOption>& port_option) {
  // The last to go: the signals of one end come in a row, and all is to be done by the second.
  const fenwright::platform::EndSignals end_signals;
  auto settings = fenwright::ui::QtSettingsStore::ForApplication(StoreName(arguments.Simulate));
  const auto instance = InstanceFor(StoreName(arguments.Simulate), settings.Location());
  PortOverrides overrides;
  if (port_option && !port_option->Path.empty()) {
    overrides[port_option->Number] = port_option->Path;
  }

  fenwright::platform::SystemClock clock;
  fenwright::platform::SystemTextFiles files;
  fenwright::platform::Cp932CodePage code_page;
  fenwright::platform::FolderArchive archive(BackupFolder(), clock);
  // Two controls on the same line; the firmware update dialog hands it over between them.
  std::unique_ptr<fenwright::platform::SerialControl> port;
  std::unique_ptr<fenwright::platform::SerialControl> updater_port;
  std::unique_ptr<fenwright::platform::PortInfos> ports;
  fenwright::board::SimulatedSerialControl* simulated = nullptr;
  if (arguments.Simulate) {
    const auto board = std::make_shared<fenwright::board::SimulatedBoard>(
        fenwright::board::SimulatedBoardOptions{});
    auto control = std::make_unique<fenwright::board::SimulatedSerialControl>(
        board, fenwright::board::SteadyTimeSource());
    simulated = control.get();
    port = std::move(control);
    updater_port = std::make_unique<fenwright::board::SimulatedSerialControl>(
        board, fenwright::board::SteadyTimeSource());
    ports = std::make_unique<fenwright::board::SimulatedPortInfos>();
  } else {
    const auto path_of = [&settings, overrides](int number) {
      return fenwright::platform::DevicePath(settings, overrides, number);
    };
    port = std::make_unique<fenwright::platform::SystemSerialControl>(path_of);
    updater_port = std::make_unique<fenwright::platform::SystemSerialControl>(path_of);
    ports = fenwright::platform::MakeSystemPortInfos(path_of);
  }

  fenwright::platform::Shell* shell = nullptr;
#ifdef Q_OS_WIN
  fenwright::platform::WindowsShell windows_shell;
  shell = &windows_shell;
#endif

  fenwright::ui::WindowRun run({.ProgrammerPort = *port,
                                .Clock = clock,
                                .Files = files,
                                .CodePage = code_page,
                                .Settings = settings,
                                .Archive = &archive,
                                .Ports = ports.get(),
                                .Instance = instance.get(),
                                .UpdaterPort = updater_port.get(),
                                .MakeSimulation = MakeSimulation,
                                .Shell = shell,
                                .MakeTaskbar = fenwright::ui::MakeTaskbar,
                                .ManualFolders = ManualFolders()});
  ChoosePort(run.Settings(), port_option, arguments.Simulate);
  // Selected at the start like the stored one, and remembered like one that is picked.
  if (arguments.Device) {
    run.Settings().GiveForThisRun(fenwright::core::kSettingsSection, fenwright::core::kDeviceKey,
                                  std::to_string(*arguments.Device));
  }
  if (simulated) {
    simulated->ChipInSocket = [&run] { return run.Context().Screen.DeviceForm.DeviceText(); };
    run.Window().MarkSimulated();
  }

  const fenwright::ops::StartOptions options{.AppFolder = ToUtf8(app_folder),
                                             .CommandArgument = AbsolutePath(arguments.File)};
  const int code = RunToTheEnd(application, run, options, end_signals);
  if (QAccessible::isActive()) {
    port->Close();
    updater_port->Close();
    LeaveWithoutQt(code);
  }
  return code;
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
  // A Qt that is linked in has brought them along.
  if (own_texts_of_qt.load("qtbase_ja", QLibraryInfo::path(QLibraryInfo::TranslationsPath)) ||
      own_texts_of_qt.load(":/translations/qtbase_ja.qm")) {
    QCoreApplication::installTranslator(&own_texts_of_qt);
  }
  fenwright::ui::ApplyDarkStyle(application);
  fenwright::ui::ApplyInterfaceFont(application);

  const CommandLine arguments = fenwright::ui::ParseCommandLine(QCoreApplication::arguments());
  if (!arguments.Error.isEmpty()) return RefuseStart(arguments.Error);
  if (arguments.ShowHelp) return ShowInformation(arguments.Help);
  if (arguments.ShowVersion) return ShowInformation(ToQString(fenwright::core::kVersion));

  std::optional<PortOption> port_option;
  if (!arguments.Port.isEmpty()) {
    port_option = fenwright::platform::ParsePortOption(ToUtf8(arguments.Port));
    if (!port_option) {
      return RefuseStart("--port の値は COM1 から COM256、または COMn=PATH で指定してください: " +
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
