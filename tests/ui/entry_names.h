#pragma once

#include <map>
#include <string>

#include "ops/commands.h"
#include "ui/main_window.h"
#include "update/com_selection.h"

namespace fenwright::ui {

/// The name of an entry of the engine, that of the control that starts it and what is done to it.
inline std::string NameOf(const ops::Entry& entry) {
  using Function = void (*)(core::RunContext&);
  static const std::map<Function, std::string> kNames{
      {ops::Cmd_btn_open_Click, "Cmd_btn_open_Click"},
      {ops::Cmd_btn_save_Click, "Cmd_btn_save_Click"},
      {ops::Cmd_btn_reload_Click, "Cmd_btn_reload_Click"},
      {ops::Cmd_btn_program_Click, "Cmd_btn_program_Click"},
      {ops::Cmd_btn_read_Click, "Cmd_btn_read_Click"},
      {ops::Cmd_btn_verify_Click, "Cmd_btn_verify_Click"},
      {ops::Cmd_btn_erase_Click, "Cmd_btn_erase_Click"},
      {update::Cmd_btn_comselect_Click, "Cmd_btn_comselect_Click"},
      {ops::cmdFuseRead_Click, "cmdFuseRead_Click"},
      {ops::cmdFuseWrite_Click, "cmdFuseWrite_Click"},
      {ops::Combo_RSTDISABL_Click, "Combo_RSTDISABL_Click"},
      {ops::Combo_device_Click, "Combo_device_Click"},
      {ops::CmdRead_Click, "CmdRead_Click"},
      {ops::CmdWrite_Click, "CmdWrite_Click"},
      {ops::txtAddress_Change, "txtAddress_Change"},
      {ops::mnuFileOpen_Click, "mnuFileOpen_Click"},
      {ops::mnuFileOpenCode_Click, "mnuFileOpenCode_Click"},
      {ops::mnuFileOpenData_Click, "mnuFileOpenData_Click"},
      {ops::mnuFileSave_Click, "mnuFileSave_Click"},
      {ops::mnuFileSaveAs_Click, "mnuFileSaveAs_Click"},
      {ops::mnuFileSaveAsCode_Click, "mnuFileSaveAsCode_Click"},
      {ops::mnuFileSaveAsData_Click, "mnuFileSaveAsData_Click"},
      {ops::mnuReLoad_Click, "mnuReLoad_Click"},
      {ops::mnuPC_buffer_clear_Click, "mnuPC_buffer_clear_Click"},
      {update::mmuCominucation_Click, "mmuCominucation_Click"}};
  const Function* const function = entry.target<Function>();
  const auto name = function ? kNames.find(*function) : kNames.end();
  return name == kNames.end() ? "an entry without a name" : name->second;
}

/// Lets a window tell `log` what its controls start, in place of doing it. The actions of the run
/// are told as "action ...".
inline void LogStarts(MainWindow& window, const std::function<void(const std::string&)>& log) {
  const auto told = [log](const char* name) { return [log, name] { log(name); }; };
  window.Serve(
      [log](const ops::Entry& entry) {
        log(NameOf(entry));
        return core::CommandEnding::Finished;
      },
      {.OpenDropped = [log](const QString& path) { log("drop " + path.toStdString()); },
       .UpdateFirmware = told("action UpdateFirmware"),
       .OpenManual = told("action OpenManual"),
       .ShowHelpContents = told("action ShowHelpContents"),
       .ShowAbout = told("action ShowAbout")});
}

}  // namespace fenwright::ui
