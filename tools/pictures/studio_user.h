#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/file_archive.h"
#include "platform/port_info.h"
#include "screen/file_dialogs.h"

namespace fenwright::pictures {

/// What ports the list shows.
enum class PortsOfStudio {
  Simulated,  ///< each leads to the simulated board
  Several,    ///< one of each kind
  None,       ///< not one, so that the simulated board is offered
};

/// The ports of the user's machine.
class StudioPorts final : public platform::PortInfos {
 public:
  explicit StudioPorts(PortsOfStudio which) : which_(which) {}
  platform::PortInfo Describe(int number) override;

 private:
  PortsOfStudio which_;
};

/// A user who chooses the same file in every dialog.
class StudioChoice final : public screen::FileDialogs {
 public:
  explicit StudioChoice(std::string path) : path_(std::move(path)) {}
  std::optional<std::string> Open(const screen::FileDialogRequest& /*request*/) override {
    return path_;
  }
  std::optional<std::string> Save(const screen::FileDialogRequest& /*request*/) override {
    return path_;
  }

 private:
  std::string path_;
};

/// Says that old content is kept, and keeps none: no picture shows it.
class MemoryArchive final : public platform::FileArchive {
 public:
  platform::FileResult Keep(std::string_view path, std::string& copy) override {
    copy = "Backups/" + std::string(path);
    return {};
  }
  void Drop(std::string_view /*copy*/) override {}
};

}  // namespace fenwright::pictures
