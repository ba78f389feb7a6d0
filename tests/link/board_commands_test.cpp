#include "link/board_commands.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "ops/command.h"
#include "support/test_run.h"

namespace fenwright::link {
namespace {

using testing::Bytes;
using ::testing::ElementsAre;
using testing::Hex;
using ::testing::IsEmpty;
using testing::ScriptedRun;
using testing::ToHex;

constexpr double kOneTurn = 0.006;
constexpr double kReplyDelay = 0.001;

/// One exchange of the board's command set, as the board's manual has it.
struct CommandCase {
  std::string Name;
  std::function<void(core::RunContext&, std::int16_t&)> Call;
  std::string Sent;
  std::string Reply;
  double TimeoutSeconds = 1;
  std::string TimeoutText;
  std::string WrongReplyText{};  ///< "" = the reply is data and never wrong
  std::string ReplyTrace{};      ///< what the trace has before the first reply byte, "" = no line
  std::string TraceBefore{};     ///< the trace line before anything is sent, "" = none
  std::string SentBefore{};      ///< an exchange of the same call before this one, answered 0D
  std::string SentAfter{};       ///< one after it, answered 0D
};

void PrintTo(const CommandCase& row, std::ostream* out) { *out << row.Name; }

const std::vector<CommandCase>& Commands() {
  static const std::vector<CommandCase> rows{
      {.Name = "EnterProgrammingMode",
       .Call = EnterProgrammingMode,
       .Sent = "'P'",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Enter programming Mode P",
       .WrongReplyText = "返答ﾃﾞｰﾀﾐｽ : Enter programming Mode P",
       .ReplyTrace = "Enter programming Mode P : "},
      {.Name = "LeaveProgrammingMode",
       .Call = LeaveProgrammingMode,
       .Sent = "'L'",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Leave programming Mode L",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Leave programming Mode L",
       .ReplyTrace = "Leave programming Mode L : "},
      {.Name = "ReadSignature",
       // The two halves of it; the signature check goes between them.
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             if (!ExchangeSignature(context)) ReportSignatureTimeout(context, error);
           },
       .Sent = "'s'",
       .Reply = "1E 91 03",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Signature bytes s"},
      {.Name = "ReadProgramWord",
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             std::uint8_t high = 0;
             std::uint8_t low = 0;
             ReadProgramWord(context, high, low, error);
           },
       .Sent = "'R'",
       .Reply = "C0 11",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R"},
      {.Name = "WriteProgramWordLowByte",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteProgramWord(context, 0xC0, 0x11, error); },
       .Sent = "'c' 11",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Program Memory c",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c",
       .SentAfter = "'C' C0"},
      {.Name = "WriteProgramWordHighByte",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteProgramWord(context, 0xC0, 0x11, error); },
       .Sent = "'C' C0",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Program Memory C",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Data Memory C",
       .SentBefore = "'c' 11"},
      {.Name = "WriteProgramWordTiny26",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteProgramWordTiny26(context, 0xC0, 0x11, error); },
       .Sent = "'W' 11 C0",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Program Memory Tiny26 W",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory Tiny26"},
      {.Name = "ReadDataByte",
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             std::uint8_t data = 0;
             ReadDataByte(context, data, error);
           },
       .Sent = "'d'",
       .Reply = "A5",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Data Memory d"},
      {.Name = "WriteDataByte",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteDataByte(context, 0xA5, error); },
       .Sent = "'D' A5",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory D",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Data Memory D"},
      {.Name = "WriteFuseBits",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteFuseBits(context, 0xDF, error); },
       .Sent = "'f' DF",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit f",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit f"},
      {.Name = "WriteFuseBitsU",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteFuseBitsU(context, 0x5C, error); },
       .Sent = "'u' 5C",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit u",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit u"},
      {.Name = "WriteFuseHighBits",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteFuseHighBits(context, 0xF7, error); },
       .Sent = "';' AC A8 00 F7",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse Hi bit ;",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse Hi bit ;"},
      {.Name = "WriteLockBits",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteLockBits(context, 0xFD, error); },
       .Sent = "'l' FD",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit l",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit l"},
      {.Name = "WriteLockBitsTiny26",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { WriteLockBitsTiny26(context, 0xFC, error); },
       .Sent = "';' AC E0 00 FC",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit Tiny26 ;",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Lock bit Tiny26"},
      {.Name = "ReadLockFuseBits",
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             std::uint8_t value = 0;
             ReadLockFuseBits(context, value, error);
           },
       .Sent = "'F'",
       .Reply = "07",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Lock & Fuse bit F",
       .ReplyTrace = "Read Lock & Fuse bit F : "},
      {.Name = "ReadFuseBits",
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             std::uint8_t value = 0;
             ReadFuseBits(context, value, error);
           },
       .Sent = "'r'",
       .Reply = "52",
       .TimeoutSeconds = 2,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Fuse bit r"},
      {.Name = "ReadFuseHighBits",
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             std::uint8_t value = 0;
             ReadFuseHighBits(context, value, error);
           },
       .Sent = "':' 58 08 00",
       .Reply = "F7",
       .TimeoutSeconds = 2,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Fuse Hi bit :"},
      {.Name = "ReadCalibrationByte",
       .Call =
           [](core::RunContext& context, std::int16_t& error) {
             std::vector<std::uint8_t> bytes;
             ReadCalibrationByte(context, bytes, error);
           },
       .Sent = "'o'",
       .Reply = "8A 8B 8C 8D",
       .TimeoutSeconds = 2,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Calibration Byte o"},
      {.Name = "SelectAddress",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { SelectAddress(context, 0x1234, error); },
       .Sent = "'a' 12 34",
       .Reply = "0D",
       .TimeoutSeconds = 5,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Address Select A",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Address Select A"},
      {.Name = "ChipErase",
       .Call = ChipErase,
       .Sent = "'e'",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Chip Erase e",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Chip Erase e"},
      {.Name = "SelectDevice",
       .Call = [](core::RunContext& context,
                  std::int16_t& error) { SelectDevice(context, 0x4C, error); },
       .Sent = "'T' 4C",
       .Reply = "0D",
       .TimeoutSeconds = 2,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
                         "プログラマは、選択したマイコンを認識できませんでした。",
       .TraceBefore = "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x4C"},
      {.Name = "AvrExtendCommand",
       .Call = AvrExtendCommand,
       .Sent = "'A'",
       .Reply = "0D",
       .TimeoutSeconds = 1,
       .TimeoutText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A",
       .WrongReplyText = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : A_AvrExtend command A",
       .ReplyTrace = "A_AvrExtend command A : "},
  };
  return rows;
}

/// What one exchange leaves in the port's log: the input cleared, then a write per byte.
void AppendExchange(std::vector<std::string>& log, const std::string& sent) {
  if (sent.empty()) return;
  log.emplace_back("DiscardInput");
  for (const std::uint8_t byte : Hex(sent)) log.push_back("Output " + core::HexByte(byte));
}

class EveryCommand : public ::testing::TestWithParam<CommandCase> {
 protected:
  static void ExpectBefore(ScriptedRun& run) {
    if (!GetParam().SentBefore.empty()) run.Port.Expect(GetParam().SentBefore, "0D", kReplyDelay);
  }
  static void ExpectAfter(ScriptedRun& run) {
    if (!GetParam().SentAfter.empty()) run.Port.Expect(GetParam().SentAfter, "0D", kReplyDelay);
  }
  /// Time spent in the exchange before the one that the row is about.
  static double SecondsBefore() { return GetParam().SentBefore.empty() ? 0 : kReplyDelay; }

  /// Everything that the trace must hold after a call that got that first reply byte, "" = none,
  /// and ended with that text.
  static std::vector<std::string> ExpectedTrace(const std::string& first_reply,
                                                const std::string& text) {
    const CommandCase& row = GetParam();
    std::vector<std::string> lines;
    if (!row.TraceBefore.empty()) lines.push_back(row.TraceBefore);
    if (!row.ReplyTrace.empty() && !first_reply.empty()) {
      lines.push_back(row.ReplyTrace + first_reply);
    }
    if (!text.empty()) lines.push_back(text);
    return lines;
  }

  static void ExpectTimeOutReported(ScriptedRun& run, std::int16_t error) {
    EXPECT_EQ(error, 1);
    EXPECT_EQ(run.NewTrace(), ExpectedTrace("", GetParam().TimeoutText));
    EXPECT_EQ(run.PanelText(screen::Panel::Status), GetParam().TimeoutText);
    EXPECT_EQ(run.State.StatusText, GetParam().TimeoutText);
  }
};

INSTANTIATE_TEST_SUITE_P(Board, EveryCommand, ::testing::ValuesIn(Commands()),
                         [](const auto& row) { return row.param.Name; });

std::vector<CommandCase> CommandsWhere(const std::function<bool(const CommandCase&)>& fits) {
  std::vector<CommandCase> rows;
  std::ranges::copy_if(Commands(), std::back_inserter(rows), fits);
  return rows;
}

class EveryAcknowledgedCommand : public EveryCommand {};

INSTANTIATE_TEST_SUITE_P(Board, EveryAcknowledgedCommand,
                         ::testing::ValuesIn(CommandsWhere([](const CommandCase& row) {
                           return !row.WrongReplyText.empty();
                         })),
                         [](const auto& row) { return row.param.Name; });

class EveryCommandOfOneExchange : public EveryCommand {};

INSTANTIATE_TEST_SUITE_P(Board, EveryCommandOfOneExchange,
                         ::testing::ValuesIn(CommandsWhere([](const CommandCase& row) {
                           return row.SentBefore.empty() && row.SentAfter.empty();
                         })),
                         [](const auto& row) { return row.param.Name; });

TEST_P(EveryCommand, ClearsTheInputAndSendsEachByteInAWriteOfItsOwn) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply);
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  std::vector<std::string> log;
  AppendExchange(log, row.SentBefore);
  AppendExchange(log, row.Sent);
  AppendExchange(log, row.SentAfter);
  EXPECT_EQ(run.Port.Log, log);
}

TEST_P(EveryCommand, SucceedsOnItsReplyWithNoWordButTheTracedByte) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply);
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(run.NewTrace(), ExpectedTrace(core::HexByte(Hex(row.Reply).front()), ""));
  EXPECT_FALSE(run.Dialog.Loaded);
  EXPECT_TRUE(run.Boxes.Boxes.empty());
}

TEST_P(EveryCommand, NeverClearsTheFlagOnSuccess) {
  const CommandCase& row = GetParam();
  for (const std::int16_t before : {std::int16_t{1}, std::int16_t{2}}) {
    ScriptedRun run;
    ExpectBefore(run);
    run.Port.Expect(row.Sent, row.Reply);
    ExpectAfter(run);
    std::int16_t error = before;
    row.Call(run.Context, error);
    EXPECT_EQ(error, before);
  }
}

TEST_P(EveryCommand, OnASilentBoardWaitsItsWholeTimeOutAndSaysSo) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  ExpectTimeOutReported(run, error);
  const double waited = run.Clock.Elapsed() - SecondsBefore();
  EXPECT_GT(waited, row.TimeoutSeconds - 1e-6);
  EXPECT_LT(waited, row.TimeoutSeconds + kOneTurn);
}

TEST_P(EveryCommand, TimesOutWhenTheLastReplyByteIsMissing) {
  const CommandCase& row = GetParam();
  Bytes reply = Hex(row.Reply);
  reply.pop_back();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, ToHex(reply));
  std::int16_t error = 0;
  row.Call(run.Context, error);
  ExpectTimeOutReported(run, error);
}

TEST_P(EveryCommand, AcceptsAReplyThatComesJustInTime) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply, row.TimeoutSeconds - 0.001);
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
}

TEST_P(EveryCommand, DoesNotWaitForAReplyThatComesTooLate) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply, row.TimeoutSeconds + 0.1);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  ExpectTimeOutReported(run, error);
}

TEST_P(EveryCommand, AcceptsAReplyInPieces) {
  const CommandCase& row = GetParam();
  std::vector<testing::ScriptedPort::Part> parts;
  for (const std::uint8_t byte : Hex(row.Reply)) parts.push_back({.Delay = 0.2, .Data = {byte}});
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.ExpectParts(row.Sent, parts);
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(run.NewTrace(), ExpectedTrace(core::HexByte(Hex(row.Reply).front()), ""));
}

TEST_P(EveryCommand, IgnoresBytesBeyondTheReply) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply + " 3F 77");
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(run.NewTrace(), ExpectedTrace(core::HexByte(Hex(row.Reply).front()), ""));
}

TEST_P(EveryCommand, IsNotMisledByBytesThatCameBeforeIt) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  run.Port.Expect("'x'", "3F 3F 3F 3F 3F", 0);
  run.Port.Output(Hex("'x'"));
  ASSERT_EQ(run.Port.InBufferCount(), 5);
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply);
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
  if (row.SentAfter.empty() && row.SentBefore.empty()) {
    EXPECT_EQ(run.State.RxBuf, Hex(row.Reply));
  }
}

TEST_P(EveryCommand, TestsItsFirstReplyByteOrTakesItAsData) {
  const CommandCase& row = GetParam();
  for (const std::uint8_t wrong : Hex("3F 00 0A 0C 8D FF")) {
    Bytes reply = Hex(row.Reply);
    reply.front() = wrong;
    ScriptedRun run;
    ExpectBefore(run);
    run.Port.Expect(row.Sent, ToHex(reply));
    ExpectAfter(run);
    std::int16_t error = 0;
    row.Call(run.Context, error);
    EXPECT_EQ(error, row.WrongReplyText.empty() ? 0 : 1);
    EXPECT_EQ(run.NewTrace(), ExpectedTrace(core::HexByte(wrong), row.WrongReplyText));
    if (!row.WrongReplyText.empty()) {
      EXPECT_EQ(run.State.StatusText, row.WrongReplyText);
    }
  }
}

TEST_P(EveryAcknowledgedCommand, IsNotSatisfiedByAnAcknowledgementBehindAWrongByte) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, "3F 0D");
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 1);
}

TEST_P(EveryCommand, OnALineThatGoesFailsAtOnceAsItsTimeOutDoes) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent).ThenHangUp();
  std::int16_t error = 0;
  row.Call(run.Context, error);
  ExpectTimeOutReported(run, error);
  EXPECT_LT(run.Clock.Elapsed() - SecondsBefore(), 2 * kOneTurn);
}

TEST_P(EveryCommandOfOneExchange, TakesAReplyThatArrivedBeforeTheLineWent) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply, 0).ThenHangUp();
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
}

TEST_P(EveryCommand, IsSentOnceWhateverHappens) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  Bytes sent = Hex(row.SentBefore);
  const Bytes last = Hex(row.Sent);
  sent.insert(sent.end(), last.begin(), last.end());
  EXPECT_EQ(run.Port.Sent, sent);
}

TEST_P(EveryCommand, StartedBeforeMidnightWaitsUntilTheReplyIsThere) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  run.Clock.Set(86399.5);
  ExpectBefore(run);
  run.Port.Expect(row.Sent, row.Reply, 20);
  ExpectAfter(run);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(error, 0);
  EXPECT_GT(run.Clock.Elapsed(), 20 - 1e-6);
}

TEST_P(EveryCommand, SendsNothingOnceAStopIsRequested) {
  ScriptedRun run;
  run.State.StopRequested = true;
  std::int16_t error = 0;
  EXPECT_THROW(GetParam().Call(run.Context, error), core::CommandEnd);
  EXPECT_THAT(run.Port.Sent, IsEmpty());
  EXPECT_EQ(error, 0);
}

TEST_P(EveryCommandOfOneExchange, FinishesTheExchangeInWhichAStopIsRequested) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  run.Port.Expect(row.Sent, row.Reply, 0.02);
  run.Events.OnTurn = [&] { run.State.StopRequested = true; };
  std::int16_t error = 0;
  EXPECT_NO_THROW(row.Call(run.Context, error));
  EXPECT_EQ(error, 0);
  EXPECT_EQ(run.State.RxBuf, Hex(row.Reply));
}

TEST_P(EveryCommand, ShowsNoDialogOfItsOwnOnFailureExceptTheDeviceSelection) {
  const CommandCase& row = GetParam();
  ScriptedRun run;
  ExpectBefore(run);
  run.Port.Expect(row.Sent);
  std::int16_t error = 0;
  row.Call(run.Context, error);
  EXPECT_EQ(run.Dialog.Loaded, row.Name == "SelectDevice");
  EXPECT_THAT(run.Dialog.Shown, IsEmpty());
  EXPECT_THAT(run.Boxes.Boxes, IsEmpty());
}

// Surplus bytes.

TEST(SurplusBytes, StayInTheReplyBufferUntilTheNextRead) {
  ScriptedRun run;
  run.Port.Expect("'d'", "12 99 98");
  std::uint8_t data = 0;
  std::int16_t error = 0;
  ASSERT_TRUE(ReadDataByte(run.Context, data, error));
  EXPECT_EQ(data, 0x12);
  EXPECT_EQ(run.State.RxBuf, Hex("12 99 98"));
}

TEST(SurplusBytes, ThatComeAfterTheReadAreDiscardedByTheNextCommand) {
  ScriptedRun run;
  run.Port
      .ExpectParts("'d'",
                   {{.Delay = 0.001, .Data = Hex("12")}, {.Delay = 0.001, .Data = Hex("99")}})
      .Expect("'d'", "34");
  std::uint8_t data = 0;
  std::int16_t error = 0;
  ASSERT_TRUE(ReadDataByte(run.Context, data, error));
  EXPECT_EQ(run.State.RxBuf, Hex("12"));
  run.Clock.Advance(0.01);
  ASSERT_EQ(run.Port.InBufferCount(), 1);
  ASSERT_TRUE(ReadDataByte(run.Context, data, error));
  EXPECT_EQ(data, 0x34);
  EXPECT_EQ(error, 0);
}

TEST(LateReply, OfATimedOutCommandIsDiscardedByTheNextOne) {
  ScriptedRun run;
  run.Port.Expect("'e'", "0D", 1.5).Expect("'d'", "34");
  std::int16_t error = 0;
  ChipErase(run.Context, error);
  EXPECT_EQ(error, 1);
  run.Clock.Advance(1);
  std::uint8_t data = 0;
  ASSERT_TRUE(ReadDataByte(run.Context, data, error));
  EXPECT_EQ(data, 0x34);
}

// Results.

TEST(ReadProgramWord, HandsBackTheHighByteFirst) {
  ScriptedRun run;
  run.Port.Expect("'R'", "C0 11");
  std::uint8_t high = 0;
  std::uint8_t low = 0;
  std::int16_t error = 0;
  EXPECT_TRUE(ReadProgramWord(run.Context, high, low, error));
  EXPECT_EQ(high, 0xC0);
  EXPECT_EQ(low, 0x11);
}

TEST(ReadProgramWord, LeavesTheBytesAloneOnATimeOut) {
  ScriptedRun run;
  run.Port.Expect("'R'", "C0");
  std::uint8_t high = 0x77;
  std::uint8_t low = 0x88;
  std::int16_t error = 0;
  EXPECT_FALSE(ReadProgramWord(run.Context, high, low, error));
  EXPECT_EQ(high, 0x77);
  EXPECT_EQ(low, 0x88);
}

struct OneByteRead {
  std::string Name;
  bool (*Read)(core::RunContext&, std::uint8_t&, std::int16_t&);
  std::string Sent;
};

class EveryOneByteRead : public ::testing::TestWithParam<OneByteRead> {};

INSTANTIATE_TEST_SUITE_P(
    Board, EveryOneByteRead,
    ::testing::Values(
        OneByteRead{.Name = "ReadDataByte", .Read = ReadDataByte, .Sent = "'d'"},
        OneByteRead{.Name = "ReadLockFuseBits", .Read = ReadLockFuseBits, .Sent = "'F'"},
        OneByteRead{.Name = "ReadFuseBits", .Read = ReadFuseBits, .Sent = "'r'"},
        OneByteRead{.Name = "ReadFuseHighBits", .Read = ReadFuseHighBits, .Sent = "':' 58 08 00"}),
    [](const auto& row) { return row.param.Name; });

TEST_P(EveryOneByteRead, HandsBackWhateverByteWasRead) {
  for (const std::uint8_t byte : Hex("00 0D 3F FF")) {
    ScriptedRun run;
    run.Port.Expect(GetParam().Sent, core::HexByte(byte));
    std::uint8_t value = 0x77;
    std::int16_t error = 0;
    EXPECT_TRUE(GetParam().Read(run.Context, value, error));
    EXPECT_EQ(value, byte);
    EXPECT_EQ(error, 0);
  }
}

TEST_P(EveryOneByteRead, LeavesTheByteAloneOnATimeOut) {
  ScriptedRun run;
  run.Port.Expect(GetParam().Sent);
  std::uint8_t value = 0x77;
  std::int16_t error = 0;
  EXPECT_FALSE(GetParam().Read(run.Context, value, error));
  EXPECT_EQ(value, 0x77);
  EXPECT_EQ(error, 1);
}

TEST(ReadLockFuseBits, TracesTheByteWithTwoUpperCaseDigits) {
  for (const char* byte : {"00", "05", "AF"}) {
    ScriptedRun run;
    run.Port.Expect("'F'", byte);
    std::uint8_t value = 0;
    std::int16_t error = 0;
    ReadLockFuseBits(run.Context, value, error);
    EXPECT_THAT(run.NewTrace(), ElementsAre(std::string("Read Lock & Fuse bit F : ") + byte));
  }
}

TEST(ReadCalibrationByte, HandsBackEveryByteThatHasArrived) {
  ScriptedRun run;
  run.Port.Expect("'o'", "8A 8B 8C 8D 0D 42");
  std::vector<std::uint8_t> bytes(9, 0);
  std::int16_t error = 0;
  EXPECT_TRUE(ReadCalibrationByte(run.Context, bytes, error));
  EXPECT_EQ(bytes, Hex("8A 8B 8C 8D 0D 42"));
}

TEST(ReadCalibrationByte, LeavesTheBytesAloneWhenOnlyThreeCome) {
  ScriptedRun run;
  run.Port.Expect("'o'", "8A 8B 8C");
  std::vector<std::uint8_t> bytes{1, 2};
  std::int16_t error = 0;
  EXPECT_FALSE(ReadCalibrationByte(run.Context, bytes, error));
  EXPECT_THAT(bytes, ElementsAre(1, 2));
  EXPECT_EQ(error, 1);
}

TEST(ExchangeSignature, LeavesThreeBytesAndSaysNothing) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91 03");
  EXPECT_TRUE(ExchangeSignature(run.Context));
  EXPECT_EQ(run.State.RxBuf, Hex("1E 91 03"));
  EXPECT_THAT(run.NewTrace(), IsEmpty());
}

TEST(ExchangeSignature, OnATimeOutSaysNothingEither) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91");
  EXPECT_FALSE(ExchangeSignature(run.Context));
  EXPECT_THAT(run.NewTrace(), IsEmpty());
  EXPECT_EQ(run.State.LinkError, 0);
}

// Programming mode.

TEST(LeaveProgrammingMode, PausesAfterARightReply) {
  ScriptedRun run;
  run.Port.Expect("'L'", "0D", kReplyDelay);
  std::int16_t error = 0;
  LeaveProgrammingMode(run.Context, error);
  EXPECT_EQ(error, 0);
  EXPECT_NEAR(run.Clock.Elapsed(), kReplyDelay + 0.1, 1e-3);
}

TEST(LeaveProgrammingMode, PausesAfterAWrongReplyToo) {
  ScriptedRun run;
  run.Port.Expect("'L'", "3F", kReplyDelay);
  std::int16_t error = 0;
  LeaveProgrammingMode(run.Context, error);
  EXPECT_EQ(error, 1);
  EXPECT_NEAR(run.Clock.Elapsed(), kReplyDelay + 0.1, 1e-3);
}

TEST(LeaveProgrammingMode, DoesNotPauseAfterATimeOut) {
  ScriptedRun run;
  run.Port.Expect("'L'");
  std::int16_t error = 0;
  LeaveProgrammingMode(run.Context, error);
  EXPECT_EQ(error, 1);
  EXPECT_LT(run.Clock.Elapsed(), 1 + kOneTurn);
}

TEST(LeaveProgrammingMode, RestartsTheWaitTimeWithItsPause) {
  ScriptedRun run;
  run.Clock.Set(500);
  run.Port.Expect("'L'", "0D", 0.25);
  std::int16_t error = 0;
  LeaveProgrammingMode(run.Context, error);
  EXPECT_NEAR(run.State.WaitStart, 500.25, 1e-3);
}

TEST(LeaveProgrammingMode, EndsItsPauseAtMidnight) {
  ScriptedRun run;
  run.Clock.Set(86399.96);
  run.Port.Expect("'L'", "0D", kReplyDelay);
  std::int16_t error = 0;
  LeaveProgrammingMode(run.Context, error);
  EXPECT_EQ(error, 0);
  EXPECT_LT(run.Clock.Elapsed(), 0.2);
}

TEST(LeaveProgrammingModeIfEntered, SendsNothingWhenTheModeWasNeverEntered) {
  ScriptedRun run;
  LeaveProgrammingModeIfEntered(run.Context);
  EXPECT_THAT(run.Port.Log, IsEmpty());
}

TEST(LeaveProgrammingModeIfEntered, LeavesTheModeOnce) {
  ScriptedRun run;
  run.Port.Expect("'P'", "0D").Expect("'L'", "0D");
  std::int16_t error = 0;
  EnterProgrammingMode(run.Context, error);
  EXPECT_TRUE(run.State.Command.InProgrammingMode);
  LeaveProgrammingModeIfEntered(run.Context);
  EXPECT_FALSE(run.State.Command.InProgrammingMode);
  LeaveProgrammingModeIfEntered(run.Context);
}

TEST(LeaveProgrammingModeIfEntered, SendsNothingAfterAnOrdinaryLeave) {
  ScriptedRun run;
  run.Port.Expect("'P'", "0D").Expect("'L'", "0D");
  std::int16_t error = 0;
  EnterProgrammingMode(run.Context, error);
  LeaveProgrammingMode(run.Context, error);
  LeaveProgrammingModeIfEntered(run.Context);
}

TEST(LeaveProgrammingModeIfEntered, LeavesTheModeWhateverTheFlagSays) {
  ScriptedRun run;
  run.Port.Expect("'P'").Expect("'L'", "0D");
  EnterProgrammingMode(run.Context, run.State.LinkError);
  ASSERT_EQ(run.State.LinkError, 1) << "a board that took \"P\" and lost its reply is in the mode";
  LeaveProgrammingModeIfEntered(run.Context);
  EXPECT_EQ(run.State.LinkError, 1);
}

TEST(LeaveProgrammingModeIfEntered, DoesNotSetTheFlagItself) {
  ScriptedRun run;
  run.Port.Expect("'P'", "0D").Expect("'L'", "3F");
  EnterProgrammingMode(run.Context, run.State.LinkError);
  LeaveProgrammingModeIfEntered(run.Context);
  EXPECT_EQ(run.State.LinkError, 0);
}

TEST(StopRequest, InProgrammingModeIsFollowedByLeavingIt) {
  ScriptedRun run;
  run.Port.Expect("'P'", "0D").Expect("'d'", "11").Expect("'L'", "0D");
  const core::CommandEnding ending = ops::RunCommand(run.Context, [&](core::RunContext&) {
    std::uint8_t data = 0;
    EnterProgrammingMode(run.Context, run.State.LinkError);
    run.Events.OnTurn = [&] { run.State.StopRequested = true; };
    ReadDataByte(run.Context, data, run.State.LinkError);
    run.Events.OnTurn = nullptr;
    ReadDataByte(run.Context, data, run.State.LinkError);
    ADD_FAILURE() << "an exchange was started after the stop request";
  });
  EXPECT_EQ(ending, core::CommandEnding::Stopped);
}

// Writing a flash word.

TEST(WriteProgramWord, SendsTheLowByteFirst) {
  ScriptedRun run;
  run.Port.Expect("'c' 11", "0D").Expect("'C' C0", "0D");
  std::int16_t error = 0;
  WriteProgramWord(run.Context, 0xC0, 0x11, error);
  EXPECT_EQ(error, 0);
  EXPECT_THAT(run.NewTrace(), IsEmpty());
}

TEST(WriteProgramWord, SendsNoHighByteAfterATimeOutOfTheLowByte) {
  ScriptedRun run;
  run.Port.Expect("'c' 11");
  std::int16_t error = 0;
  WriteProgramWord(run.Context, 0xC0, 0x11, error);
  EXPECT_EQ(error, 1);
  EXPECT_EQ(run.Port.Sent, Hex("'c' 11"));
  EXPECT_THAT(run.NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Program Memory c"));
}

TEST(WriteProgramWord, StillSendsTheHighByteAfterAWrongReplyToTheLowByte) {
  ScriptedRun run;
  run.Port.Expect("'c' 11", "3F").Expect("'C' C0", "0D");
  std::int16_t error = 0;
  WriteProgramWord(run.Context, 0xC0, 0x11, error);
  EXPECT_EQ(error, 1);
  EXPECT_THAT(run.NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c"));
}

TEST(WriteProgramWord, ReportsBothBytesInTwoLinesUnderOneFlag) {
  ScriptedRun run;
  run.Port.Expect("'c' 11", "3F").Expect("'C' C0", "3F");
  std::int16_t error = 0;
  WriteProgramWord(run.Context, 0xC0, 0x11, error);
  EXPECT_EQ(error, 1);
  EXPECT_THAT(run.NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c",
                                          "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Data Memory C"));
}

TEST(WriteProgramWord, WithAWrongLowByteAndASilentHighByteReportsBoth) {
  ScriptedRun run;
  run.Port.Expect("'c' 11", "3F").Expect("'C' C0");
  std::int16_t error = 0;
  WriteProgramWord(run.Context, 0xC0, 0x11, error);
  EXPECT_EQ(error, 1);
  EXPECT_THAT(run.NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c",
                                          "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Program Memory C"));
}

TEST(WriteProgramWord, IsEndedBetweenItsExchangesByAStopRequest) {
  ScriptedRun run;
  run.Port.Expect("'c' 11", "0D");
  run.Events.OnTurn = [&] { run.State.StopRequested = true; };
  std::int16_t error = 0;
  EXPECT_THROW(WriteProgramWord(run.Context, 0xC0, 0x11, error), core::CommandEnd);
  EXPECT_EQ(run.Port.Sent, Hex("'c' 11"));
}

// Addresses.

TEST(SelectAddress, SendsTheHighByteFirst) {
  const std::vector<std::pair<std::int32_t, std::string>> rows{
      {0, "00 00"},   {1, "00 01"},    {255, "00 FF"},    {256, "01 00"},
      {257, "01 01"}, {4095, "0F FF"}, {0x1234, "12 34"}, {0xFFFF, "FF FF"}};
  for (const auto& [address, bytes] : rows) {
    ScriptedRun run;
    run.Port.Expect("'a' " + bytes, "0D");
    std::int16_t error = 0;
    SelectAddress(run.Context, address, error);
    EXPECT_EQ(error, 0) << address;
  }
}

TEST(SelectAddress, SendsEachByteInAWriteOfItsOwn) {
  ScriptedRun run;
  run.Port.Expect("'a' 12 34", "0D");
  std::int16_t error = 0;
  SelectAddress(run.Context, 0x1234, error);
  EXPECT_THAT(run.Port.Log, ElementsAre("DiscardInput", "Output 61", "Output 12", "Output 34"));
}

// Erasing.

TEST(ChipErase, NotesWhatHasBecomeOfTheChip) {
  for (const char* reply : {"0D", "3F", ""}) {
    ScriptedRun run;
    run.Port.Expect("'e'", reply);
    std::int16_t error = 0;
    ChipErase(run.Context, error);
    EXPECT_TRUE(run.State.Command.EraseStarted);
    EXPECT_EQ(run.State.Command.Erased, std::string(reply) == "0D");
  }
}

// Selecting the device.

TEST(SelectDevice, TracesTheDeviceCodeWithoutPadding) {
  const std::vector<std::pair<std::uint8_t, std::string>> rows{
      {0, "0"}, {5, "5"}, {0x0F, "F"}, {0x10, "10"}, {0x13, "13"}, {0x6C, "6C"}, {0xFF, "FF"}};
  for (const auto& [code, digits] : rows) {
    ScriptedRun run;
    run.Port.Expect("'T' " + core::HexByte(code), "0D");
    std::int16_t error = 0;
    SelectDevice(run.Context, code, error);
    EXPECT_THAT(run.NewTrace(), ElementsAre("ｺﾏﾝﾄﾞ送信 : Select device command T , 0x" + digits));
  }
}

TEST(SelectDevice, TracesBeforeItSends) {
  ScriptedRun run;
  run.State.StopRequested = true;
  std::int16_t error = 0;
  EXPECT_THROW(SelectDevice(run.Context, 5, error), core::CommandEnd);
  EXPECT_THAT(run.NewTrace(), ElementsAre("ｺﾏﾝﾄﾞ送信 : Select device command T , 0x5"));
}

TEST(SelectDevice, SendsTheCodeOfEveryDeviceInTheCatalogue) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    ScriptedRun run;
    run.Port.Expect("'T' " + core::HexByte(device.DeviceCode), "0D");
    std::int16_t error = 0;
    SelectDevice(run.Context, device.DeviceCode, error);
    EXPECT_EQ(error, 0) << device.DisplayName;
  }
}

TEST(SelectDevice, ShowsItsTimeOutInTheDialogWithAButton) {
  ScriptedRun run;
  run.Dialog.Show("busy", screen::MessageMode::Busy);
  run.Port.Expect("'T' 4C");
  std::int16_t error = 0;
  SelectDevice(run.Context, 0x4C, error);
  EXPECT_EQ(run.Dialog.Text, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T");
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_TRUE(run.Dialog.Loaded);
  EXPECT_EQ(run.State.StatusText, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T");
}

TEST(SelectDevice, ShowsItsRefusalInTheDialogWithAButton) {
  const std::string text =
      "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
      "プログラマは、選択したマイコンを認識できませんでした。";
  ScriptedRun run;
  run.Dialog.Show("busy", screen::MessageMode::Busy);
  run.Port.Expect("'T' 4C", "3F");
  std::int16_t error = 0;
  SelectDevice(run.Context, 0x4C, error);
  EXPECT_EQ(run.Dialog.Text, text);
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_EQ(run.State.StatusText, text);
  EXPECT_EQ(run.PanelText(screen::Panel::Status), text);
}

TEST(SelectDevice, LeavesTheDialogAloneOnSuccess) {
  ScriptedRun run;
  run.Dialog.Show("busy", screen::MessageMode::Busy);
  run.Port.Expect("'T' 4C", "0D");
  std::int16_t error = 0;
  SelectDevice(run.Context, 0x4C, error);
  EXPECT_EQ(run.Dialog.Text, "busy");
  EXPECT_FALSE(run.Dialog.ButtonVisible);
}

// A board at the other end.

TEST(CommandsOnABoard, WriteAndReadAWordOfEveryDevice) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    testing::BoardRun run(device.DisplayName);
    ASSERT_EQ(run.Port.Open().Status, platform::PortOpenStatus::Ok);
    std::int16_t error = 0;
    AvrExtendCommand(run.Context, error);
    SelectDevice(run.Context, device.DeviceCode, error);
    EnterProgrammingMode(run.Context, error);
    ChipErase(run.Context, error);
    SelectAddress(run.Context, 3, error);
    if (device.DisplayName == "ATtiny26L") {
      WriteProgramWordTiny26(run.Context, 0xC0, 0x11, error);
    } else {
      WriteProgramWord(run.Context, 0xC0, 0x11, error);
    }
    SelectAddress(run.Context, 3, error);
    std::uint8_t high = 0;
    std::uint8_t low = 0;
    EXPECT_TRUE(ReadProgramWord(run.Context, high, low, error));
    SelectAddress(run.Context, 2, error);
    WriteDataByte(run.Context, 0x5A, error);
    SelectAddress(run.Context, 2, error);
    std::uint8_t data = 0;
    EXPECT_TRUE(ReadDataByte(run.Context, data, error));
    LeaveProgrammingMode(run.Context, error);
    EXPECT_EQ(error, 0) << device.DisplayName;
    EXPECT_EQ(high, 0xC0) << device.DisplayName;
    EXPECT_EQ(low, 0x11) << device.DisplayName;
    EXPECT_EQ(data, 0x5A) << device.DisplayName;
    EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode()) << device.DisplayName;
  }
}

}  // namespace
}  // namespace fenwright::link
