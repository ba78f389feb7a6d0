#pragma once

#include "core/hex_format.h"
#include "support/test_run.h"

namespace fenwright::testing {

/// The trace of a link check that went well, from its status text to the ready text.
inline Texts LinkCheckTrace(std::uint8_t device_code) {
  return {"ライタと通信中！",
          "COM3",
          "ｺﾏﾝﾄﾞ送信 : Avr Extend command A",
          "ライターを COM3に検出しました。",
          "KV-LOD350  V6.38",
          "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x" + core::HexUnpadded(device_code),
          "ライタの準備　ＯＫ ！！"};
}

/// Of a signature session; the signature is "1E:90:05" or the like.
inline Texts SignatureTrace(const std::string& signature) {
  return {"A_AvrExtend command A : 0D", "Enter programming Mode P : 0D", "--:--:--", signature,
          "Leave programming Mode L : 0D"};
}

/// Of a phase that shows a text when it has begun.
inline Texts PhaseTrace(const std::string& text) {
  return {"A_AvrExtend command A : 0D", text, "Enter programming Mode P : 0D",
          "Leave programming Mode L : 0D"};
}

/// Of one exchange about fuse or lock bits with its labels.
inline Texts LabelledTrace(const std::string& label, const Texts& reply = {}) {
  return Joined<Texts>({{"A_AvrExtendCommand", "A_AvrExtend command A : 0D",
                         "P_enterProgrammingMode", "Enter programming Mode P : 0D", label},
                        reply,
                        {"L_leaveProgrammingMode", "Leave programming Mode L : 0D"}});
}

}  // namespace fenwright::testing
