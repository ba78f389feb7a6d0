#include "ops/outcome.h"

#include <string_view>

#include "core/hex_format.h"

namespace fenwright::ops {
namespace {

using core::AppState;
using core::ChipReport;

std::string LastAddress(std::int32_t count) { return "0x" + core::HexAddress(count - 1); }

/// One sentence in both languages; `English` starts in lower case, to stand behind a colon.
struct Sentence {
  std::string Japanese;
  std::string English;
};

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

Sentence NothingWritten(const ChipReport& chip) {
  return chip.Erased ? ErasedOnly() : EraseUnconfirmed();
}

Sentence FlashPartly(const ChipReport& chip) {
  return {"フラッシュはワード " + LastAddress(chip.FlashWordsWritten) +
              " まで書き込み済み、ベリファイしていません。"
              "イレースしてから、もう一度プログラムしてください。",
          "flash written up to word " + LastAddress(chip.FlashWordsWritten) +
              ", not verified: erase and program again"};
}

Sentence EepromPartly(const ChipReport& chip) {
  return {"フラッシュは書き込み済み、EEPROMはバイト " + LastAddress(chip.EepromBytesDone) +
              " まで書き込み済み、ベリファイしていません。"
              "イレースしてから、もう一度プログラムしてください。",
          "flash written, EEPROM written up to byte " + LastAddress(chip.EepromBytesDone) +
              ", not verified: erase and program again"};
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
      "デバイスの内容がファイルと一致しません。違いはベリファイ結果にあります。"
      "イレースしてから、もう一度プログラムしてください。",
      "the chip differs from the file, the report lists where: erase and program again"};
}

Sentence Verified() {
  return {"プログラムとベリファイが正常に終了しました。", "programmed and verified"};
}

Sentence NothingToProgram(bool erased) {
  if (!erased) return EraseUnconfirmed();
  return {"デバイスはイレースされました。書き込むデータはありません。",
          "chip erased; there was nothing to program"};
}

Sentence OfFlashPhase(const AppState& state) {
  const ChipReport& chip = state.Chip;
  return chip.FlashWordsWritten > 0 ? FlashPartly(chip) : NothingWritten(chip);
}

Sentence OfEepromPhase(const AppState& state) {
  const ChipReport& chip = state.Chip;
  if (chip.EepromBytesDone > 0) return EepromPartly(chip);
  return FlashWrittenOnly();
}

bool WroteAllFlash(const AppState& state) {
  return !state.Chip.FlashFailed && state.Chip.FlashWordsWritten == state.FlashProgramCount;
}

bool WroteAllEeprom(const AppState& state) {
  return !state.Chip.EepromFailed && state.Chip.EepromBytesDone == state.EepromProgramCount;
}

Sentence Describe(const AppState& state) {
  const ChipReport& chip = state.Chip;
  if (chip.VerifyFinished) return state.FlashNG || state.EepromNG ? Differs() : Verified();
  if (chip.NothingToProgram) return NothingToProgram(chip.Erased);
  if (!chip.FlashStarted) return chip.EraseStarted ? NothingWritten(chip) : Untouched();
  if (!WroteAllFlash(state)) return OfFlashPhase(state);
  if (!chip.EepromStarted || !WroteAllEeprom(state)) return OfEepromPhase(state);
  return WrittenUnverified();
}

}  // namespace

bool Succeeded(const AppState& state) {
  const ChipReport& chip = state.Chip;
  if (chip.NothingToProgram) return chip.Erased;
  return chip.VerifyFinished && !state.FlashNG && !state.EepromNG;
}

std::string DescribeChipState(const AppState& state, Language language) {
  const Sentence sentence = Describe(state);
  return language == Language::Japanese ? sentence.Japanese : sentence.English;
}

}  // namespace fenwright::ops
