// Reading fuse, lock and calibration bytes: wire, trace, lists, messages.

#include "fuse/fuse_reading.h"

#include "fuse/fuse_devices.h"
#include "support/traces.h"

namespace fenwright::fuse {
namespace {

constexpr const char* kReading = "Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....";
constexpr const char* kRead = "Lock/Fuse bit リードが完了しました。";
constexpr const char* kNotRead = "Lock/Fuse bit リードに失敗しました。";
constexpr const char* kMismatch = "設定デバイスと、ソケット上のデバイスがミスマッチです。";

/// What is sent and answered for a device, and what the frame shows then.
struct Reading {
  std::vector<Exchange> Commands;
  Positions Shown;  ///< of the lists that the bytes stand for
  std::string Calibration;
};

const std::map<std::string, Reading>& Readings() {
  const std::string high = "':' 58 08 00";
  static const Reading none{{}, {}, "-"};
  static const Reading fstrt{{{"'F'", "5E"}}, {{Fstrt, 0}, {Lock, 1}}, "-"};
  static const std::map<std::string, Reading> rows{
      {"ATtiny12L",
       {{{"'r'", "8F"}, {"'F'", "FD"}, {"'o'", "05 05 05 05"}},
        {{Cksel, 15}, {Rstdisabl, 0}, {Boden, 0}, {Bodlevel, 1}, {Lock, 1}},
        "0x05"}},
      {"ATtiny15L",
       {{{"'r'", "1E"}, {"'F'", "F9"}, {"'o'", "8C 01 02 03"}},
        {{Cksel, 2}, {Rstdisabl, 1}, {Boden, 0}, {Bodlevel, 0}, {Lock, 0}},
        "0x8C"}},
      {"ATtiny26L",
       {{{"'r'", "74"}, {high, "F2"}, {"'F'", "FE"}, {"'o'", "A4 0F 9B 00"}},
        {{Cksel, 4},
         {Sut, 3},
         {Ckopt, 1},
         {Pllck, 0},
         {Boden, 0},
         {Bodlevel, 1},
         {Eesave, 0},
         {Rstdisabl, 1},
         {Lock, 1}},
        "0xA4 0x0F 0x9B 0x00 "}},
      {"AT90S2323", fstrt},
      {"AT90S2343", {{{"'F'", "7E"}}, {{Rcen, 0}, {Lock, 1}}, "-"}},
      {"AT90S1200 (外部ｸﾛｯｸ)", none},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", none},
      {"AT90S2313", none},
      {"AT90S4433",
       {{{"'r'", "D5"}, {"'F'", "F9"}}, {{Cksel, 5}, {Boden, 0}, {Bodlevel, 1}, {Lock, 0}}, "-"}},
      {"AT90S4414", none},
      {"AT90S4434", fstrt},
      {"AT90S8515", none},
      {"AT90S8535", fstrt}};
  return rows;
}

struct ReadingRun : ScriptedRun {
  explicit ReadingRun(const std::string& device) : Device(device) {
    Select(Context, device);
    NewTrace();
  }
  void Read() { ReadFuses(Context); }
  /// Scripts the device's row in which that exchange is not answered, or with `reply`, and reads.
  void ReadFailingAt(std::size_t failing, const std::string& reply = "") {
    ScriptWithFailureAt(Port, Transcript(Device, Readings().at(Device).Commands), failing, reply);
    Read();
  }
  /// Scripts the check of the chip and the commands, and reads.
  void ReadWith(const std::vector<Exchange>& commands) {
    for (const auto& [sent, reply] : Transcript(Device, commands)) {
      Port.Expect(sent, reply);
    }
    Read();
  }
  [[nodiscard]] std::string Text(FuseList list) { return Fuses.Lists[list].Text(); }

  std::string Device;
};

TEST(FuseReading, EveryDeviceIsReadAsDescribedAndShown) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    const Reading& row = Readings().at(device);
    ReadingRun run(device);
    Positions expected = PositionsOf(run.Fuses);
    for (const auto& [list, index] : row.Shown) expected[list] = index;
    const std::string calibration = row.Calibration;
    run.ReadWith(row.Commands);
    EXPECT_EQ(PositionsOf(run.Fuses), expected);
    EXPECT_EQ(run.Fuses.Calibration, calibration);
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.PanelText(Panel::Status), kRead);
    EXPECT_EQ(run.Dialog.Shown.front().first, kReading);
    EXPECT_EQ(run.Dialog.Shown.front().second, MessageMode::Busy);
    EXPECT_EQ(run.Dialog.Shown.size(), 1U);
    EXPECT_FALSE(run.Dialog.Loaded);
    EXPECT_TRUE(run.State.Command.FusesFinished);
    EXPECT_TRUE(run.Fuses.FrameVisible);
  }
}

/// What reading that device as its row has it leaves in the trace.
Texts TraceOf(const std::string& device) {
  ReadingRun run(device);
  run.ReadWith(Readings().at(device).Commands);
  return run.NewTrace();
}

TEST(FuseReading, TheTraceLabelsEachStep) {
  EXPECT_EQ(TraceOf("ATtiny12L"),
            Joined<Texts>({{kReading},
                           SignatureTrace("1E:90:05"),
                           LabelledTrace("r_readFuseBit"),
                           LabelledTrace("F_readLockFuseBit", {"Read Lock & Fuse bit F : FD"}),
                           LabelledTrace("o_readCalibtationByte"),
                           {kRead}}));
}

TEST(FuseReading, TheTraceOfATiny26HasAnEmptyLineAndAHeaderBeforeEachRead) {
  EXPECT_EQ(TraceOf("ATtiny26L"),
            Joined<Texts>({{kReading},
                           SignatureTrace("1E:91:09"),
                           {"\r\n<< Read Fuse Bit >>"},
                           LabelledTrace("r_readFuseBit"),
                           {"\r\n<< Read Fuse Hi Bit >>"},
                           LabelledTrace("U_readFuseHiBit_Tiny26"),
                           {"\r\n<< Read Lock Bit >>"},
                           LabelledTrace("F_readLockFuseBit", {"Read Lock & Fuse bit F : FE"}),
                           {"\r\n<< Read Calibration Byte >>"},
                           LabelledTrace("o_readCalibtationByte"),
                           {kRead}}));
}

TEST(FuseReading, OnlyATiny26TracesHeaders) {
  const Texts lock = LabelledTrace("F_readLockFuseBit", {"Read Lock & Fuse bit F : F9"});
  EXPECT_EQ(TraceOf("ATtiny15L"), Joined<Texts>({{kReading},
                                                 SignatureTrace("1E:90:06"),
                                                 LabelledTrace("r_readFuseBit"),
                                                 lock,
                                                 LabelledTrace("o_readCalibtationByte"),
                                                 {kRead}}));
  EXPECT_EQ(
      TraceOf("AT90S4433"),
      Joined<Texts>(
          {{kReading}, SignatureTrace("1E:92:03"), LabelledTrace("r_readFuseBit"), lock, {kRead}}));
}

TEST(FuseReading, ACombinedByteIsReadWithoutLabels) {
  ReadingRun run("AT90S8535");
  run.ReadWith({{"'F'", "FF"}});
  EXPECT_EQ(
      run.NewTrace(),
      Joined<Texts>({{kReading},
                     SignatureTrace("1E:93:03"),
                     {"A_AvrExtend command A : 0D", "Enter programming Mode P : 0D",
                      "Read Lock & Fuse bit F : FF", "Leave programming Mode L : 0D", kRead}}));
}

TEST(FuseReading, ATiny15WithThisByteShowsTheseTexts) {
  ReadingRun run("ATtiny15L");
  run.ReadWith({{"'r'", "1E"}, {"'F'", "FF"}, {"'o'", "00 00 00 00"}});
  EXPECT_EQ(run.Text(Cksel), "10");
  EXPECT_EQ(run.Text(Rstdisabl), "PB5:Reset");
  EXPECT_EQ(run.Text(Boden), "Enable");
  EXPECT_EQ(run.Text(Bodlevel), "4.0V");
  EXPECT_EQ(run.Fuses.Calibration, "0x00");
}

TEST(FuseReading, ATiny26InItsSecondLockModeShowsThatWritingIsProhibited) {
  ReadingRun run("ATtiny26L");
  run.ReadWith({{"'r'", "E1"}, {"':' 58 08 00", "F7"}, {"'F'", "FE"}, {"'o'", "01 02 03 04"}});
  EXPECT_EQ(run.Text(Lock), "書込み禁止");
  EXPECT_EQ(run.Fuses.ByteLine, "Fuse 0xE1  High 0xF7  Lock 0xFE");
}

TEST(FuseReading, TheCombinedByteOfAn2343ShowsItsFieldAndItsLockMode) {
  struct Case {
    const char* Byte;
    const char* Rcen;
    const char* Lock;
  };
  for (const auto& [byte, rcen, lock] :
       {Case{"7E", "Enable", "書込み禁止"}, Case{"FF", "Disable", "プロテクトなし"},
        Case{"3F", "Disable", "書込み & ベリファイ 禁止"}}) {
    SCOPED_TRACE(byte);
    ReadingRun run("AT90S2343");
    run.ReadWith({{"'F'", byte}});
    EXPECT_EQ(run.Text(Rcen), rcen);
    EXPECT_EQ(run.Text(Lock), lock);
  }
}

TEST(FuseReading, LockBitsWithoutAnItemLeaveTheListAndTheReadIsComplete) {
  ReadingRun combined("AT90S2343");
  combined.Fuses.Select(Lock, 0);
  combined.ReadWith({{"'F'", "BE"}});
  EXPECT_EQ(combined.Text(Rcen), "Enable");
  EXPECT_EQ(combined.Fuses.Lists[Lock].Index, 0);
  EXPECT_EQ(combined.PanelText(Panel::Status), kRead);

  ReadingRun tiny("ATtiny12L");
  tiny.Fuses.Select(Lock, 1);
  tiny.ReadWith({{"'r'", "D2"}, {"'F'", "FB"}, {"'o'", "01 01 01 01"}});
  EXPECT_EQ(tiny.Fuses.Lists[Lock].Index, 1);
  EXPECT_EQ(tiny.State.LockByte, 0xFB);
}

TEST(FuseReading, TheWorkingBytesHoldWhatWasRead) {
  ReadingRun tiny("ATtiny26L");
  tiny.ReadWith(Readings().at("ATtiny26L").Commands);
  EXPECT_EQ(tiny.State.FuseByte, 0xF2);  // the high byte is read last
  EXPECT_EQ(tiny.State.LockByte, 0xFE);
  EXPECT_EQ(tiny.State.CalibrationBytes, Hex("A4 0F 9B 00"));
  ReadingRun at90s("AT90S4434");
  at90s.State.FuseByte = 0x11;
  at90s.State.LockByte = 0x22;
  at90s.ReadWith({{"'F'", "9F"}});
  EXPECT_EQ(at90s.State.LockFuseByte, 0x9F);
  EXPECT_EQ(at90s.State.FuseByte, 0x11);
  EXPECT_EQ(at90s.State.LockByte, 0x22);
}

TEST(FuseReading, TheFrameIsHiddenWhileTheListsOfAByteAreSet) {
  ReadingRun run("ATtiny12L");
  run.Fuses.Calls.clear();
  run.ReadWith(Readings().at("ATtiny12L").Commands);
  Texts calls;
  for (const auto& call : run.Fuses.Calls) calls.push_back(call.Name);
  EXPECT_EQ(calls, (Texts{"hide", "select", "select", "select", "select", "show", "hide", "select",
                          "show", "calibration"}));
}

TEST(FuseReading, StartsWithTheFlagClearedAndEndsWithTheDialogClosed) {
  for (const std::int16_t flag : {std::int16_t{1}, std::int16_t{2}}) {
    ReadingRun run("ATtiny12L");
    run.State.LinkError = flag;
    run.ReadWith(Readings().at("ATtiny12L").Commands);
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.Text(Cksel), "1111");
    EXPECT_EQ(run.PanelText(Panel::Status), kRead);
    EXPECT_FALSE(run.Dialog.Loaded);
  }
}

TEST(FuseReading, AnUnansweredExchangeEndsItAsDescribedWhicheverItIs) {
  for (const std::string& device : AllDevices()) {
    const Reading& row = Readings().at(device);
    const std::vector<Exchange> transcript = Transcript(device, row.Commands);
    for (std::size_t failing = 0; failing < transcript.size(); ++failing) {
      SCOPED_TRACE(device + " " + std::to_string(failing));
      ReadingRun run(device);
      run.ReadFailingAt(failing);
      const bool check = failing < kCheckExchanges;
      EXPECT_EQ(run.Dialog.Text, check ? kMismatch : kNotRead);
      EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
      EXPECT_EQ(run.State.LinkError, 1);
      EXPECT_FALSE(run.State.Command.FusesFinished);
      EXPECT_TRUE(run.Fuses.FrameVisible);
      const Texts trace = run.NewTrace();
      EXPECT_EQ(std::ranges::count(trace, kNotRead), check ? 0 : 2);  // status panel and dialog
      EXPECT_EQ(std::ranges::count(trace, kRead), 0);
    }
  }
}

TEST(FuseReading, AWrongAcknowledgementEndsItLikeNoneWhicheverItIs) {
  for (const std::string& device : AllDevices()) {
    const std::vector<Exchange> transcript = Transcript(device, Readings().at(device).Commands);
    for (std::size_t failing = 0; failing < transcript.size(); ++failing) {
      if (transcript[failing].Reply != "0D") continue;
      SCOPED_TRACE(device + " " + std::to_string(failing));
      ReadingRun run(device);
      run.ReadFailingAt(failing, "3F");
      EXPECT_EQ(run.Dialog.Text, failing < kCheckExchanges ? kMismatch : kNotRead);
      EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
      EXPECT_FALSE(run.State.Command.FusesFinished);
    }
  }
}

TEST(FuseReading, AByteThatArrivesIsShownEvenIfItsProgrammingModeWasNotAcknowledged) {
  ReadingRun run("ATtiny12L");
  run.ReadFailingAt(kCheckExchanges + 1, "3F");
  EXPECT_EQ(run.Fuses.Lists[Cksel].Index, 15);
  EXPECT_EQ(run.Fuses.Lists[Boden].Index, 0);
  EXPECT_EQ(run.Dialog.Text, kNotRead);
}

TEST(FuseReading, OnlyTheFlagOfAMismatchEndsItAfterTheCheck) {
  constexpr std::int16_t kOther = 2;
  ReadingRun run("AT90S8535");
  // Before the answer to the check's last "L".
  run.Events.OnTurn = [&] {
    if (run.Port.Sent.size() == 4) run.State.LinkError = kOther;
  };
  run.ReadWith({{"'F'", "FF"}});
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_EQ(run.Text(Fstrt), "Disable");
  EXPECT_EQ(run.PanelText(Panel::Status), kRead);
}

TEST(FuseReading, AByteThatDoesNotArriveChangesNoList) {
  ReadingRun run("ATtiny26L");
  run.Fuses.Select(Cksel, 9);
  run.Fuses.Select(Eesave, 0);
  const Positions before = PositionsOf(run.Fuses);
  run.ReadFailingAt(kCheckExchanges + 2);
  EXPECT_EQ(PositionsOf(run.Fuses), before);
  EXPECT_EQ(run.Fuses.Calibration, "?");
  EXPECT_TRUE(run.State.Command.FuseBytes.empty());
}

TEST(FuseReading, WhatWasReadBeforeAFailureIsShown) {
  ReadingRun run("ATtiny26L");
  // The high byte's own command, in the third programming mode.
  run.ReadFailingAt(kCheckExchanges + 4 + 2);
  EXPECT_EQ(run.Fuses.Lists[Cksel].Index, 4);
  EXPECT_EQ(run.Fuses.Lists[Boden].Index, 1);
  EXPECT_EQ(run.State.Command.FuseBytes.size(), 1U);
}

TEST(FuseReading, AfterAFailureEachLaterReadTracesItsFirstLabelAndStops) {
  ReadingRun run("ATtiny12L");
  run.ReadFailingAt(kCheckExchanges + 2);
  const Texts trace = run.NewTrace();
  EXPECT_EQ(std::ranges::count(trace, "A_AvrExtendCommand"), 3);
  EXPECT_EQ(std::ranges::count(trace, "P_enterProgrammingMode"), 1);
  EXPECT_EQ(std::ranges::count(trace, "F_readLockFuseBit"), 0);
  EXPECT_EQ(std::ranges::count(trace, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Fuse bit r"), 1);
}

TEST(FuseReading, AnotherChipInTheSocketEndsItWithTheMismatchMessageOnly) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    ReadingRun run(device);
    const Positions before = PositionsOf(run.Fuses);
    run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "04 90 1E").Expect("'L'", "0D");
    run.Read();
    EXPECT_EQ(run.Dialog.Text, kMismatch);
    EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
    EXPECT_EQ(run.NewTrace().back(), kMismatch);
    EXPECT_EQ(PositionsOf(run.Fuses), before);
  }
}

TEST(FuseReading, WithAnEmptySelectorItStopsAfterTheCheck) {
  ReadingRun run("ATtiny12L");
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "05 90 1E").Expect("'L'", "0D");
  // The selection goes while the check is running.
  run.Events.OnTurn = [&] {
    if (run.Port.Sent.size() == 4) run.Form.ForcedText = "";
  };
  run.Read();
  EXPECT_EQ(run.Port.Sent.size(), 4U);
  EXPECT_FALSE(run.State.Command.FusesFinished);
  EXPECT_THAT(run.NewTrace(), Not(Contains(kRead)));
}

}  // namespace
}  // namespace fenwright::fuse
