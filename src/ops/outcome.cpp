#include "ops/outcome.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "core/hex_format.h"
#include "image/buffers.h"
#include "ops/verdict.h"

namespace fenwright::ops {
namespace {

using core::AppState;
using core::CommandRecord;
using core::Sentence;

std::string LastAddress(std::int32_t count) { return "0x" + core::HexAddress(count - 1); }

Sentence Untouched() {
  return {"デバイスには何も書き込んでいません。", "the chip was not changed"};
}

Sentence EraseUnconfirmed() {
  return {"イレースを確認できませんでした。イレースしてから、もう一度プログラムしてください。",
          "erase not confirmed: erase and program again"};
}

Sentence ErasedOnly() {
  return {
      "デバイスはイレースされただけで、何も書き込まれていません。もう一度プログラムしてください。",
      "chip erased, nothing written: program again"};
}

/// Both memories, or flash alone when it has been written.
Sentence PerhapsWritten() {
  return {
      "デバイスに書き込まれた部分があるかもしれません。確認できていません。"
      "イレースしてから、もう一度プログラムしてください。",
      "something may have been written, nothing is confirmed: erase and program again"};
}

Sentence NothingWritten(const CommandRecord& done) {
  if (done.FlashWordSent || done.EepromByteSent) return PerhapsWritten();
  return done.Erased ? ErasedOnly() : EraseUnconfirmed();
}

Sentence FlashPartly(const CommandRecord& done) {
  return {"フラッシュはワード " + LastAddress(done.FlashWordsWritten) +
              " まで書き込み済み、その先とEEPROMは書き込まれたかもしれません。"
              "ベリファイしていません。イレースしてから、もう一度プログラムしてください。",
          "flash written up to word " + LastAddress(done.FlashWordsWritten) +
              ", more may have been written, not verified: erase and program again"};
}

Sentence EepromPartly(const CommandRecord& done) {
  return {"フラッシュは書き込み済み、EEPROMはバイト " + LastAddress(done.EepromBytesDone) +
              " まで書き込み済み、その先は書き込まれたかもしれません。ベリファイしていません。"
              "イレースしてから、もう一度プログラムしてください。",
          "flash written, EEPROM written up to byte " + LastAddress(done.EepromBytesDone) +
              ", more may have been written, not verified: erase and program again"};
}

Sentence EepromPerhapsWritten() {
  return {
      "フラッシュは書き込み済み、EEPROMは書き込まれたかもしれません。ベリファイしていません。"
      "イレースしてから、もう一度プログラムしてください。",
      "flash written, EEPROM perhaps written in part, not verified: erase and program again"};
}

Sentence WrittenUnverified() {
  return {
      "書き込みは終わりましたが、ベリファイしていません。"
      "ベリファイするか、イレースしてから、もう一度プログラムしてください。",
      "flash and EEPROM written, not verified: verify, or erase and program again"};
}

Sentence FlashWrittenOnly() {
  return {
      "フラッシュは書き込み済み、EEPROMは書き込まれていません。"
      "イレースしてから、もう一度プログラムしてください。",
      "flash written, EEPROM not written, not verified: erase and program again"};
}

Sentence Differs() {
  return {
      "デバイスから読み出した内容がファイルと一致しません。違いはベリファイ結果にあります。"
      "イレースしてから、もう一度プログラムしてください。",
      "what was read from the chip differs from the file: erase and program again"};
}

Sentence Verified() {
  return {"プログラムとベリファイが正常に終了しました。", "programmed and verified"};
}

/// The verify compares just what the files fill.
Sentence VerifiedWithoutErase() {
  return {
      "書き込んだ部分は一致していますが、イレースを確認できなかったため、残りの部分に"
      "古いデータがあるかもしれません。イレースしてから、もう一度プログラムしてください。",
      "verified, but the erase was not confirmed, so old data may be left beside it: "
      "erase and program again"};
}

Sentence NothingToProgram(bool erased) {
  if (!erased) return EraseUnconfirmed();
  return {"デバイスはイレースされました。書き込むデータはありません。",
          "chip erased; there was nothing to program"};
}

Sentence OfFlashPhase(const AppState& state) {
  const CommandRecord& done = state.Command;
  return done.FlashWordsWritten > 0 ? FlashPartly(done) : NothingWritten(done);
}

Sentence OfEepromPhase(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (done.EepromBytesDone > 0) return EepromPartly(done);
  return done.EepromByteSent ? EepromPerhapsWritten() : FlashWrittenOnly();
}

bool WroteAllFlash(const AppState& state) {
  return !state.Command.FlashFailed && state.Command.FlashWordsWritten == state.FlashProgramCount;
}

bool WroteAllEeprom(const AppState& state) {
  return !state.Command.EepromFailed && state.Command.EepromBytesDone == state.EepromProgramCount;
}

Sentence DescribeProgramming(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (done.VerifyFinished) {
    if (state.FlashNG || state.EepromNG) return Differs();
    return done.Erased ? Verified() : VerifiedWithoutErase();
  }
  if (done.NothingToProgram) return NothingToProgram(done.Erased);
  if (!done.FlashStarted) return done.EraseStarted ? NothingWritten(done) : Untouched();
  if (!WroteAllFlash(state)) return OfFlashPhase(state);
  if (!done.EepromStarted || !WroteAllEeprom(state)) return OfEepromPhase(state);
  return WrittenUnverified();
}

Sentence DescribeWholeRead(const AppState& state) {
  if (state.LinkError != 0) {
    return {
        "フラッシュとEEPROMは読み出しましたが、ヒューズとロックビットは読み出せませんでした。"
        "ソケットのデバイスとデバイスの選択を確かめて、もう一度リードしてください。",
        "flash and EEPROM read, fuse and lock bits not read: check the device in the socket and "
        "read again"};
  }
  if (state.Command.FuseBytes.empty()) {
    return {"フラッシュとEEPROMを読み出しました。", "flash and EEPROM read"};
  }
  return {"フラッシュ、EEPROM、ヒューズ、ロックビットを読み出しました。",
          "flash, EEPROM, fuse and lock bits read"};
}

Sentence DescribeReading(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (done.ReadFinished) return DescribeWholeRead(state);
  if (done.FlashWordsRead == 0) {
    return {"何も読み出していません。バッファの内容は元のままです。",
            "nothing was read, the buffers are unchanged"};
  }
  if (done.FlashWordsRead < state.FlashWords) {
    return {"フラッシュはワード " + LastAddress(done.FlashWordsRead) +
                " まで読み出し済み、残りのバッファは元のままです。もう一度リードしてください。",
            "flash read up to word " + LastAddress(done.FlashWordsRead) +
                ", the rest of the buffers is unchanged: read again"};
  }
  return {"読み出しが完了していません。もう一度リードしてください。",
          "not read completely: read again"};
}

Sentence DescribeVerifying(const AppState& state) {
  if (!state.Command.VerifyFinished) {
    return {"ベリファイは完了していません。もう一度ベリファイしてください。",
            "not verified: verify again"};
  }
  if (state.FlashNG || state.EepromNG) return Differs();
  return {"デバイスの内容は一致しています。", "the chip holds what the file holds"};
}

Sentence DescribeErasing(const AppState& state) {
  if (!state.Command.EraseStarted) return Untouched();
  if (state.Command.Erased) return {"デバイスはイレースされました。", "chip erased"};
  return {"イレースを確認できませんでした。もう一度イレースしてください。",
          "erase not confirmed: erase again"};
}

Sentence DescribeReadingFuses(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (done.FusesFinished) {
    return {"ヒューズとロックビットを読み出しました。", "fuse and lock bits read"};
  }
  if (done.FuseBytes.empty()) {
    return {
        "ヒューズとロックビットは読み出していません。表示は元のままです。"
        "接続とソケットのデバイスを確かめて、もう一度リードしてください。",
        "no fuse or lock bits read, the lists are unchanged: check the connection and the device "
        "in the socket and read again"};
  }
  return {"一部しか読み出していません。残りの表示は元のままです。もう一度リードしてください。",
          "fuse and lock bits read in part, the other lists are unchanged: read again"};
}

/// A byte that was sent and not acknowledged may be in the chip all the same.
Sentence DescribeWritingFuses(const AppState& state) {
  const CommandRecord& done = state.Command;
  const auto written = static_cast<std::int32_t>(done.FuseBytes.size());
  if (done.FusesFinished) {
    return {"ヒューズとロックビットを書き込みました。", "fuse and lock bits written"};
  }
  if (!done.FuseWriteStarted) return Untouched();
  if (written == 0) {
    return {
        "書き込みを確認できませんでした。ヒューズが変わっている可能性があります。"
        "リードして確かめてから、もう一度ライトしてください。",
        "write not confirmed, the bits may have changed: read them, then write again"};
  }
  if (written == done.FuseWriteCount) {
    return {"すべて書き込みましたが、ボードの応答に誤りがありました。リードして確かめてください。",
            "all bytes written, but the board answered wrongly: read the bits"};
  }
  const std::string all = std::to_string(done.FuseWriteCount);
  const std::string count = std::to_string(written);
  return {all + "バイトのうち" + count +
              "バイトを書き込みました。残りは確認できていません。"
              "リードして確かめてから、もう一度ライトしてください。",
          count + " of " + all +
              " bytes written, the rest is not confirmed: read the bits, then write again"};
}

Sentence Describe(const AppState& state) {
  switch (state.Command.Operation) {
    case core::DeviceOperation::Read:
      return DescribeReading(state);
    case core::DeviceOperation::Verify:
      return DescribeVerifying(state);
    case core::DeviceOperation::Erase:
      return DescribeErasing(state);
    case core::DeviceOperation::ReadFuses:
      return DescribeReadingFuses(state);
    case core::DeviceOperation::WriteFuses:
      return DescribeWritingFuses(state);
    case core::DeviceOperation::None:
    case core::DeviceOperation::Program:
      break;
  }
  return DescribeProgramming(state);
}

bool VerifiedWithoutDifference(const AppState& state) {
  return state.Command.VerifyFinished && !state.FlashNG && !state.EepromNG;
}

/// Fewer cells than that may hold their addresses by chance.
constexpr std::size_t kTellingCells = 8;

bool HoldsItsAddress(const core::Difference& difference) {
  const auto low = static_cast<std::uint16_t>(difference.Address & 0xFF);
  return difference.Found == (difference.InFlash ? low << 8 | low : low);
}

bool FlashBufferHoldsAddresses(const AppState& state) {
  for (std::int32_t word = 0; word < state.FlashWords; ++word) {
    const auto index = 2 * static_cast<std::size_t>(word);
    const auto low = static_cast<std::uint8_t>(word & 0xFF);
    if (state.FlashBuffer[index] != low || state.FlashBuffer[index + 1] != low) return false;
  }
  return state.FlashWords > 0;
}

bool ReadAddressesOnly(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (done.Operation == core::DeviceOperation::Read) {
    return done.FlashWordsRead == state.FlashWords && FlashBufferHoldsAddresses(state);
  }
  return done.Differences.size() >= kTellingCells &&
         std::ranges::all_of(done.Differences, HoldsItsAddress);
}

std::string DescribeDifferences(const std::vector<core::Difference>& differences) {
  const auto flash = std::ranges::count(differences, true, &core::Difference::InFlash);
  const auto eeprom = std::ssize(differences) - flash;
  std::string text = "一致しない箇所 : ";
  if (flash > 0) text += "フラッシュ " + std::to_string(flash) + " ワード";
  if (flash > 0 && eeprom > 0) text += "、";
  if (eeprom > 0) text += "EEPROM " + std::to_string(eeprom) + " バイト";
  return text + "。";
}

/// What the differences have in common, "" where one reading does not tell.
std::string DescribePattern(const AppState& state) {
  std::string protection = DescribeProtection(state);
  if (!protection.empty()) return protection;
  const Verdict verdict = Diagnose(state);
  return verdict.Kind == VerdictKind::NoPattern ? "" : verdict.Text.Japanese;
}

std::string Percentage(std::int32_t part, std::int32_t whole) {
  // Rounded up, as beside the file's name, but never to "all" for nearly all.
  constexpr std::int32_t kAll = 100;
  if (whole == 0 || part >= whole) return std::to_string(whole == 0 ? 0 : kAll) + " %";
  return std::to_string(std::min((part * kAll + whole - 1) / whole, kAll - 1)) + " %";
}

std::string Usage(std::string_view memory, std::int32_t used, std::int32_t size,
                  std::string_view unit) {
  return std::string(memory) + "の使用量 : " + std::to_string(used) + " / " + std::to_string(size) +
         " " + std::string(unit) + " (" + Percentage(used, size) + ")";
}

bool NothingCompared(const AppState& state) {
  return image::UsedFlashWords(state) == 0 && image::UsedEepromBytes(state) == 0;
}

/// What the user should look at although the command did what it is for; "" = nothing.
std::string ReasonForAttention(const AppState& state) {
  const CommandRecord& done = state.Command;
  const bool programmed = done.Operation == core::DeviceOperation::Program;
  if (programmed && done.NothingToProgram) return NothingToProgram(true).Japanese;
  if (programmed && !state.CodeDoubt.empty()) return state.CodeDoubt;
  if (programmed) return state.DataDoubt;
  switch (done.Operation) {
    case core::DeviceOperation::Erase:
      // It goes on whatever chip answers.
      return done.LastFailure;
    case core::DeviceOperation::Verify:
      return NothingCompared(state) ? "バッファーが空なので、比較したデータはありません。" : "";
    case core::DeviceOperation::Read:
      return DescribeProtection(state);
    default:
      return "";
  }
}

}  // namespace

screen::Outcome OutcomeOf(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (done.ResetPinGivenAway) return screen::Outcome::Danger;
  if (!Succeeded(state)) {
    const bool good_but_for_the_erase = done.Operation == core::DeviceOperation::Program &&
                                        !done.Erased && VerifiedWithoutDifference(state);
    return good_but_for_the_erase ? screen::Outcome::Attention : screen::Outcome::Failure;
  }
  return ReasonForAttention(state).empty() ? screen::Outcome::Success : screen::Outcome::Attention;
}

std::string ReasonOfOutcome(const AppState& state) {
  if (state.Command.ResetPinGivenAway) {
    return "リセット端子の機能を無効にしました。"
           "このデバイスには、このプログラマではアクセスできなくなります。";
  }
  if (Succeeded(state)) return ReasonForAttention(state);
  // Without a board the chip is not the point.
  return state.Command.LinkReady ? Describe(state).Japanese : "";
}

std::string DescribeProtection(const AppState& state) {
  return ReadAddressesOnly(state) ? "読み出した値がアドレスと同じなので、"
                                    "デバイスはプロテクトされている可能性があります。"
                                  : "";
}

std::string DescribeCause(const AppState& state) {
  const CommandRecord& done = state.Command;
  if (!done.SocketCause.empty()) return done.SocketCause;
  if (done.Differences.empty()) return "";
  return DescribeDifferences(done.Differences) + DescribePattern(state);
}

std::string DescribeUsage(const AppState& state) {
  return Usage("フラッシュ", image::UsedFlashWords(state), state.FlashWords, "ワード") + "\r\n" +
         Usage("EEPROM", image::UsedEepromBytes(state), state.EepromBytes, "バイト");
}

bool Succeeded(const AppState& state) {
  const CommandRecord& done = state.Command;
  switch (done.Operation) {
    case core::DeviceOperation::Read:
      return done.ReadFinished && state.LinkError == 0;
    case core::DeviceOperation::Erase:
      return done.Erased && state.LinkError == 0;
    case core::DeviceOperation::Verify:
      return VerifiedWithoutDifference(state);
    case core::DeviceOperation::ReadFuses:
    case core::DeviceOperation::WriteFuses:
      return done.FusesFinished;
    case core::DeviceOperation::None:
    case core::DeviceOperation::Program:
      break;
  }
  return done.Erased && (done.NothingToProgram || VerifiedWithoutDifference(state));
}

std::string DescribeChipState(const AppState& state, core::Language language) {
  return Describe(state).In(language);
}

}  // namespace fenwright::ops
