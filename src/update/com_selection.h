#pragma once

#include <string>

#include "core/run_context.h"
#include "platform/port_info.h"

namespace fenwright::update {

// The COM port dialog: what happens when it loads and when its buttons are pressed. The list's
// index is the port number; index 0, "????", is no port. A stored number above the list's last one
// stands behind it.

/// Fills the list and preselects the stored port. A stored number that is none preselects "????":
/// this dialog is where it can be mended.
void LoadComSelection(core::RunContext& context);

/// Opens the chosen port, stores the choice and checks the link. False when the port could not be
/// opened: the dialog stays, so that another one can be chosen.
bool Command_ok_Click(core::RunContext& context);

/// Gives up. The port is left as it is.
void Command_cancel_Click(core::RunContext& context);

/// Shows the dialog and runs it from its load to its end: the button, and a panel that names the
/// port. The menu item leaves a line in the trace first.
void Cmd_btn_comselect_Click(core::RunContext& context);
void mmuCominucation_Click(core::RunContext& context);

/// The port number that an item of the list stands for, 0 for none.
int PortOfItem(const core::RunContext& context, int index);

/// One line for the user about what a number of the list is on this system: the device and its
/// adapter, or why it cannot be used and the cure.
std::string DescribePort(const platform::PortInfo& port);

}  // namespace fenwright::update
