#pragma once

#include <optional>

#include <QList>
#include <QString>
#include <QStringList>

namespace fenwright::ui {

/// What the window program was started with.
struct CommandLine {
  bool Simulate = false;
  bool ShowHelp = false;
  bool ShowVersion = false;
  QString Folder;             ///< "" = not given
  std::optional<int> Device;  ///< its place in the selector
  QString Port;               ///< "COMn" or "COMn=PATH", "" = not given
  QString File;               ///< the first other argument, "" = none
  QString Error;              ///< what is wrong with the arguments, "" = nothing
  QString Help;               ///< the help text
};

/// An option of the window program.
struct CommandLineOption {
  QStringList Names;      ///< without dashes
  QString Description;    ///< for the help
  const char* InEnglish;  ///< the same, for the man page
  QString ValueName;      ///< "" = it takes no value
};

/// All of them.
QList<CommandLineOption> CommandLineOptions();

/// Parses the arguments, the program's own name first.
CommandLine ParseCommandLine(const QStringList& arguments);

}  // namespace fenwright::ui
