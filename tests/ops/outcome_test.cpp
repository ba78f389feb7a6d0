// What is said about the chip after a command, whole and in both languages, and whether the command
// counts as done.

#include "ops/outcome.h"

#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using core::AppState;
using core::DeviceOperation;

struct Outcome {
  std::string Name;
  DeviceOperation Operation;
  std::function<void(AppState&)> Happened;
  bool Succeeded;
  std::string Japanese;
  std::string English;
};

const std::string kUntouched = "デバイスには何も書き込んでいません。";
const std::string kUntouchedEnglish = "the chip was not changed";
const std::string kEraseUnconfirmed =
    "イレースを確認できませんでした。イレースしてから、もう一度プログラムしてください。";
const std::string kEraseUnconfirmedEnglish = "erase not confirmed: erase and program again";
const std::string kErasedOnly =
    "デバイスはイレースされただけで、何も書き込まれていません。もう一度プログラムしてください。";
const std::string kErasedOnlyEnglish = "chip erased, nothing written: program again";
const std::string kFlashWrittenOnly =
    "フラッシュは書き込み済み、EEPROMは書き込まれていません。"
    "イレースしてから、もう一度プログラムしてください。";
const std::string kFlashWrittenOnlyEnglish =
    "flash written, EEPROM not written, not verified: erase and program again";
const std::string kDiffers =
    "デバイスから読み出した内容がファイルと一致しません。違いはベリファイ結果にあります。"
    "イレースしてから、もう一度プログラムしてください。";
const std::string kDiffersEnglish =
    "what was read from the chip differs from the file: erase and program again";

std::string FlashUpTo(const std::string& address) {
  return "フラッシュはワード " + address +
         " まで書き込み済み、その先とEEPROMは書き込まれたかもしれません。ベリファイしていません。"
         "イレースしてから、もう一度プログラムしてください。";
}
std::string FlashUpToEnglish(const std::string& address) {
  return "flash written up to word " + address +
         ", more may have been written, not verified: erase and program again";
}
std::string EepromUpTo(const std::string& address) {
  return "フラッシュは書き込み済み、EEPROMはバイト " + address +
         " まで書き込み済み、その先は書き込まれたかもしれません。ベリファイしていません。"
         "イレースしてから、もう一度プログラムしてください。";
}
std::string EepromUpToEnglish(const std::string& address) {
  return "flash written, EEPROM written up to byte " + address +
         ", more may have been written, not verified: erase and program again";
}

/// A run that has erased the chip and written so many of three words.
void WriteFlash(AppState& state, int words) {
  state.Command.EraseStarted = true;
  state.Command.Erased = true;
  state.Command.FlashStarted = true;
  state.FlashProgramCount = 3;
  state.EepromProgramCount = 2;
  state.Command.FlashWordsWritten = words;
}
/// And then so many of two bytes.
void WriteEeprom(AppState& state, int bytes) {
  WriteFlash(state, 3);
  state.Command.EepromStarted = true;
  state.Command.EepromBytesDone = bytes;
}
void Verify(AppState& state) {
  WriteEeprom(state, 2);
  state.Command.VerifyFinished = true;
}

std::vector<Outcome> ProgramOutcomes() {
  constexpr auto kProgram = DeviceOperation::Program;
  return {
      {"NothingDone", kProgram, [](AppState&) {}, false, kUntouched, kUntouchedEnglish},
      {"EraseUnanswered", kProgram, [](AppState& state) { state.Command.EraseStarted = true; },
       false, kEraseUnconfirmed, kEraseUnconfirmedEnglish},
      {"Erased", kProgram,
       [](AppState& state) { state.Command.EraseStarted = state.Command.Erased = true; }, false,
       kErasedOnly, kErasedOnlyEnglish},
      {"NothingToProgram", kProgram,
       [](AppState& state) { state.Command.Erased = state.Command.NothingToProgram = true; }, true,
       "デバイスはイレースされました。書き込むデータはありません。",
       "chip erased; there was nothing to program"},
      {"NothingToProgramUnerased", kProgram,
       [](AppState& state) { state.Command.NothingToProgram = true; }, false, kEraseUnconfirmed,
       kEraseUnconfirmedEnglish},
      {"NoWordWritten", kProgram, [](AppState& state) { WriteFlash(state, 0); }, false, kErasedOnly,
       kErasedOnlyEnglish},
      {"NoWordWrittenUnerased", kProgram,
       [](AppState& state) {
         WriteFlash(state, 0);
         state.Command.Erased = false;
       },
       false, kEraseUnconfirmed, kEraseUnconfirmedEnglish},
      {"OneWordWritten", kProgram, [](AppState& state) { WriteFlash(state, 1); }, false,
       FlashUpTo("0x0000"), FlashUpToEnglish("0x0000")},
      {"FlashEndedBadly", kProgram,
       [](AppState& state) {
         WriteFlash(state, 3);
         state.Command.FlashFailed = true;
       },
       false, FlashUpTo("0x0002"), FlashUpToEnglish("0x0002")},
      {"FlashWritten", kProgram, [](AppState& state) { WriteFlash(state, 3); }, false,
       kFlashWrittenOnly, kFlashWrittenOnlyEnglish},
      {"FlashWrittenAndNoEepromToWrite", kProgram,
       [](AppState& state) {
         WriteFlash(state, 3);
         state.EepromProgramCount = 0;
       },
       false, kFlashWrittenOnly, kFlashWrittenOnlyEnglish},
      {"NoByteWritten", kProgram, [](AppState& state) { WriteEeprom(state, 0); }, false,
       kFlashWrittenOnly, kFlashWrittenOnlyEnglish},
      {"OneByteWritten", kProgram, [](AppState& state) { WriteEeprom(state, 1); }, false,
       EepromUpTo("0x0000"), EepromUpToEnglish("0x0000")},
      {"EepromEndedBadly", kProgram,
       [](AppState& state) {
         WriteEeprom(state, 2);
         state.Command.EepromFailed = true;
       },
       false, EepromUpTo("0x0001"), EepromUpToEnglish("0x0001")},
      {"Written", kProgram, [](AppState& state) { WriteEeprom(state, 2); }, false,
       "書き込みは終わりましたが、ベリファイしていません。"
       "ベリファイするか、イレースしてから、もう一度プログラムしてください。",
       "flash and EEPROM written, not verified: verify, or erase and program again"},
      {"Verified", kProgram, Verify, true, "プログラムとベリファイが正常に終了しました。",
       "programmed and verified"},
      {"FlashDiffers", kProgram,
       [](AppState& state) {
         Verify(state);
         state.FlashNG = true;
       },
       false, kDiffers, kDiffersEnglish},
      {"EepromDiffers", kProgram,
       [](AppState& state) {
         Verify(state);
         state.EepromNG = true;
       },
       false, kDiffers, kDiffersEnglish},
      {"VerifiedUnerased", kProgram,
       [](AppState& state) {
         Verify(state);
         state.Command.Erased = false;
       },
       false,
       "書き込んだ部分は一致していますが、イレースを確認できなかったため、残りの部分に"
       "古いデータがあるかもしれません。イレースしてから、もう一度プログラムしてください。",
       "verified, but the erase was not confirmed, so old data may be left beside it: "
       "erase and program again"},
  };
}

std::vector<Outcome> OtherOutcomes() {
  constexpr auto kRead = DeviceOperation::Read;
  constexpr auto kVerify = DeviceOperation::Verify;
  constexpr auto kErase = DeviceOperation::Erase;
  constexpr auto kReadFuses = DeviceOperation::ReadFuses;
  constexpr auto kWriteFuses = DeviceOperation::WriteFuses;
  const std::string unread =
      "フラッシュとEEPROMは読み出しましたが、ヒューズとロックビットは読み出せませんでした。"
      "ソケットのデバイスとデバイスの選択を確かめて、もう一度リードしてください。";
  return {
      {"NothingRead", kRead, [](AppState&) {}, false,
       "何も読み出していません。バッファの内容は元のままです。",
       "nothing was read, the buffers are unchanged"},
      {"SomeWordsRead", kRead,
       [](AppState& state) {
         state.FlashWords = 512;
         state.Command.FlashWordsRead = 511;
       },
       false,
       "フラッシュはワード 0x01FE "
       "まで読み出し済み、残りのバッファは元のままです。もう一度リードしてください。",
       "flash read up to word 0x01FE, the rest of the buffers is unchanged: read again"},
      {"FlashRead", kRead,
       [](AppState& state) { state.FlashWords = state.Command.FlashWordsRead = 512; }, false,
       "読み出しが完了していません。もう一度リードしてください。",
       "not read completely: read again"},
      {"MemoriesRead", kRead, [](AppState& state) { state.Command.ReadFinished = true; }, true,
       "フラッシュとEEPROMを読み出しました。", "flash and EEPROM read"},
      {"AllRead", kRead,
       [](AppState& state) {
         state.Command.ReadFinished = true;
         state.Command.FuseBytes = {{.Name = "Fuse", .Value = 0x10}};
       },
       true, "フラッシュ、EEPROM、ヒューズ、ロックビットを読み出しました。",
       "flash, EEPROM, fuse and lock bits read"},
      {"FusesUnread", kRead,
       [](AppState& state) {
         state.Command.ReadFinished = true;
         state.LinkError = 1;
       },
       false, unread,
       "flash and EEPROM read, fuse and lock bits not read: check the device in the socket and "
       "read again"},
      {"VerifyUnfinished", kVerify, [](AppState&) {}, false,
       "ベリファイは完了していません。もう一度ベリファイしてください。",
       "not verified: verify again"},
      {"VerifyGood", kVerify, [](AppState& state) { state.Command.VerifyFinished = true; }, true,
       "デバイスの内容は一致しています。", "the chip holds what the file holds"},
      {"VerifyOtherFlash", kVerify,
       [](AppState& state) { state.Command.VerifyFinished = state.FlashNG = true; }, false,
       kDiffers, kDiffersEnglish},
      {"VerifyOtherEeprom", kVerify,
       [](AppState& state) { state.Command.VerifyFinished = state.EepromNG = true; }, false,
       kDiffers, kDiffersEnglish},
      {"EraseNotReached", kErase, [](AppState&) {}, false, kUntouched, kUntouchedEnglish},
      {"EraseDone", kErase,
       [](AppState& state) { state.Command.EraseStarted = state.Command.Erased = true; }, true,
       "デバイスはイレースされました。", "chip erased"},
      {"EraseDoneButTheModeWasNotLeft", kErase,
       [](AppState& state) {
         state.Command.EraseStarted = state.Command.Erased = true;
         state.LinkError = 1;
       },
       false, "デバイスはイレースされました。", "chip erased"},
      {"EraseNotConfirmed", kErase, [](AppState& state) { state.Command.EraseStarted = true; },
       false, "イレースを確認できませんでした。もう一度イレースしてください。",
       "erase not confirmed: erase again"},
      {"NoFuseRead", kReadFuses, [](AppState&) {}, false,
       "ヒューズとロックビットは読み出していません。表示は元のままです。"
       "接続とソケットのデバイスを確かめて、もう一度リードしてください。",
       "no fuse or lock bits read, the lists are unchanged: check the connection and the device "
       "in the socket and read again"},
      {"SomeFusesRead", kReadFuses,
       [](AppState& state) { state.Command.FuseBytes = {{.Name = "Fuse", .Value = 0x10}}; }, false,
       "一部しか読み出していません。残りの表示は元のままです。もう一度リードしてください。",
       "fuse and lock bits read in part, the other lists are unchanged: read again"},
      {"FusesRead", kReadFuses, [](AppState& state) { state.Command.FusesFinished = true; }, true,
       "ヒューズとロックビットを読み出しました。", "fuse and lock bits read"},
      {"NoFuseSent", kWriteFuses, [](AppState&) {}, false, kUntouched, kUntouchedEnglish},
      {"FuseUnanswered", kWriteFuses,
       [](AppState& state) { state.Command.FuseWriteStarted = true; }, false,
       "書き込みを確認できませんでした。ヒューズが変わっている可能性があります。"
       "リードして確かめてから、もう一度ライトしてください。",
       "write not confirmed, the bits may have changed: read them, then write again"},
      {"SomeFusesWritten", kWriteFuses,
       [](AppState& state) {
         state.Command.FuseWriteStarted = true;
         state.Command.FuseWriteCount = 3;
         state.Command.FuseBytes = {{.Name = "Fuse", .Value = 0x10}};
       },
       false,
       "3バイトのうち1バイトを書き込みました。残りは確認できていません。"
       "リードして確かめてから、もう一度ライトしてください。",
       "1 of 3 bytes written, the rest is not confirmed: read the bits, then write again"},
      {"FusesWrittenButAWrongAnswer", kWriteFuses,
       [](AppState& state) {
         state.Command.FuseWriteStarted = true;
         state.Command.FuseWriteCount = 1;
         state.Command.FuseBytes = {{.Name = "Fuse", .Value = 0x10}};
       },
       false,
       "すべて書き込みましたが、ボードの応答に誤りがありました。リードして確かめてください。",
       "all bytes written, but the board answered wrongly: read the bits"},
      {"FusesWritten", kWriteFuses, [](AppState& state) { state.Command.FusesFinished = true; },
       true, "ヒューズとロックビットを書き込みました。", "fuse and lock bits written"},
  };
}

class EveryOutcome : public TestWithParam<Outcome> {
 protected:
  EveryOutcome() {
    state_.Command.Operation = GetParam().Operation;
    GetParam().Happened(state_);
  }
  AppState state_;
};

TEST_P(EveryOutcome, IsSaidWholeInBothLanguages) {
  EXPECT_EQ(ops::DescribeChipState(state_, core::Language::Japanese), GetParam().Japanese);
  EXPECT_EQ(ops::DescribeChipState(state_, core::Language::English), GetParam().English);
}

TEST_P(EveryOutcome, CountsAsDoneOrNot) { EXPECT_EQ(ops::Succeeded(state_), GetParam().Succeeded); }

const auto kNameOfOutcome = [](const auto& info) { return info.param.Name; };
INSTANTIATE_TEST_SUITE_P(Programming, EveryOutcome, ValuesIn(ProgramOutcomes()), kNameOfOutcome);
INSTANTIATE_TEST_SUITE_P(Other, EveryOutcome, ValuesIn(OtherOutcomes()), kNameOfOutcome);

TEST(Succeeded, ARunThatIsErasedAndWrittenIsNoneWithoutItsVerify) {
  AppState state;
  state.Command.Operation = DeviceOperation::Program;
  WriteEeprom(state, 2);
  EXPECT_FALSE(ops::Succeeded(state));
}

}  // namespace
}  // namespace fenwright::testing
