#pragma once

#include "support/test_run.h"

namespace fenwright::link {

/// A turn of a wait rests this long at most, so a wait overshoots its end by no more.
inline constexpr double kOneTurn = 0.006;

inline const std::string kVersion = "KV-LOD350  V6.38";
inline const std::string kDetecting = "ｺﾏﾝﾄﾞ送信 : Avr Extend command A";
inline const std::string kFoundOnCom3 = "ライターを COM3に検出しました。";
inline const std::string kNoBoard =
    "ライターを検出できませんでした。使用可能な通信ポートを設定してください。";
inline const std::string kUnreadable = "ファームウエアバージョンを読み出せませんでした。";
inline const std::string kTooOld =
    "このソフトは使用できません。\r\n"
    "ファームウエアバージョン6.38以降にアップデートしてください。";

/// The script of a board that answers "?" with a version line and a line end.
inline void ExpectVersion(ScriptedPort& port, const std::string& line = kVersion,
                          const std::string& line_end = "0D 0A") {
  const std::string reply = "'" + line + "' " + line_end;
  port.Expect("1B").Expect("'?'", reply).Expect("'?'", reply);
}

/// The script of a board that answers nothing.
inline void ExpectSilence(ScriptedPort& port) { port.Expect("1B").Expect("'?'").Expect("'?'"); }

/// On a scripted port that is open.
struct LinkRun : ScriptedRun {
  std::int16_t Error = 0;
  std::uint8_t Byte = 0x77;

  /// What has been done at the port and shown to the user: the journal without the trace's lines,
  /// several turns in a row as one.
  [[nodiscard]] Journal Steps() const {
    Journal steps;
    for (const std::string& step : Recorded) {
      const bool again = step == "turn" && !steps.empty() && steps.back() == step;
      if (!again && !step.starts_with("append ")) steps.push_back(step);
    }
    return steps;
  }
  /// The same from the first step of that text on.
  [[nodiscard]] Journal StepsFrom(const std::string& text) const {
    const Journal steps = Steps();
    return {std::ranges::find(steps, text), steps.end()};
  }
};

struct LinkTest : Test, LinkRun {};

}  // namespace fenwright::link
