#pragma once

#include <string>

#include "core/command.h"
#include "core/run_context.h"
#include "platform/port_info.h"
#include "screen/com_form.h"

namespace fenwright::update {

// The COM port dialog: what happens when it loads and when its buttons are pressed. The list's
// index is the port number; index 0, "????", is no port.

/// Fills the list and preselects the stored port. A stored number that is none, or not in the list,
/// preselects "????": this dialog is where it can be mended.
void LoadComSelection(core::RunContext& context, screen::ComForm& form);

/// `Command_ok`: opens the chosen port, stores the choice and checks the link. False when the port
/// could not be opened: the dialog stays, so that another one can be chosen.
bool CommandOk(core::RunContext& context, screen::ComForm& form);

/// `Command_cancel`: gives up. The port is left as it is.
void CommandCancel(core::RunContext& context, screen::ComForm& form);

/// Runs the dialog from its load to its end, within a running command.
void SelectComPort(core::RunContext& context, screen::ComForm& form);

/// The same as a command of its own: the user has asked for the dialog.
core::CommandEnding SelectComPortCommand(core::RunContext& context, screen::ComForm& form);

/// One line for the user about what a number of the list is on this system: the device and its
/// adapter, or why it cannot be used and the cure.
std::string DescribePort(const platform::PortInfo& port);

}  // namespace fenwright::update
