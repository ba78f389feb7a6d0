#pragma once

#include <array>

#include "verb.h"

namespace fenwright::cli {

extern const Verb kDevices, kProgram, kRun, kRestore, kRead, kVerify, kCompare, kErase, kReadFuses,
    kWriteFuses, kDump, kLint, kPorts, kIdentify, kDetect, kCheckLink, kBoardVersion,
    kUpdateFirmware, kExplain, kHelp, kCompletion;

/// The verbs, in the order of the help.
inline constexpr std::array kVerbs{
    &kDevices, &kProgram,   &kRun,          &kRestore,        &kRead,    &kVerify, &kCompare,
    &kErase,   &kReadFuses, &kWriteFuses,   &kDump,           &kLint,    &kPorts,  &kIdentify,
    &kDetect,  &kCheckLink, &kBoardVersion, &kUpdateFirmware, &kExplain, &kHelp,   &kCompletion};

}  // namespace fenwright::cli
