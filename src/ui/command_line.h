#pragma once

#include <QString>
#include <QStringList>

namespace fenwright::ui {

/// What the window program was started with.
struct CommandLine {
  bool Simulate = false;
  bool ShowHelp = false;
  bool ShowVersion = false;
  QString Folder;  ///< "" = not given
  QString Port;    ///< "COMn" or "COMn=PATH", "" = not given
  QString File;    ///< the first other argument, "" = none
  QString Error;   ///< what is wrong with the arguments, "" = nothing
  QString Help;    ///< the help text
};

/// Parses the arguments, the program's own name first.
CommandLine ParseCommandLine(const QStringList& arguments);

}  // namespace fenwright::ui
