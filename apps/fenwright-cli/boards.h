#pragma once

#include <string>
#include <vector>

#include "platform/port_info.h"
#include "verb.h"

namespace fenwright::cli {

/// True when a call names more than one board.
bool NamesSeveralBoards(const Options& options);

/// What `--port all` stands for: of the ports that can be opened, each device once, those on which
/// a board that can be used answers, as "COMn". All are asked at once.
std::vector<std::string> FindBoards(platform::PortInfos& infos, const Options& options);

/// Runs the verb on every board at once, each on a thread and a session of its own, and tells what
/// each came to: lines that begin with the board's port. The code is that of the boards where they
/// agree, Stopped when the call was stopped, Failed otherwise.
ExitCode RunOnBoards(const Verb& verb, const VerbRun& run, const Options& options);

}  // namespace fenwright::cli
