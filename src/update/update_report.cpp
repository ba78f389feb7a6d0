#include "update/update_report.h"

#include <array>
#include <cstddef>

namespace fenwright::update {
namespace {

struct Sentence {
  const char* Japanese;
  const char* English;
};

/// By ImageFault.
constexpr std::array<Sentence, 9> kFaults{{
    {"", ""},
    {"データレコードがありません", "has no data record, so there is nothing to send"},
    {"Intel HEX の正しいレコードではありません", "is not a whole Intel HEX record"},
    {"チェックサムが違います", "has a wrong checksum"},
    {"拡張アドレスが 0 ではありません。アップデートでは使用されません",
     "has an extended address other than 0, which an update does not follow"},
    {"レコードが奇数アドレスから始まっています", "begins in the middle of a word"},
    {"エンドレコードの後にデータがあります", "is a data record behind the end record"},
    {"エンドレコードがありません。ファイルが途中で切れている可能性があります",
     "has no end record; the file may have been cut short"},
    {"ボードに送るワードがありません。データはすべて、送られないアドレスにあります",
     "has no word to send: all its data lies at addresses that are skipped"},
}};

std::string Choose(const Sentence& sentence, Language language) {
  return language == Language::Japanese ? sentence.Japanese : sentence.English;
}

}  // namespace

std::string DescribeFault(const ImageReport& report, Language language) {
  std::string text = Choose(kFaults.at(static_cast<std::size_t>(report.Fault)), language);
  if (report.FaultLine == 0) return text;
  const std::string line = std::to_string(report.FaultLine);
  return language == Language::Japanese ? line + "行目：" + text : "line " + line + " " + text;
}

std::string DescribeOddRecord(const ImageReport& report, Language language) {
  if (report.FirstOddLine == 0) return "";
  const std::string line = std::to_string(report.FirstOddLine);
  return language == Language::Japanese
             ? line + "行目のバイト数が奇数です。最後のバイトはチェックサムと組にして送られます。"
             : "line " + line +
                   " has an odd number of bytes; its last one is sent together with the line's "
                   "checksum";
}

std::string DescribeBoardState(const UpdateState& state, Language language) {
  if (state.WordsSent == 0) {
    return Choose({"ボードのファームウエアは変わっていません。ボードの電源を再投入してください。",
                   "the board's firmware was not changed: switch the board off and on"},
                  language);
  }
  return Choose({"ボードのファームウエアは途中までしか書き込まれていません。ボードの電源を"
                 "再投入してから、もう一度アップデートを最後まで実行してください。",
                 "the board's firmware is incomplete: switch the board off and on, and run the "
                 "update again, to its end"},
                language);
}

std::string StopQuestion(const UpdateState& state) {
  const char* const consequence =
      state.WordsSent == 0
          ? "ここで閉じると、最初のワードを送る前にアップデートを中止します。"
            "ボードのファームウエアは変わりません。閉じた後で、ボードの電源を再投入してください。"
          : "ここで閉じると、実行中の通信が終わったところでアップデートを中止します。"
            "ボードのファームウエアは途中までしか書き込まれていない状態で残り、もう一度アップデート"
            "を"
            "最後まで実行するまで、ボードは使用できません。";
  return std::string("ファームウエアのアップデートを実行しています。\n\n") + consequence +
         "\n\nアップデートを中止して閉じますか？";
}

}  // namespace fenwright::update
