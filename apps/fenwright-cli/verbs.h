#pragma once

#include <array>

#include "verb.h"

namespace fenwright::cli {

extern const Verb kDevices, kProgram, kRead, kVerify, kErase, kReadFuses, kWriteFuses, kDump,
    kPorts, kDetect, kCheckLink, kBoardVersion, kUpdateFirmware;

/// The verbs, in the order of the help.
inline constexpr std::array kVerbs{&kDevices,   &kProgram,      &kRead,          &kVerify, &kErase,
                                   &kReadFuses, &kWriteFuses,   &kDump,          &kPorts,  &kDetect,
                                   &kCheckLink, &kBoardVersion, &kUpdateFirmware};

}  // namespace fenwright::cli
