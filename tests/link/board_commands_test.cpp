#include "link/board_commands.h"

#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "link/link_test.h"
#include "ops/command.h"

namespace fenwright::link {
namespace {

constexpr double kReplyDelay = 0.001;

using Command = std::function<void(core::RunContext&, std::int16_t&)>;

/// One exchange of the board's command set, as the board's manual has it.
struct CommandCase {
  std::string Name;
  Command Call;
  std::string Sent;
  std::string Reply;
  double TimeoutSeconds;
  std::string TimeoutText;
  std::string WrongReplyText{};  ///< "" = the reply is data and never wrong
  std::string ReplyTrace{};      ///< what the trace has before the first reply byte, "" = no line
  std::string TraceBefore{};     ///< the trace line before anything is sent, "" = none
  std::string SentBefore{};      ///< an exchange of the same call before this one, answered 0D
  std::string SentAfter{};       ///< one after it, answered 0D
};

void PrintTo(const CommandCase& row, std::ostream* out) { *out << row.Name; }

/// A command that sends a value.
template <typename Value>
Command Sending(void (*command)(core::RunContext&, Value, std::int16_t&),
                std::type_identity_t<Value> value) {
  return [=](core::RunContext& context, std::int16_t& error) { command(context, value, error); };
}

/// A command that sends the word C011.
Command SendingWord(void (*command)(core::RunContext&, std::uint8_t, std::uint8_t, std::int16_t&)) {
  return
      [=](core::RunContext& context, std::int16_t& error) { command(context, 0xC0, 0x11, error); };
}

/// A command whose result nobody looks at.
template <typename Result>
Command Reading(bool (*command)(core::RunContext&, Result&, std::int16_t&)) {
  return [=](core::RunContext& context, std::int16_t& error) {
    Result result{};
    command(context, result, error);
  };
}

void ReadSomeWord(core::RunContext& context, std::int16_t& error) {
  std::uint8_t high = 0;
  std::uint8_t low = 0;
  ReadProgramWord(context, high, low, error);
}

/// The two halves of reading the signature; the signature check goes between them.
void ReadWholeSignature(core::RunContext& context, std::int16_t& error) {
  if (!ExchangeSignature(context)) ReportSignatureTimeout(context, error);
}

const std::vector<CommandCase>& Commands() {
  static const std::string failed = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : ";
  static const std::vector<CommandCase> rows{
      {"EnterProgrammingMode", EnterProgrammingMode, "'P'", "0D", 1,
       failed + "Enter programming Mode P", "返答ﾃﾞｰﾀﾐｽ : Enter programming Mode P",
       "Enter programming Mode P : "},
      {"LeaveProgrammingMode", LeaveProgrammingMode, "'L'", "0D", 1,
       failed + "Leave programming Mode L", failed + "Leave programming Mode L",
       "Leave programming Mode L : "},
      {"ReadSignature", ReadWholeSignature, "'s'", "1E 91 03", 1,
       failed + "Read Signature bytes s"},
      {"ReadProgramWord", ReadSomeWord, "'R'", "C0 11", 5, failed + "Read Program Memory R"},
      {"WriteProgramWordLowByte", SendingWord(WriteProgramWord), "'c' 11", "0D", 5,
       failed + "Low byte Write Program Memory c", failed + "Low byte Write Data Memory c", "", "",
       "", "'C' C0"},
      {"WriteProgramWordHighByte", SendingWord(WriteProgramWord), "'C' C0", "0D", 5,
       failed + "Hi byte Write Program Memory C", failed + "Hi byte Write Data Memory C", "", "",
       "'c' 11"},
      {"WriteProgramWordTiny26", SendingWord(WriteProgramWordTiny26), "'W' 11 C0", "0D", 5,
       failed + "Write Program Memory Tiny26 W", failed + "Write Data Memory Tiny26"},
      {"ReadDataByte", Reading(ReadDataByte), "'d'", "A5", 5, failed + "Read Data Memory d"},
      {"WriteDataByte", Sending(WriteDataByte, 0xA5), "'D' A5", "0D", 5,
       failed + "Write Data Memory D", failed + "Write Data Memory D"},
      {"WriteFuseBits", Sending(WriteFuseBits, 0xDF), "'f' DF", "0D", 1,
       failed + "Write Fuse bit f", failed + "Write Fuse bit f"},
      {"WriteFuseBitsU", Sending(WriteFuseBitsU, 0x5C), "'u' 5C", "0D", 1,
       failed + "Write Fuse bit u", failed + "Write Fuse bit u"},
      {"WriteFuseHighBits", Sending(WriteFuseHighBits, 0xF7), "';' AC A8 00 F7", "0D", 1,
       failed + "Write Fuse Hi bit ;", failed + "Write Fuse Hi bit ;"},
      {"WriteLockBits", Sending(WriteLockBits, 0xFD), "'l' FD", "0D", 5,
       failed + "Write Lock bit l", failed + "Write Lock bit l"},
      {"WriteLockBitsTiny26", Sending(WriteLockBitsTiny26, 0xFC), "';' AC E0 00 FC", "0D", 5,
       failed + "Write Lock bit Tiny26 ;", failed + "Write Lock bit Tiny26"},
      {"ReadLockFuseBits", Reading(ReadLockFuseBits), "'F'", "07", 5,
       failed + "Read Lock & Fuse bit F", "", "Read Lock & Fuse bit F : "},
      {"ReadFuseBits", Reading(ReadFuseBits), "'r'", "52", 2, failed + "Read Fuse bit r"},
      {"ReadFuseHighBits", Reading(ReadFuseHighBits), "':' 58 08 00", "F7", 2,
       failed + "Read Fuse Hi bit :"},
      {"ReadCalibrationByte", Reading(ReadCalibrationByte), "'o'", "8A 8B 8C 8D", 2,
       failed + "Read Calibration Byte o"},
      {"SelectAddress", Sending(SelectAddress, 0x1234), "'a' 12 34", "0D", 5,
       failed + "Address Select A", failed + "Address Select A"},
      {"ChipErase", ChipErase, "'e'", "0D", 1, failed + "Chip Erase e", failed + "Chip Erase e"},
      {"SelectDevice", Sending(SelectDevice, 0x4C), "'T' 4C", "0D", 2,
       failed + "Select device command T",
       failed + "Select device command T \r\n"
                "プログラマは、選択したマイコンを認識できませんでした。",
       "", "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x4C"},
      {"AvrExtendCommand", AvrExtendCommand, "'A'", "0D", 1, failed + "A_AvrExtend command A",
       failed + "A_AvrExtend command A", "A_AvrExtend command A : "},
  };
  return rows;
}

/// What one exchange leaves in the port's log: the input cleared, then a write per byte.
void AppendExchange(Texts& log, const std::string& sent) {
  if (sent.empty()) return;
  log.emplace_back("DiscardInput");
  for (const std::uint8_t byte : Hex(sent)) log.push_back("Output " + core::HexByte(byte));
}

class EveryCommand : public TestWithParam<CommandCase>, protected ScriptedRun {
 protected:
  /// Lets the board expect the row's exchange, and answer it with `reply` after `delay`.
  ScriptedPort& Expect(const std::string& reply, double delay = kReplyDelay) {
    if (!Row.SentBefore.empty()) Port.Expect(Row.SentBefore, "0D", kReplyDelay);
    return Port.Expect(Row.Sent, reply, delay);
  }
  /// Calls the command on a board that has been told what to answer; its next exchange follows.
  void CallOnAnswer() {
    if (!Row.SentAfter.empty()) Port.Expect(Row.SentAfter, "0D", kReplyDelay);
    Call();
  }
  void Call() { Row.Call(Context, Error); }
  void CallAnswered(const std::string& reply, double delay = kReplyDelay) {
    Expect(reply, delay);
    CallOnAnswer();
  }
  /// The same with too little of an answer, or too late a one: nothing more is sent.
  void CallUnanswered(const std::string& reply = "", double delay = kReplyDelay) {
    Expect(reply, delay);
    Call();
  }
  /// Time spent in the row's own exchange.
  [[nodiscard]] double Waited() const {
    return Clock.Elapsed() - (Row.SentBefore.empty() ? 0 : kReplyDelay);
  }

  /// Everything that the trace must hold after a call that got that first reply byte, "" = none,
  /// and ended with that text.
  [[nodiscard]] Texts ExpectedTrace(const std::string& first_reply, const std::string& text) const {
    Texts lines;
    if (!Row.TraceBefore.empty()) lines.push_back(Row.TraceBefore);
    if (!Row.ReplyTrace.empty() && !first_reply.empty()) {
      lines.push_back(Row.ReplyTrace + first_reply);
    }
    if (!text.empty()) lines.push_back(text);
    return lines;
  }
  void ExpectSuccess() {
    EXPECT_EQ(Error, 0);
    EXPECT_EQ(NewTrace(), ExpectedTrace(core::HexByte(Hex(Row.Reply).front()), ""));
  }
  void ExpectTimeOutReported() {
    EXPECT_EQ(Error, 1);
    EXPECT_EQ(NewTrace(), ExpectedTrace("", Row.TimeoutText));
    EXPECT_EQ(PanelText(Panel::Status), Row.TimeoutText);
    EXPECT_EQ(State.StatusText, Row.TimeoutText);
  }

  const CommandCase& Row = GetParam();
  std::int16_t Error = 0;
};

std::vector<CommandCase> CommandsWhere(const std::function<bool(const CommandCase&)>& fits) {
  std::vector<CommandCase> rows;
  std::ranges::copy_if(Commands(), std::back_inserter(rows), fits);
  return rows;
}

const auto kNameOfRow = [](const auto& row) { return row.param.Name; };

INSTANTIATE_TEST_SUITE_P(Board, EveryCommand, ValuesIn(Commands()), kNameOfRow);

class EveryAcknowledgedCommand : public EveryCommand {};

INSTANTIATE_TEST_SUITE_P(Board, EveryAcknowledgedCommand,
                         ValuesIn(CommandsWhere([](const CommandCase& row) {
                           return !row.WrongReplyText.empty();
                         })),
                         kNameOfRow);

class EveryCommandOfOneExchange : public EveryCommand {};

INSTANTIATE_TEST_SUITE_P(Board, EveryCommandOfOneExchange,
                         ValuesIn(CommandsWhere([](const CommandCase& row) {
                           return row.SentBefore.empty() && row.SentAfter.empty();
                         })),
                         kNameOfRow);

TEST_P(EveryCommand, ClearsTheInputAndSendsEachByteInAWriteOfItsOwn) {
  CallAnswered(Row.Reply);
  Texts log;
  for (const std::string& sent : {Row.SentBefore, Row.Sent, Row.SentAfter}) {
    AppendExchange(log, sent);
  }
  EXPECT_EQ(Port.Log, log);
}

TEST_P(EveryCommand, SucceedsOnItsReplyWithNoWordButTheTracedByte) {
  CallAnswered(Row.Reply);
  ExpectSuccess();
  EXPECT_FALSE(Dialog.Loaded);
  EXPECT_TRUE(Boxes.Boxes.empty());
}

TEST_P(EveryCommand, NeverClearsTheFlagOnSuccess) {
  for (const std::int16_t before : {std::int16_t{1}, std::int16_t{2}}) {
    Error = before;
    CallAnswered(Row.Reply);
    EXPECT_EQ(Error, before);
  }
}

TEST_P(EveryCommand, OnASilentBoardWaitsItsWholeTimeOutAndSaysSo) {
  CallUnanswered();
  ExpectTimeOutReported();
  EXPECT_GT(Waited(), Row.TimeoutSeconds - 1e-6);
  EXPECT_LT(Waited(), Row.TimeoutSeconds + kOneTurn);
}

TEST_P(EveryCommand, TimesOutWhenTheLastReplyByteIsMissing) {
  Bytes reply = Hex(Row.Reply);
  reply.pop_back();
  CallUnanswered(ToHex(reply));
  ExpectTimeOutReported();
}

TEST_P(EveryCommand, AcceptsAReplyThatComesJustInTime) {
  CallAnswered(Row.Reply, Row.TimeoutSeconds - 0.001);
  EXPECT_EQ(Error, 0);
}

TEST_P(EveryCommand, DoesNotWaitForAReplyThatComesTooLate) {
  CallUnanswered(Row.Reply, Row.TimeoutSeconds + 0.1);
  ExpectTimeOutReported();
}

TEST_P(EveryCommand, AcceptsAReplyInPieces) {
  std::vector<ScriptedPort::Part> parts;
  for (const std::uint8_t byte : Hex(Row.Reply)) parts.push_back({.Delay = 0.2, .Data = {byte}});
  if (!Row.SentBefore.empty()) Port.Expect(Row.SentBefore, "0D", kReplyDelay);
  Port.ExpectParts(Row.Sent, parts);
  CallOnAnswer();
  ExpectSuccess();
}

TEST_P(EveryCommand, IgnoresBytesBeyondTheReply) {
  CallAnswered(Row.Reply + " 3F 77");
  ExpectSuccess();
}

TEST_P(EveryCommand, IsNotMisledByBytesThatCameBeforeIt) {
  Port.Expect("'x'", "3F 3F 3F 3F 3F", 0);
  Port.Output(Hex("'x'"));
  ASSERT_EQ(Port.InBufferCount(), 5);
  CallAnswered(Row.Reply);
  EXPECT_EQ(Error, 0);
  if (Row.SentAfter.empty() && Row.SentBefore.empty()) {
    EXPECT_EQ(State.RxBuf, Hex(Row.Reply));
  }
}

TEST_P(EveryCommand, TestsItsFirstReplyByteOrTakesItAsData) {
  for (const std::uint8_t wrong : Hex("3F 00 0A 0C 8D FF")) {
    Bytes reply = Hex(Row.Reply);
    reply.front() = wrong;
    Error = 0;
    CallAnswered(ToHex(reply));
    EXPECT_EQ(Error, Row.WrongReplyText.empty() ? 0 : 1);
    EXPECT_EQ(NewTrace(), ExpectedTrace(core::HexByte(wrong), Row.WrongReplyText));
    if (Row.WrongReplyText.empty()) continue;
    EXPECT_EQ(std::exchange(State.StatusText, ""), Row.WrongReplyText);
  }
}

TEST_P(EveryAcknowledgedCommand, IsNotSatisfiedByAnAcknowledgementBehindAWrongByte) {
  CallAnswered("3F 0D");
  EXPECT_EQ(Error, 1);
}

TEST_P(EveryCommand, OnALineThatGoesFailsAtOnceAsItsTimeOutDoes) {
  Expect("").ThenHangUp();
  Call();
  ExpectTimeOutReported();
  EXPECT_LT(Waited(), 2 * kOneTurn);
}

TEST_P(EveryCommandOfOneExchange, TakesAReplyThatArrivedBeforeTheLineWent) {
  Expect(Row.Reply, 0).ThenHangUp();
  Call();
  EXPECT_EQ(Error, 0);
}

TEST_P(EveryCommand, IsSentOnceWhateverHappens) {
  CallUnanswered();
  EXPECT_EQ(Port.Sent, Hex(Row.SentBefore + Row.Sent));
}

TEST_P(EveryCommand, StartedBeforeMidnightWaitsUntilTheReplyIsThere) {
  Clock.Set(86399.5);
  CallAnswered(Row.Reply, 20);
  EXPECT_EQ(Error, 0);
  EXPECT_GT(Clock.Elapsed(), 20 - 1e-6);
}

TEST_P(EveryCommand, SendsNothingOnceAStopIsRequested) {
  State.StopRequested = true;
  EXPECT_THROW(Call(), core::CommandEnd);
  EXPECT_THAT(Port.Sent, IsEmpty());
  EXPECT_EQ(Error, 0);
}

TEST_P(EveryCommandOfOneExchange, FinishesTheExchangeInWhichAStopIsRequested) {
  Expect(Row.Reply, 0.02);
  Events.OnTurn = [this] { State.StopRequested = true; };
  EXPECT_NO_THROW(Call());
  EXPECT_EQ(Error, 0);
  EXPECT_EQ(State.RxBuf, Hex(Row.Reply));
}

TEST_P(EveryCommand, ShowsNoDialogOfItsOwnOnFailureExceptTheDeviceSelection) {
  CallUnanswered();
  EXPECT_EQ(Dialog.Loaded, Row.Name == "SelectDevice");
  EXPECT_THAT(Dialog.Shown, IsEmpty());
  EXPECT_THAT(Boxes.Boxes, IsEmpty());
}

// Surplus bytes.

TEST_ON(LinkTest, SurplusBytes, StayInTheReplyBufferUntilTheNextRead) {
  Port.Expect("'d'", "12 99 98");
  ASSERT_TRUE(ReadDataByte(Context, Byte, Error));
  EXPECT_EQ(Byte, 0x12);
  EXPECT_EQ(State.RxBuf, Hex("12 99 98"));
}

TEST_ON(LinkTest, SurplusBytes, ThatComeAfterTheReadAreDiscardedByTheNextCommand) {
  Port.ExpectParts("'d'",
                   {{.Delay = 0.001, .Data = Hex("12")}, {.Delay = 0.001, .Data = Hex("99")}})
      .Expect("'d'", "34");
  ASSERT_TRUE(ReadDataByte(Context, Byte, Error));
  EXPECT_EQ(State.RxBuf, Hex("12"));
  Clock.Advance(0.01);
  ASSERT_EQ(Port.InBufferCount(), 1);
  ASSERT_TRUE(ReadDataByte(Context, Byte, Error));
  EXPECT_EQ(Byte, 0x34);
  EXPECT_EQ(Error, 0);
}

TEST_ON(LinkTest, LateReply, OfATimedOutCommandIsDiscardedByTheNextOne) {
  Port.Expect("'e'", "0D", 1.5).Expect("'d'", "34");
  ChipErase(Context, Error);
  EXPECT_EQ(Error, 1);
  Clock.Advance(1);
  ASSERT_TRUE(ReadDataByte(Context, Byte, Error));
  EXPECT_EQ(Byte, 0x34);
}

// Results.

TEST_ON(LinkTest, ReadProgramWord, HandsBackTheHighByteFirst) {
  Port.Expect("'R'", "C0 11");
  std::uint8_t high = 0;
  std::uint8_t low = 0;
  EXPECT_TRUE(ReadProgramWord(Context, high, low, Error));
  EXPECT_EQ(high, 0xC0);
  EXPECT_EQ(low, 0x11);
}

TEST_ON(LinkTest, ReadProgramWord, LeavesTheBytesAloneOnATimeOut) {
  Port.Expect("'R'", "C0");
  std::uint8_t high = 0x77;
  std::uint8_t low = 0x88;
  EXPECT_FALSE(ReadProgramWord(Context, high, low, Error));
  EXPECT_EQ(high, 0x77);
  EXPECT_EQ(low, 0x88);
}

struct OneByteRead {
  std::string Name;
  bool (*Read)(core::RunContext&, std::uint8_t&, std::int16_t&);
  std::string Sent;
};

class EveryOneByteRead : public TestWithParam<OneByteRead>, protected ScriptedRun {
 protected:
  bool ReadAnswer(const std::string& reply) {
    Port.Expect(GetParam().Sent, reply);
    return GetParam().Read(Context, Byte, Error);
  }
  std::uint8_t Byte = 0x77;
  std::int16_t Error = 0;
};

INSTANTIATE_TEST_SUITE_P(Board, EveryOneByteRead,
                         ::testing::Values(OneByteRead{"ReadDataByte", ReadDataByte, "'d'"},
                                           OneByteRead{"ReadLockFuseBits", ReadLockFuseBits, "'F'"},
                                           OneByteRead{"ReadFuseBits", ReadFuseBits, "'r'"},
                                           OneByteRead{"ReadFuseHighBits", ReadFuseHighBits,
                                                       "':' 58 08 00"}),
                         kNameOfRow);

TEST_P(EveryOneByteRead, HandsBackWhateverByteWasRead) {
  for (const std::uint8_t byte : Hex("00 0D 3F FF")) {
    EXPECT_TRUE(ReadAnswer(core::HexByte(byte)));
    EXPECT_EQ(Byte, byte);
    EXPECT_EQ(Error, 0);
  }
}

TEST_P(EveryOneByteRead, LeavesTheByteAloneOnATimeOut) {
  EXPECT_FALSE(ReadAnswer(""));
  EXPECT_EQ(Byte, 0x77);
  EXPECT_EQ(Error, 1);
}

TEST_ON(LinkTest, ReadLockFuseBits, TracesTheByteWithTwoUpperCaseDigits) {
  for (const std::string byte : {"00", "05", "AF"}) {
    Port.Expect("'F'", byte);
    ReadLockFuseBits(Context, Byte, Error);
    EXPECT_THAT(NewTrace(), ElementsAre("Read Lock & Fuse bit F : " + byte));
  }
}

TEST_ON(LinkTest, ReadCalibrationByte, HandsBackEveryByteThatHasArrived) {
  Port.Expect("'o'", "8A 8B 8C 8D 0D 42");
  std::vector<std::uint8_t> bytes(9, 0);
  EXPECT_TRUE(ReadCalibrationByte(Context, bytes, Error));
  EXPECT_EQ(bytes, Hex("8A 8B 8C 8D 0D 42"));
}

TEST_ON(LinkTest, ReadCalibrationByte, LeavesTheBytesAloneWhenOnlyThreeCome) {
  Port.Expect("'o'", "8A 8B 8C");
  std::vector<std::uint8_t> bytes{1, 2};
  EXPECT_FALSE(ReadCalibrationByte(Context, bytes, Error));
  EXPECT_THAT(bytes, ElementsAre(1, 2));
  EXPECT_EQ(Error, 1);
}

TEST_ON(LinkTest, ExchangeSignature, LeavesThreeBytesAndSaysNothing) {
  Port.Expect("'s'", "1E 91 03");
  EXPECT_TRUE(ExchangeSignature(Context));
  EXPECT_EQ(State.RxBuf, Hex("1E 91 03"));
  EXPECT_THAT(NewTrace(), IsEmpty());
}

TEST_ON(LinkTest, ExchangeSignature, OnATimeOutSaysNothingEither) {
  Port.Expect("'s'", "1E 91");
  EXPECT_FALSE(ExchangeSignature(Context));
  EXPECT_THAT(NewTrace(), IsEmpty());
  EXPECT_EQ(State.LinkError, 0);
}

// Programming mode.

TEST_ON(LinkTest, LeaveProgrammingMode, PausesAfterARightReply) {
  Port.Expect("'L'", "0D", kReplyDelay);
  LeaveProgrammingMode(Context, Error);
  EXPECT_EQ(Error, 0);
  EXPECT_NEAR(Clock.Elapsed(), kReplyDelay + 0.1, 1e-3);
}

TEST_ON(LinkTest, LeaveProgrammingMode, PausesAfterAWrongReplyToo) {
  Port.Expect("'L'", "3F", kReplyDelay);
  LeaveProgrammingMode(Context, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_NEAR(Clock.Elapsed(), kReplyDelay + 0.1, 1e-3);
}

TEST_ON(LinkTest, LeaveProgrammingMode, DoesNotPauseAfterATimeOut) {
  Port.Expect("'L'");
  LeaveProgrammingMode(Context, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_LT(Clock.Elapsed(), 1 + kOneTurn);
}

TEST_ON(LinkTest, LeaveProgrammingMode, RestartsTheWaitTimeWithItsPause) {
  Clock.Set(500);
  Port.Expect("'L'", "0D", 0.25);
  LeaveProgrammingMode(Context, Error);
  EXPECT_NEAR(State.WaitStart, 500.25, 1e-3);
}

TEST_ON(LinkTest, LeaveProgrammingMode, EndsItsPauseAtMidnight) {
  Clock.Set(86399.96);
  Port.Expect("'L'", "0D", kReplyDelay);
  LeaveProgrammingMode(Context, Error);
  EXPECT_EQ(Error, 0);
  EXPECT_LT(Clock.Elapsed(), 0.2);
}

TEST_ON(LinkTest, LeaveProgrammingModeIfEntered, SendsNothingWhenTheModeWasNeverEntered) {
  LeaveProgrammingModeIfEntered(Context);
  EXPECT_THAT(Port.Log, IsEmpty());
}

TEST_ON(LinkTest, LeaveProgrammingModeIfEntered, LeavesTheModeOnce) {
  Port.Expect("'P'", "0D").Expect("'L'", "0D");
  EnterProgrammingMode(Context, Error);
  EXPECT_TRUE(State.Command.InProgrammingMode);
  LeaveProgrammingModeIfEntered(Context);
  EXPECT_FALSE(State.Command.InProgrammingMode);
  LeaveProgrammingModeIfEntered(Context);
}

TEST_ON(LinkTest, LeaveProgrammingModeIfEntered, SendsNothingAfterAnOrdinaryLeave) {
  Port.Expect("'P'", "0D").Expect("'L'", "0D");
  EnterProgrammingMode(Context, Error);
  LeaveProgrammingMode(Context, Error);
  LeaveProgrammingModeIfEntered(Context);
}

TEST_ON(LinkTest, LeaveProgrammingModeIfEntered, LeavesTheModeWhateverTheFlagSays) {
  Port.Expect("'P'").Expect("'L'", "0D");
  EnterProgrammingMode(Context, State.LinkError);
  ASSERT_EQ(State.LinkError, 1) << "a board that took \"P\" and lost its reply is in the mode";
  LeaveProgrammingModeIfEntered(Context);
  EXPECT_EQ(State.LinkError, 1);
}

TEST_ON(LinkTest, LeaveProgrammingModeIfEntered, DoesNotSetTheFlagItself) {
  Port.Expect("'P'", "0D").Expect("'L'", "3F");
  EnterProgrammingMode(Context, State.LinkError);
  LeaveProgrammingModeIfEntered(Context);
  EXPECT_EQ(State.LinkError, 0);
}

TEST_ON(LinkTest, StopRequest, InProgrammingModeIsFollowedByLeavingIt) {
  Port.Expect("'P'", "0D").Expect("'d'", "11").Expect("'L'", "0D");
  const CommandEnding ending = ops::RunCommand(Context, [&](core::RunContext&) {
    EnterProgrammingMode(Context, State.LinkError);
    Events.OnTurn = [&] { State.StopRequested = true; };
    ReadDataByte(Context, Byte, State.LinkError);
    Events.OnTurn = nullptr;
    ReadDataByte(Context, Byte, State.LinkError);
    ADD_FAILURE() << "an exchange was started after the stop request";
  });
  EXPECT_EQ(ending, CommandEnding::Stopped);
}

// Writing a flash word.

TEST_ON(LinkTest, WriteProgramWord, SendsTheLowByteFirst) {
  Port.Expect("'c' 11", "0D").Expect("'C' C0", "0D");
  WriteProgramWord(Context, 0xC0, 0x11, Error);
  EXPECT_EQ(Error, 0);
  EXPECT_THAT(NewTrace(), IsEmpty());
}

TEST_ON(LinkTest, WriteProgramWord, SendsNoHighByteAfterATimeOutOfTheLowByte) {
  Port.Expect("'c' 11");
  WriteProgramWord(Context, 0xC0, 0x11, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_EQ(Port.Sent, Hex("'c' 11"));
  EXPECT_THAT(NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Program Memory c"));
}

TEST_ON(LinkTest, WriteProgramWord, StillSendsTheHighByteAfterAWrongReplyToTheLowByte) {
  Port.Expect("'c' 11", "3F").Expect("'C' C0", "0D");
  WriteProgramWord(Context, 0xC0, 0x11, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_THAT(NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c"));
}

TEST_ON(LinkTest, WriteProgramWord, ReportsBothBytesInTwoLinesUnderOneFlag) {
  Port.Expect("'c' 11", "3F").Expect("'C' C0", "3F");
  WriteProgramWord(Context, 0xC0, 0x11, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_THAT(NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c",
                                      "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Data Memory C"));
}

TEST_ON(LinkTest, WriteProgramWord, WithAWrongLowByteAndASilentHighByteReportsBoth) {
  Port.Expect("'c' 11", "3F").Expect("'C' C0");
  WriteProgramWord(Context, 0xC0, 0x11, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_THAT(NewTrace(), ElementsAre("ｺﾐﾆｭｹｰｼｮﾝ失敗 : Low byte Write Data Memory c",
                                      "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Hi byte Write Program Memory C"));
}

TEST_ON(LinkTest, WriteProgramWord, IsEndedBetweenItsExchangesByAStopRequest) {
  Port.Expect("'c' 11", "0D");
  Events.OnTurn = [&] { State.StopRequested = true; };
  EXPECT_THROW(WriteProgramWord(Context, 0xC0, 0x11, Error), core::CommandEnd);
  EXPECT_EQ(Port.Sent, Hex("'c' 11"));
}

// Addresses.

TEST_ON(LinkTest, SelectAddress, SendsTheHighByteFirst) {
  const std::vector<std::pair<std::int32_t, std::string>> rows{
      {0, "00 00"},   {1, "00 01"},    {255, "00 FF"},    {256, "01 00"},
      {257, "01 01"}, {4095, "0F FF"}, {0x1234, "12 34"}, {0xFFFF, "FF FF"}};
  for (const auto& [address, bytes] : rows) {
    Port.Expect("'a' " + bytes, "0D");
    SelectAddress(Context, address, Error);
    EXPECT_EQ(Error, 0) << address;
  }
}

TEST_ON(LinkTest, SelectAddress, SendsEachByteInAWriteOfItsOwn) {
  Port.Expect("'a' 12 34", "0D");
  SelectAddress(Context, 0x1234, Error);
  EXPECT_THAT(Port.Log, ElementsAre("DiscardInput", "Output 61", "Output 12", "Output 34"));
}

// Erasing.

TEST_ON(LinkTest, ChipErase, NotesWhatHasBecomeOfTheChip) {
  for (const std::string reply : {"0D", "3F", ""}) {
    State.Command = {};
    Port.Expect("'e'", reply);
    ChipErase(Context, Error);
    EXPECT_TRUE(State.Command.EraseStarted);
    EXPECT_EQ(State.Command.Erased, reply == "0D");
  }
}

// Selecting the device.

struct SelectWithDialog : LinkTest {
  void SelectAnswered(const std::string& reply) {
    Dialog.Show("busy", MessageMode::Busy);
    Port.Expect("'T' 4C", reply);
    SelectDevice(Context, 0x4C, Error);
  }
};

TEST_ON(SelectWithDialog, SelectDevice, TracesTheDeviceCodeWithoutPadding) {
  const std::vector<std::pair<std::uint8_t, std::string>> rows{
      {0, "0"}, {5, "5"}, {0x0F, "F"}, {0x10, "10"}, {0x13, "13"}, {0x6C, "6C"}, {0xFF, "FF"}};
  for (const auto& [code, digits] : rows) {
    Port.Expect("'T' " + core::HexByte(code), "0D");
    SelectDevice(Context, code, Error);
    EXPECT_THAT(NewTrace(), ElementsAre("ｺﾏﾝﾄﾞ送信 : Select device command T , 0x" + digits));
  }
}

TEST_ON(SelectWithDialog, SelectDevice, TracesBeforeItSends) {
  State.StopRequested = true;
  EXPECT_THROW(SelectDevice(Context, 5, Error), core::CommandEnd);
  EXPECT_THAT(NewTrace(), ElementsAre("ｺﾏﾝﾄﾞ送信 : Select device command T , 0x5"));
}

TEST_ON(SelectWithDialog, SelectDevice, SendsTheCodeOfEveryDeviceInTheCatalogue) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    Port.Expect("'T' " + core::HexByte(device.DeviceCode), "0D");
    SelectDevice(Context, device.DeviceCode, Error);
    EXPECT_EQ(Error, 0) << device.DisplayName;
  }
}

TEST_ON(SelectWithDialog, SelectDevice, ShowsItsTimeOutInTheDialogWithAButton) {
  SelectAnswered("");
  EXPECT_EQ(Dialog.Text, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T");
  EXPECT_TRUE(Dialog.ButtonVisible);
  EXPECT_TRUE(Dialog.Loaded);
  EXPECT_EQ(State.StatusText, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T");
}

TEST_ON(SelectWithDialog, SelectDevice, ShowsItsRefusalInTheDialogWithAButton) {
  const std::string text =
      "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
      "プログラマは、選択したマイコンを認識できませんでした。";
  SelectAnswered("3F");
  EXPECT_EQ(Dialog.Text, text);
  EXPECT_TRUE(Dialog.ButtonVisible);
  EXPECT_EQ(State.StatusText, text);
  EXPECT_EQ(PanelText(Panel::Status), text);
}

TEST_ON(SelectWithDialog, SelectDevice, LeavesTheDialogAloneOnSuccess) {
  SelectAnswered("0D");
  EXPECT_EQ(Dialog.Text, "busy");
  EXPECT_FALSE(Dialog.ButtonVisible);
}

// A board at the other end.

TEST(CommandsOnABoard, WriteAndReadAWordOfEveryDevice) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    BoardRun run(device.DisplayName);
    ASSERT_EQ(run.Port.Open().Status, PortOpenStatus::Ok);
    std::int16_t error = 0;
    AvrExtendCommand(run.Context, error);
    SelectDevice(run.Context, device.DeviceCode, error);
    EnterProgrammingMode(run.Context, error);
    ChipErase(run.Context, error);
    SelectAddress(run.Context, 3, error);
    const bool tiny26 = device.DisplayName == "ATtiny26L";
    (tiny26 ? WriteProgramWordTiny26 : WriteProgramWord)(run.Context, 0xC0, 0x11, error);
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
    EXPECT_EQ(error, 0);
    EXPECT_EQ(high, 0xC0);
    EXPECT_EQ(low, 0x11);
    EXPECT_EQ(data, 0x5A);
    EXPECT_FALSE(run.Port.Board().Protocol().InProgrammingMode());
  }
}

}  // namespace
}  // namespace fenwright::link
