#include "update/update_report.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace fenwright::update {
namespace {

using core::Sentence;

struct FaultRow {
  ImageFault Fault;
  const char* Japanese;
  const char* English;
};

constexpr auto kFaults = std::to_array<FaultRow>({
    {ImageFault::None, "", ""},
    {ImageFault::NoDataRecord, "データレコードがありません",
     "has no data record, so there is nothing to send"},
    {ImageFault::BrokenLine, "Intel HEX の正しいレコードではありません",
     "is not a whole Intel HEX record"},
    {ImageFault::WrongChecksum, "チェックサムが違います", "has a wrong checksum"},
    {ImageFault::UnusedAddress, "拡張アドレスが 0 ではありません。アップデートでは使用されません",
     "has an extended address other than 0, which an update does not follow"},
    {ImageFault::OddAddress, "レコードが奇数アドレスから始まっています",
     "begins in the middle of a word"},
    {ImageFault::DataAfterEnd, "エンドレコードの後にデータがあります",
     "is a data record behind the end record"},
    {ImageFault::Contradiction, "前のレコードと同じアドレスに違うデータがあります",
     "gives an address another value than a record before"},
    {ImageFault::NoEndRecord,
     "エンドレコードがありません。ファイルが途中で切れている可能性があります",
     "has no end record; the file may have been cut short"},
    {ImageFault::NoWordToSend,
     "ボードに送るワードがありません。データはすべて、送られないアドレスにあります",
     "has no word to send: all its data lies at addresses that are skipped"},
});

Sentence SentenceOf(ImageFault fault) {
  const auto* const row = std::ranges::find(kFaults, fault, &FaultRow::Fault);
  return {.Japanese = row->Japanese, .English = row->English};
}

bool IsFirmwareName(std::string_view name) {
  constexpr std::string_view kStart = "kvld";
  constexpr std::string_view kEnd = ".hex";
  if (name.size() <= kStart.size() + kEnd.size()) return false;
  std::string lower;
  for (const char character : name) {
    const bool upper = character >= 'A' && character <= 'Z';
    lower.push_back(upper ? static_cast<char>(character - 'A' + 'a') : character);
  }
  return lower.starts_with(kStart) && lower.ends_with(kEnd);
}

}  // namespace

std::string DescribeFault(const ImageReport& report, core::Language language) {
  std::string text = SentenceOf(report.Fault).In(language);
  if (report.FaultLine == 0) return text;
  const std::string line = std::to_string(report.FaultLine);
  return language == core::Language::Japanese ? line + "行目：" + text
                                              : "line " + line + " " + text;
}

std::string DescribeOddRecord(const ImageReport& report, core::Language language) {
  if (report.FirstOddLine == 0) return "";
  const std::string line = std::to_string(report.FirstOddLine);
  return language == core::Language::Japanese
             ? line + "行目のバイト数が奇数です。最後のバイトはチェックサムと組にして送られます。"
             : "line " + line +
                   " has an odd number of bytes; its last one is sent together with the line's "
                   "checksum";
}

std::string DescribeForeignName(std::string_view path, core::Language language) {
  const std::size_t separator = path.find_last_of("/\\");
  const std::string_view name =
      separator == std::string_view::npos ? path : path.substr(separator + 1);
  if (IsFirmwareName(name)) return "";
  return language == core::Language::Japanese
             ? std::string(name) +
                   " はこのボードのファームウエアの名前 (kvldxxx.hex) "
                   "ではありません。ファイルを確認してください。"
             : std::string(name) +
                   " is not named as this board's firmware files are "
                   "(kvldxxx.hex): make sure that it is the right one";
}

std::string DescribeBoardState(const UpdateState& state, core::Language language) {
  if (state.WordsSent == 0) {
    return Sentence{"ボードのファームウエアは変わっていません。ボードの電源を再投入してください。",
                    "the board's firmware was not changed: switch the board off and on"}
        .In(language);
  }
  if (state.WrongAcknowledgement) {
    return Sentence{
        "ボードのファームウエアは途中までしか書き込まれていません。ボードの電源を"
        "再投入してから、もう一度初めから行ってください。再開できないときは、"
        "ボードのマイコンを通常の方法で書き込む必要があります。",
        "the board's firmware is incomplete: switch the board off and on, and run the update "
        "again from its start; if it cannot be resumed, the board's microcontroller has to be "
        "programmed in the ordinary way"}
        .In(language);
  }
  return Sentence{
      "ボードのファームウエアは途中までしか書き込まれていません。ボードの電源を"
      "再投入してから、もう一度アップデートを最後まで実行してください。",
      "the board's firmware is incomplete: switch the board off and on, and run the "
      "update again, to its end"}
      .In(language);
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
