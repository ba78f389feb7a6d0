#include "link/board_commands.h"

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include "core/hex_format.h"
#include "core/status.h"
#include "link/serial_link.h"

namespace fenwright::link {
namespace {

constexpr std::uint8_t kAcknowledge = 0x0D;

/// What a reply is tested for.
enum class ReplyTest {
  None,         ///< the reply is data
  Acknowledge,  ///< byte 0 must be 0x0D
};

/// One command of the board: what is sent, what is awaited and what is said when it fails. Bytes
/// of `Instruction` go between the command character and the arguments.
struct BoardCommand {
  char Character = 0;
  std::array<std::uint8_t, 3> Instruction{};
  std::size_t InstructionLength = 0;
  int ReplyCount = 1;
  int TimeoutSeconds = 1;
  ReplyTest Test = ReplyTest::None;
  std::string_view TimeoutText{};
  std::string_view WrongReplyText{};
  std::string_view ReplyTracePrefix{};  ///< "" = the reply byte is not traced
};

constexpr BoardCommand kEnterProgrammingMode{
    .Character = 'P',
    .TimeoutSeconds = 1,
    .Test = ReplyTest::Acknowledge,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Enter programming Mode P",
    .WrongReplyText = "返答ﾃﾞｰﾀﾐｽ : Enter programming Mode P",
    .ReplyTracePrefix = "Enter programming Mode P : "};

constexpr BoardCommand kLeaveProgrammingMode{
    .Character = 'L',
    .TimeoutSeconds = 1,
    .Test = ReplyTest::Acknowledge,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Leave programming Mode L",
    .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Leave programming Mode L",
    .ReplyTracePrefix = "Leave programming Mode L : "};

// One of several attempts: the text of the last one's failure is said by itself.
constexpr BoardCommand kReadSignature{.Character = 's', .ReplyCount = 3, .TimeoutSeconds = 1};
constexpr std::string_view kSignatureTimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Signature bytes s";

constexpr BoardCommand kReadProgramWord{.Character = 'R',
                                        .ReplyCount = 2,
                                        .TimeoutSeconds = 5,
                                        .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R"};

// The wrong-reply texts of the flash writes name "Data Memory"; that is their wording.
constexpr BoardCommand kWriteProgramLow{
    .Character = 'c',
    .TimeoutSeconds = 5,
    .Test = ReplyTest::Acknowledge,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Program Memory c",
    .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c"};

constexpr BoardCommand kWriteProgramHigh{
    .Character = 'C',
    .TimeoutSeconds = 5,
    .Test = ReplyTest::Acknowledge,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Program Memory C",
    .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Data Memory C"};

constexpr BoardCommand kWriteProgramWordTiny26{
    .Character = 'W',
    .TimeoutSeconds = 5,
    .Test = ReplyTest::Acknowledge,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Program Memory Tiny26 W",
    .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory Tiny26"};

constexpr BoardCommand kReadDataByte{
    .Character = 'd', .TimeoutSeconds = 5, .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Data Memory d"};

constexpr BoardCommand kWriteDataByte{.Character = 'D',
                                      .TimeoutSeconds = 5,
                                      .Test = ReplyTest::Acknowledge,
                                      .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory D",
                                      .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory D"};

constexpr BoardCommand kWriteFuseBits{.Character = 'f',
                                      .TimeoutSeconds = 1,
                                      .Test = ReplyTest::Acknowledge,
                                      .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit f",
                                      .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit f"};

constexpr BoardCommand kWriteFuseBitsU{.Character = 'u',
                                       .TimeoutSeconds = 1,
                                       .Test = ReplyTest::Acknowledge,
                                       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit u",
                                       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit u"};

// The instruction bytes behind ';' and ':' are the chip's own serial-programming instructions, as
// in the ATtiny26L data sheet.
constexpr BoardCommand kWriteFuseHighBits{.Character = ';',
                                          .Instruction = {0xAC, 0xA8, 0x00},
                                          .InstructionLength = 3,
                                          .TimeoutSeconds = 1,
                                          .Test = ReplyTest::Acknowledge,
                                          .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse Hi bit ;",
                                          .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse Hi bit ;"};

constexpr BoardCommand kWriteLockBits{.Character = 'l',
                                      .TimeoutSeconds = 5,
                                      .Test = ReplyTest::Acknowledge,
                                      .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit l",
                                      .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit l"};

constexpr BoardCommand kWriteLockBitsTiny26{
    .Character = ';',
    .Instruction = {0xAC, 0xE0, 0x00},
    .InstructionLength = 3,
    .TimeoutSeconds = 5,
    .Test = ReplyTest::Acknowledge,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit Tiny26 ;",
    .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit Tiny26"};

constexpr BoardCommand kReadLockFuseBits{.Character = 'F',
                                         .TimeoutSeconds = 5,
                                         .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Lock & Fuse bit F",
                                         .ReplyTracePrefix = "Read Lock & Fuse bit F : "};

constexpr BoardCommand kReadFuseBits{
    .Character = 'r', .TimeoutSeconds = 2, .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Fuse bit r"};

constexpr BoardCommand kReadFuseHighBits{.Character = ':',
                                         .Instruction = {0x58, 0x08, 0x00},
                                         .InstructionLength = 3,
                                         .TimeoutSeconds = 2,
                                         .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Fuse Hi bit :"};

constexpr BoardCommand kReadCalibrationByte{
    .Character = 'o',
    .ReplyCount = 4,
    .TimeoutSeconds = 2,
    .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Calibration Byte o"};

// The text says "A" for the command 'a'; that is its wording.
constexpr BoardCommand kSelectAddress{.Character = 'a',
                                      .TimeoutSeconds = 5,
                                      .Test = ReplyTest::Acknowledge,
                                      .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Address Select A",
                                      .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Address Select A"};

constexpr BoardCommand kChipErase{.Character = 'e',
                                  .TimeoutSeconds = 1,
                                  .Test = ReplyTest::Acknowledge,
                                  .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Chip Erase e",
                                  .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Chip Erase e"};

constexpr BoardCommand kSelectDevice{.Character = 'T',
                                     .TimeoutSeconds = 2,
                                     .Test = ReplyTest::Acknowledge,
                                     .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T",
                                     .WrongReplyText =
                                         "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
                                         "プログラマは、選択したマイコンを認識できませんでした。"};

constexpr BoardCommand kAvrExtendCommand{.Character = 'A',
                                         .TimeoutSeconds = 1,
                                         .Test = ReplyTest::Acknowledge,
                                         .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A",
                                         .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A",
                                         .ReplyTracePrefix = "A_AvrExtend command A : "};

enum class ExchangeEnd { Good, TimedOut, WrongReply };

core::FailureKind KindOf(core::RunContext& context, ExchangeEnd end) {
  if (end == ExchangeEnd::WrongReply) return core::FailureKind::WrongReply;
  return context.Line.ProgrammerPort.IsGone() ? core::FailureKind::PortGone
                                              : core::FailureKind::NoReply;
}

/// A command without a text for its failure says nothing, and sets no flag.
ExchangeEnd Fail(core::RunContext& context, ExchangeEnd end, std::string_view text,
                 std::int16_t& error) {
  if (text.empty()) return end;
  error = 1;
  context.State.Command.LastFailure = text;
  context.State.Command.Failure = KindOf(context, end);
  core::ShowStatus(context, text);
  return end;
}

/// One exchange with its flag and its texts: the reply is in `RxBuf` unless it timed out. Of a
/// reply longer than awaited the rest is ignored.
ExchangeEnd Exchange(core::RunContext& context, const BoardCommand& command,
                     std::initializer_list<std::uint8_t> arguments, std::int16_t& error) {
  ClearInput(context);
  SendText(context, command.Character);
  for (std::size_t i = 0; i < command.InstructionLength; ++i) {
    SendByte(context, command.Instruction[i]);
  }
  for (const std::uint8_t argument : arguments) SendByte(context, argument);
  if (!WaitForBytes(context, command.ReplyCount, command.TimeoutSeconds)) {
    return Fail(context, ExchangeEnd::TimedOut, command.TimeoutText, error);
  }
  ReadReply(context);
  const std::uint8_t first = context.State.RxBuf.front();
  if (!command.ReplyTracePrefix.empty()) {
    core::ShowStatus(context, std::string(command.ReplyTracePrefix) + core::HexByte(first));
  }
  if (command.Test == ReplyTest::Acknowledge && first != kAcknowledge) {
    return Fail(context, ExchangeEnd::WrongReply, command.WrongReplyText, error);
  }
  return ExchangeEnd::Good;
}

bool ReadOneByte(core::RunContext& context, const BoardCommand& command, std::uint8_t& value,
                 std::int16_t& error) {
  if (Exchange(context, command, {}, error) != ExchangeEnd::Good) return false;
  value = context.State.RxBuf[0];
  return true;
}

}  // namespace

void EnterProgrammingMode(core::RunContext& context, std::int16_t& error) {
  context.State.Command.InProgrammingMode = true;
  Exchange(context, kEnterProgrammingMode, {}, error);
}

void LeaveProgrammingMode(core::RunContext& context, std::int16_t& error) {
  const ExchangeEnd end = Exchange(context, kLeaveProgrammingMode, {}, error);
  context.State.Command.InProgrammingMode = false;
  if (end == ExchangeEnd::TimedOut) return;
  constexpr double kSettleSeconds = 0.1;
  Pause(context, kSettleSeconds);
}

bool ExchangeSignature(core::RunContext& context) {
  std::int16_t ignored = 0;
  return Exchange(context, kReadSignature, {}, ignored) == ExchangeEnd::Good;
}

void ReportSignatureTimeout(core::RunContext& context, std::int16_t& error) {
  Fail(context, ExchangeEnd::TimedOut, kSignatureTimeoutText, error);
}

bool ReadProgramWord(core::RunContext& context, std::uint8_t& high, std::uint8_t& low,
                     std::int16_t& error) {
  if (Exchange(context, kReadProgramWord, {}, error) != ExchangeEnd::Good) return false;
  high = context.State.RxBuf[0];
  low = context.State.RxBuf[1];
  return true;
}

void WriteProgramWord(core::RunContext& context, std::uint8_t high, std::uint8_t low,
                      std::int16_t& error) {
  if (Exchange(context, kWriteProgramLow, {low}, error) == ExchangeEnd::TimedOut) return;
  Exchange(context, kWriteProgramHigh, {high}, error);
}

void WriteProgramWordTiny26(core::RunContext& context, std::uint8_t high, std::uint8_t low,
                            std::int16_t& error) {
  Exchange(context, kWriteProgramWordTiny26, {low, high}, error);
}

bool ReadDataByte(core::RunContext& context, std::uint8_t& data, std::int16_t& error) {
  return ReadOneByte(context, kReadDataByte, data, error);
}

void WriteDataByte(core::RunContext& context, std::uint8_t data, std::int16_t& error) {
  Exchange(context, kWriteDataByte, {data}, error);
}

void WriteFuseBits(core::RunContext& context, std::uint8_t value, std::int16_t& error) {
  Exchange(context, kWriteFuseBits, {value}, error);
}

void WriteFuseBitsU(core::RunContext& context, std::uint8_t value, std::int16_t& error) {
  Exchange(context, kWriteFuseBitsU, {value}, error);
}

void WriteFuseHighBits(core::RunContext& context, std::uint8_t value, std::int16_t& error) {
  Exchange(context, kWriteFuseHighBits, {value}, error);
}

void WriteLockBits(core::RunContext& context, std::uint8_t value, std::int16_t& error) {
  Exchange(context, kWriteLockBits, {value}, error);
}

void WriteLockBitsTiny26(core::RunContext& context, std::uint8_t value, std::int16_t& error) {
  Exchange(context, kWriteLockBitsTiny26, {value}, error);
}

bool ReadLockFuseBits(core::RunContext& context, std::uint8_t& value, std::int16_t& error) {
  return ReadOneByte(context, kReadLockFuseBits, value, error);
}

bool ReadFuseBits(core::RunContext& context, std::uint8_t& value, std::int16_t& error) {
  return ReadOneByte(context, kReadFuseBits, value, error);
}

bool ReadFuseHighBits(core::RunContext& context, std::uint8_t& value, std::int16_t& error) {
  return ReadOneByte(context, kReadFuseHighBits, value, error);
}

bool ReadCalibrationByte(core::RunContext& context, std::vector<std::uint8_t>& bytes,
                         std::int16_t& error) {
  if (Exchange(context, kReadCalibrationByte, {}, error) != ExchangeEnd::Good) return false;
  bytes = context.State.RxBuf;
  return true;
}

void SelectAddress(core::RunContext& context, std::int32_t address, std::int16_t& error) {
  const auto high = static_cast<std::uint8_t>(address / 256);
  const auto low = static_cast<std::uint8_t>(address % 256);
  Exchange(context, kSelectAddress, {high, low}, error);
}

void ChipErase(core::RunContext& context, std::int16_t& error) {
  context.State.Command.EraseStarted = true;
  if (Exchange(context, kChipErase, {}, error) == ExchangeEnd::Good)
    context.State.Command.Erased = true;
}

void SelectDevice(core::RunContext& context, std::uint8_t device_code, std::int16_t& error) {
  core::ShowStatus(context,
                   "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x" + core::HexUnpadded(device_code));
  const ExchangeEnd end = Exchange(context, kSelectDevice, {device_code}, error);
  if (end == ExchangeEnd::Good) return;
  context.Screen.MessageDialog.SetText(context.State.StatusText);
  context.Screen.MessageDialog.ShowButton();
}

void AvrExtendCommand(core::RunContext& context, std::int16_t& error) {
  Exchange(context, kAvrExtendCommand, {}, error);
}

void LeaveProgrammingModeIfEntered(core::RunContext& context) {
  if (!context.State.Command.InProgrammingMode) return;
  std::int16_t ignored = 0;
  LeaveProgrammingMode(context, ignored);
}

}  // namespace fenwright::link
