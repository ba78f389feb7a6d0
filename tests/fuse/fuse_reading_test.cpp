// Reading fuse, lock and calibration bytes: wire, trace, lists, messages.

#include "fuse/fuse_reading.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "fuse/fuse_devices.h"

namespace fenwright::fuse {
namespace {

using screen::MessageMode;
using testing::Exchange;
using testing::FuseList;
using testing::kAllDevices;
using testing::Positions;
using testing::ScriptedRun;
using Texts = std::vector<std::string>;

constexpr const char* kBusy = "Ｌｏｃｋ/Ｆｕｓｅビット 読出し中.....";
constexpr const char* kDone = "Lock/Fuse bit リードが完了しました。";
constexpr const char* kFailed = "Lock/Fuse bit リードに失敗しました。";
constexpr const char* kMismatch = "設定デバイスと、ソケット上のデバイスがミスマッチです。";

/// What is sent and answered for a device, and what the frame shows then.
struct Row {
  std::vector<Exchange> Commands;
  Positions Shown;  ///< of the lists that the bytes stand for
  std::string Calibration;
};

const std::map<std::string, Row>& Rows() {
  const std::string high = "':' 58 08 00";
  static const Row none{{}, {}, "-"};
  static const Row fstrt{{{"'F'", "5E"}}, {{FuseList::Fstrt, 0}, {FuseList::Lock, 1}}, "-"};
  static const std::map<std::string, Row> rows{
      {"ATtiny12L",
       {{{"'r'", "8F"}, {"'F'", "FD"}, {"'o'", "05 05 05 05"}},
        {{FuseList::Cksel, 15},
         {FuseList::Rstdisabl, 0},
         {FuseList::Boden, 0},
         {FuseList::Bodlevel, 1},
         {FuseList::Lock, 1}},
        "0x05"}},
      {"ATtiny15L",
       {{{"'r'", "1E"}, {"'F'", "F9"}, {"'o'", "8C 01 02 03"}},
        {{FuseList::Cksel, 2},
         {FuseList::Rstdisabl, 1},
         {FuseList::Boden, 0},
         {FuseList::Bodlevel, 0},
         {FuseList::Lock, 0}},
        "0x8C"}},
      {"ATtiny26L",
       {{{"'r'", "74"}, {high, "F2"}, {"'F'", "FE"}, {"'o'", "A4 0F 9B 00"}},
        {{FuseList::Cksel, 4},
         {FuseList::Sut, 3},
         {FuseList::Ckopt, 1},
         {FuseList::Pllck, 0},
         {FuseList::Boden, 0},
         {FuseList::Bodlevel, 1},
         {FuseList::Eesave, 0},
         {FuseList::Rstdisabl, 1},
         {FuseList::Lock, 1}},
        "0xA4 0x0F 0x9B 0x00 "}},
      {"AT90S2323", fstrt},
      {"AT90S2343", {{{"'F'", "7E"}}, {{FuseList::Rcen, 0}, {FuseList::Lock, 1}}, "-"}},
      {"AT90S1200 (外部ｸﾛｯｸ)", none},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", none},
      {"AT90S2313", none},
      {"AT90S4433",
       {{{"'r'", "D5"}, {"'F'", "F9"}},
        {{FuseList::Cksel, 5}, {FuseList::Boden, 0}, {FuseList::Bodlevel, 1}, {FuseList::Lock, 0}},
        "-"}},
      {"AT90S4414", none},
      {"AT90S4434", fstrt},
      {"AT90S8515", none},
      {"AT90S8535", fstrt},
  };
  return rows;
}

struct ReadingRun : ScriptedRun {
  explicit ReadingRun(const std::string& device) : Device(device) {
    Select(Context, device);
    NewTrace();
  }
  void Read() { ReadFuses(Context); }
  /// Scripts the check of the chip and the commands, and reads.
  void ReadWith(const std::vector<Exchange>& commands) {
    for (const auto& [sent, reply] : testing::Transcript(Device, commands)) {
      Port.Expect(sent, reply);
    }
    Read();
  }
  [[nodiscard]] std::string Text(FuseList list) { return Fuses.Lists[list].Text(); }

  std::string Device;
};

TEST(FuseReading, EveryDeviceIsReadAsDescribedAndShown) {
  for (const std::string device : kAllDevices) {
    SCOPED_TRACE(device);
    const Row& row = Rows().at(device);
    ReadingRun run(device);
    Positions expected = PositionsOf(run.Fuses);
    for (const auto& [list, index] : row.Shown) expected[list] = index;
    const std::string calibration = row.Calibration;
    run.ReadWith(row.Commands);
    EXPECT_EQ(PositionsOf(run.Fuses), expected);
    EXPECT_EQ(run.Fuses.Calibration, calibration);
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.PanelText(screen::Panel::Status), kDone);
    EXPECT_EQ(run.Dialog.Shown.front().first, kBusy);
    EXPECT_EQ(run.Dialog.Shown.front().second, MessageMode::Busy);
    EXPECT_EQ(run.Dialog.Shown.size(), 1U);
    EXPECT_FALSE(run.Dialog.Loaded);
    EXPECT_TRUE(run.State.Command.FusesFinished);
    EXPECT_TRUE(run.Fuses.FrameVisible);
  }
}

Texts CheckTrace(const std::string& signature) {
  return {"A_AvrExtend command A : 0D", "Enter programming Mode P : 0D", "--:--:--", signature,
          "Leave programming Mode L : 0D"};
}

void Append(Texts& texts, const Texts& more) {
  texts.insert(texts.end(), more.begin(), more.end());
}

/// The trace of one exchange with its labels.
Texts Labelled(const std::string& label, const Texts& reply = {}) {
  Texts texts{"A_AvrExtendCommand", "A_AvrExtend command A : 0D", "P_enterProgrammingMode",
              "Enter programming Mode P : 0D", label};
  Append(texts, reply);
  Append(texts, {"L_leaveProgrammingMode", "Leave programming Mode L : 0D"});
  return texts;
}

TEST(FuseReading, TheTraceLabelsEachStep) {
  ReadingRun run("ATtiny12L");
  run.ReadWith(Rows().at("ATtiny12L").Commands);
  Texts expected{kBusy};
  Append(expected, CheckTrace("1E:90:05"));
  Append(expected, Labelled("r_readFuseBit"));
  Append(expected, Labelled("F_readLockFuseBit", {"Read Lock & Fuse bit F : FD"}));
  Append(expected, Labelled("o_readCalibtationByte"));
  Append(expected, {kDone});
  EXPECT_EQ(run.NewTrace(), expected);
}

TEST(FuseReading, TheTraceOfATiny26HasAnEmptyLineAndAHeaderBeforeEachRead) {
  ReadingRun run("ATtiny26L");
  run.ReadWith(Rows().at("ATtiny26L").Commands);
  Texts expected{kBusy};
  Append(expected, CheckTrace("1E:91:09"));
  Append(expected, {"\r\n<< Read Fuse Bit >>"});
  Append(expected, Labelled("r_readFuseBit"));
  Append(expected, {"\r\n<< Read Fuse Hi Bit >>"});
  Append(expected, Labelled("U_readFuseHiBit_Tiny26"));
  Append(expected, {"\r\n<< Read Lock Bit >>"});
  Append(expected, Labelled("F_readLockFuseBit", {"Read Lock & Fuse bit F : FE"}));
  Append(expected, {"\r\n<< Read Calibration Byte >>"});
  Append(expected, Labelled("o_readCalibtationByte"));
  Append(expected, {kDone});
  EXPECT_EQ(run.NewTrace(), expected);
}

TEST(FuseReading, OnlyATiny26TracesHeaders) {
  ReadingRun tiny("ATtiny15L");
  tiny.ReadWith(Rows().at("ATtiny15L").Commands);
  Texts expected{kBusy};
  Append(expected, CheckTrace("1E:90:06"));
  Append(expected, Labelled("r_readFuseBit"));
  Append(expected, Labelled("F_readLockFuseBit", {"Read Lock & Fuse bit F : F9"}));
  Append(expected, Labelled("o_readCalibtationByte"));
  Append(expected, {kDone});
  EXPECT_EQ(tiny.NewTrace(), expected);

  ReadingRun at90s("AT90S4433");
  at90s.ReadWith(Rows().at("AT90S4433").Commands);
  expected = {kBusy};
  Append(expected, CheckTrace("1E:92:03"));
  Append(expected, Labelled("r_readFuseBit"));
  Append(expected, Labelled("F_readLockFuseBit", {"Read Lock & Fuse bit F : F9"}));
  Append(expected, {kDone});
  EXPECT_EQ(at90s.NewTrace(), expected);
}

TEST(FuseReading, ACombinedByteIsReadWithoutLabels) {
  ReadingRun run("AT90S8535");
  run.ReadWith({{"'F'", "FF"}});
  Texts expected{kBusy};
  Append(expected, CheckTrace("1E:93:03"));
  Append(expected, {"A_AvrExtend command A : 0D", "Enter programming Mode P : 0D",
                    "Read Lock & Fuse bit F : FF", "Leave programming Mode L : 0D", kDone});
  EXPECT_EQ(run.NewTrace(), expected);
}

TEST(FuseReading, ATiny15WithThisByteShowsTheseTexts) {
  ReadingRun run("ATtiny15L");
  run.ReadWith({{"'r'", "1E"}, {"'F'", "FF"}, {"'o'", "00 00 00 00"}});
  EXPECT_EQ(run.Text(FuseList::Cksel), "10");
  EXPECT_EQ(run.Text(FuseList::Rstdisabl), "PB5:Reset");
  EXPECT_EQ(run.Text(FuseList::Boden), "Enable");
  EXPECT_EQ(run.Text(FuseList::Bodlevel), "4.0V");
  EXPECT_EQ(run.Fuses.Calibration, "0x00");
}

TEST(FuseReading, ATiny26InItsSecondLockModeShowsThatWritingIsProhibited) {
  ReadingRun run("ATtiny26L");
  run.ReadWith({{"'r'", "E1"}, {"':' 58 08 00", "F7"}, {"'F'", "FE"}, {"'o'", "01 02 03 04"}});
  EXPECT_EQ(run.Text(FuseList::Lock), "書込み禁止");
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
    EXPECT_EQ(run.Text(FuseList::Rcen), rcen);
    EXPECT_EQ(run.Text(FuseList::Lock), lock);
  }
}

TEST(FuseReading, LockBitsWithoutAnItemLeaveTheListAndTheReadIsComplete) {
  ReadingRun combined("AT90S2343");
  combined.Fuses.Select(FuseList::Lock, 0);
  combined.ReadWith({{"'F'", "BE"}});
  EXPECT_EQ(combined.Text(FuseList::Rcen), "Enable");
  EXPECT_EQ(combined.Fuses.Lists[FuseList::Lock].Index, 0);
  EXPECT_EQ(combined.PanelText(screen::Panel::Status), kDone);

  ReadingRun tiny("ATtiny12L");
  tiny.Fuses.Select(FuseList::Lock, 1);
  tiny.ReadWith({{"'r'", "D2"}, {"'F'", "FB"}, {"'o'", "01 01 01 01"}});
  EXPECT_EQ(tiny.Fuses.Lists[FuseList::Lock].Index, 1);
  EXPECT_EQ(tiny.State.LockByte, 0xFB);
}

TEST(FuseReading, TheWorkingBytesHoldWhatWasRead) {
  ReadingRun tiny("ATtiny26L");
  tiny.ReadWith(Rows().at("ATtiny26L").Commands);
  EXPECT_EQ(tiny.State.FuseByte, 0xF2);  // the high byte is read last
  EXPECT_EQ(tiny.State.LockByte, 0xFE);
  EXPECT_EQ(tiny.State.CalibrationBytes, testing::Hex("A4 0F 9B 00"));
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
  run.ReadWith(Rows().at("ATtiny12L").Commands);
  Texts calls;
  for (const auto& call : run.Fuses.Calls) calls.push_back(call.Name);
  EXPECT_EQ(calls, (Texts{"hide", "select", "select", "select", "select", "show", "hide", "select",
                          "show", "calibration"}));
}

TEST(FuseReading, AnUnansweredExchangeEndsItAsDescribedWhicheverItIs) {
  for (const std::string device : kAllDevices) {
    const Row& row = Rows().at(device);
    const std::vector<Exchange> transcript = testing::Transcript(device, row.Commands);
    for (std::size_t failing = 0; failing < transcript.size(); ++failing) {
      SCOPED_TRACE(device + " " + std::to_string(failing));
      ReadingRun run(device);
      ScriptWithFailureAt(run.Port, transcript, failing);
      run.Read();
      const bool check = failing < testing::kCheckExchanges;
      EXPECT_EQ(run.Dialog.Text, check ? kMismatch : kFailed);
      EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
      EXPECT_EQ(run.State.LinkError, 1);
      EXPECT_FALSE(run.State.Command.FusesFinished);
      EXPECT_TRUE(run.Fuses.FrameVisible);
      const Texts trace = run.NewTrace();
      EXPECT_EQ(std::ranges::count(trace, kFailed), check ? 0 : 2);  // status panel and dialog
      EXPECT_EQ(std::ranges::count(trace, kDone), 0);
    }
  }
}

TEST(FuseReading, AWrongAcknowledgementEndsItLikeNoneWhicheverItIs) {
  for (const std::string device : kAllDevices) {
    const std::vector<Exchange> transcript =
        testing::Transcript(device, Rows().at(device).Commands);
    for (std::size_t failing = 0; failing < transcript.size(); ++failing) {
      if (transcript[failing].Reply != "0D") continue;
      SCOPED_TRACE(device + " " + std::to_string(failing));
      ReadingRun run(device);
      ScriptWithFailureAt(run.Port, transcript, failing, "3F");
      run.Read();
      EXPECT_EQ(run.Dialog.Text, failing < testing::kCheckExchanges ? kMismatch : kFailed);
      EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
      EXPECT_FALSE(run.State.Command.FusesFinished);
    }
  }
}

TEST(FuseReading, AByteThatArrivesIsShownEvenIfItsProgrammingModeWasNotAcknowledged) {
  ReadingRun run("ATtiny12L");
  ScriptWithFailureAt(run.Port, testing::Transcript("ATtiny12L", Rows().at("ATtiny12L").Commands),
                      testing::kCheckExchanges + 1, "3F");
  run.Read();
  EXPECT_EQ(run.Fuses.Lists[FuseList::Cksel].Index, 15);
  EXPECT_EQ(run.Fuses.Lists[FuseList::Boden].Index, 0);
  EXPECT_EQ(run.Dialog.Text, kFailed);
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
  EXPECT_EQ(run.Text(FuseList::Fstrt), "Disable");
  EXPECT_EQ(run.PanelText(screen::Panel::Status), kDone);
}

TEST(FuseReading, AByteThatDoesNotArriveChangesNoList) {
  ReadingRun run("ATtiny26L");
  run.Fuses.Select(FuseList::Cksel, 9);
  run.Fuses.Select(FuseList::Eesave, 0);
  const Positions before = PositionsOf(run.Fuses);
  ScriptWithFailureAt(run.Port, testing::Transcript("ATtiny26L", Rows().at("ATtiny26L").Commands),
                      testing::kCheckExchanges + 2);
  run.Read();
  EXPECT_EQ(PositionsOf(run.Fuses), before);
  EXPECT_EQ(run.Fuses.Calibration, "?");
  EXPECT_TRUE(run.State.Command.FuseBytes.empty());
}

TEST(FuseReading, WhatWasReadBeforeAFailureIsShown) {
  ReadingRun run("ATtiny26L");
  // The high byte's own command, in the third programming mode.
  ScriptWithFailureAt(run.Port, testing::Transcript("ATtiny26L", Rows().at("ATtiny26L").Commands),
                      testing::kCheckExchanges + 4 + 2);
  run.Read();
  EXPECT_EQ(run.Fuses.Lists[FuseList::Cksel].Index, 4);
  EXPECT_EQ(run.Fuses.Lists[FuseList::Boden].Index, 1);
  EXPECT_EQ(run.State.Command.FuseBytes.size(), 1U);
}

TEST(FuseReading, AfterAFailureEachLaterReadTracesItsFirstLabelAndStops) {
  ReadingRun run("ATtiny12L");
  ScriptWithFailureAt(run.Port, testing::Transcript("ATtiny12L", Rows().at("ATtiny12L").Commands),
                      testing::kCheckExchanges + 2);
  run.Read();
  const Texts trace = run.NewTrace();
  EXPECT_EQ(std::ranges::count(trace, "A_AvrExtendCommand"), 3);
  EXPECT_EQ(std::ranges::count(trace, "P_enterProgrammingMode"), 1);
  EXPECT_EQ(std::ranges::count(trace, "F_readLockFuseBit"), 0);
  EXPECT_EQ(std::ranges::count(trace, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Fuse bit r"), 1);
}

TEST(FuseReading, AnotherChipInTheSocketEndsItWithTheMismatchMessageOnly) {
  for (const std::string device : kAllDevices) {
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
  const Texts trace = run.NewTrace();
  EXPECT_EQ(std::ranges::count(trace, kDone), 0);
}

}  // namespace
}  // namespace fenwright::fuse
