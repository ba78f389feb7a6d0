// Writing fuse and lock bytes: wire, trace, messages, and the warning about the reset pin.

#include "fuse/fuse_writing.h"

#include "fuse/fuse_bytes.h"
#include "fuse/fuse_devices.h"
#include "fuse/reset_pin.h"
#include "support/traces.h"

namespace fenwright::fuse {
namespace {

constexpr const char* kWriting = "Lock/Fuse bit ライト中....";
constexpr const char* kWritten = "Lock/Fuse bit ライトが完了しました。";
constexpr const char* kNotWritten = "Lock/Fuse bit ライトに失敗しました。";

const std::map<std::string, std::vector<Exchange>>& DefaultWrites() {
  static const std::vector<Exchange> lock_only{{"'l' FF", "0D"}};
  static const std::vector<Exchange> single{{"'f' BE", "0D"}, {"'l' FF", "0D"}};
  static const std::map<std::string, std::vector<Exchange>> rows{
      {"ATtiny12L", {{"'u' D2", "0D"}, {"'l' FF", "0D"}}},
      {"ATtiny15L", {{"'u' D6", "0D"}, {"'l' FF", "0D"}}},
      {"ATtiny26L", {{"'u' E1", "0D"}, {"';' AC A8 00 F7", "0D"}, {"';' AC E0 00 FF", "0D"}}},
      {"AT90S2323", single},
      {"AT90S2343", single},
      {"AT90S1200 (外部ｸﾛｯｸ)", lock_only},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", lock_only},
      {"AT90S2313", lock_only},
      {"AT90S4433", {{"'f' BA", "0D"}, {"'l' FF", "0D"}}},
      {"AT90S4414", lock_only},
      {"AT90S4434", single},
      {"AT90S8515", lock_only},
      {"AT90S8535", single},
  };
  return rows;
}

struct WritingRun : ScriptedRun {
  explicit WritingRun(const std::string& device) : Device(device) {
    Select(Context, device);
    NewTrace();
  }
  void Choose(const Positions& positions) {
    for (const auto& [list, index] : positions) Fuses.Select(list, index);
  }
  void Write() { WriteFuses(Context); }
  /// Scripts the default write in which that exchange is not answered, or with `reply`, and writes.
  void WriteFailingAt(std::size_t failing, const std::string& reply = "") {
    ScriptWithFailureAt(Port, Transcript(Device, DefaultWrites().at(Device)), failing, reply);
    Write();
  }
  /// Scripts the check of the chip alone.
  void ExpectCheck() {
    for (const auto& [sent, reply] : Transcript(Device, {})) Port.Expect(sent, reply);
  }
  void WriteExpecting(const std::vector<Exchange>& commands) {
    for (const auto& [sent, reply] : Transcript(Device, commands)) {
      Port.Expect(sent, reply);
    }
    Write();
  }

  std::string Device;
};

/// Chooses, and expects these commands on the wire.
void ExpectWritten(const std::string& device, const Positions& positions, const Texts& commands) {
  SCOPED_TRACE(device + " " + commands.front());
  WritingRun run(device);
  run.Choose(positions);
  std::vector<Exchange> exchanges;
  for (const std::string& command : commands) exchanges.push_back({command, "0D"});
  run.WriteExpecting(exchanges);
  EXPECT_EQ(run.State.LinkError, 0);
}

TEST(FuseWriting, EveryDeviceIsWrittenWithItsDefaultsAsDescribed) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    WritingRun run(device);
    run.WriteExpecting(DefaultWrites().at(device));
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.PanelText(Panel::Status), kWritten);
    ASSERT_EQ(run.Dialog.Shown.size(), 1U);
    EXPECT_EQ(run.Dialog.Shown.front().first, kWriting);
    EXPECT_EQ(run.Dialog.Shown.front().second, MessageMode::Busy);
    EXPECT_FALSE(run.Dialog.Loaded);
    EXPECT_TRUE(run.State.Command.FusesFinished);
  }
}

TEST(FuseWriting, EveryFieldReachesItsBitOnTheWire) {
  ExpectWritten("ATtiny12L", {{Cksel, 2}, {Lock, 2}}, {"'u' D2", "'l' FF"});
  ExpectWritten("ATtiny12L", {{Cksel, 15}, {Rstdisabl, 0}, {Boden, 0}, {Lock, 1}},
                {"'u' 8F", "'l' FD"});
  ExpectWritten("ATtiny15L", {{Cksel, 3}, {Bodlevel, 0}, {Lock, 0}}, {"'u' 57", "'l' F9"});
  ExpectWritten("ATtiny15L", {{Cksel, 2}}, {"'u' D6", "'l' FF"});
  ExpectWritten("ATtiny26L",
                {{Cksel, 4},
                 {Sut, 0},
                 {Ckopt, 0},
                 {Pllck, 0},
                 {Boden, 0},
                 {Bodlevel, 0},
                 {Eesave, 0},
                 {Rstdisabl, 0},
                 {Lock, 0}},
                {"'u' 04", "';' AC A8 00 E0", "';' AC E0 00 FC"});
  ExpectWritten("ATtiny26L", {{Sut, 3}, {Boden, 0}, {Eesave, 0}, {Lock, 1}},
                {"'u' F1", "';' AC A8 00 F2", "';' AC E0 00 FE"});
  ExpectWritten("AT90S4433", {{Cksel, 7}, {Boden, 0}, {Bodlevel, 0}}, {"'f' A7", "'l' FF"});
  ExpectWritten("AT90S2323", {{Fstrt, 1}}, {"'f' BF", "'l' FF"});
  ExpectWritten("AT90S4434", {{Fstrt, 1}, {Lock, 1}}, {"'f' BF", "'l' FD"});
  ExpectWritten("AT90S8535", {{Fstrt, 1}}, {"'f' BF", "'l' FF"});
  ExpectWritten("AT90S2343", {{Rcen, 1}, {Lock, 0}}, {"'f' BF", "'l' F9"});
  ExpectWritten("AT90S8515", {{Lock, 0}}, {"'l' F9"});
}

TEST(FuseWriting, TheByteLineSaysWhatIsSent) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    WritingRun run(device);
    for (auto& [list, content] : run.Fuses.Lists) {
      content.Index = static_cast<int>(content.Items.size()) - 1;
    }
    ShowFuseBytes(run.Context);
    const std::string line = run.Fuses.ByteLine;
    run.ExpectCheck();
    // Nothing more is answered: the first byte is enough to compare here.
    run.Port.Expect("'A'");
    for (std::size_t i = 1; i < DefaultWrites().at(device).size(); ++i) {
      run.Port.Expect("'A'", "0D");
    }
    run.Write();
    const core::AppState& state = run.State;
    const std::string last_fuse = ToHex(std::array{state.FuseByte});
    const std::string lock = ToHex(std::array{state.LockByte});
    EXPECT_TRUE(line.ends_with("Lock 0x" + lock)) << line;
    if (device == "ATtiny26L") {
      EXPECT_THAT(line, HasSubstr("High 0x" + last_fuse));
    }
    if (line.starts_with("Fuse") && device != "ATtiny26L") {
      EXPECT_TRUE(line.starts_with("Fuse 0x" + last_fuse)) << line;
    }
  }
}

TEST(FuseWriting, TheByteLineTakesWhatEachWorkingByteHoldsForListsThatAreUnset) {
  ScriptedRun run;
  run.Form.ForcedText = "ATtiny12L";
  run.State.FuseByte = 0x12;
  run.State.LockByte = 0x34;
  EXPECT_EQ(DescribeFuseBytes(ComposeFuseBytes(run.Context)), "Fuse 0x12  Lock 0x34");
}

TEST(FuseWriting, TheTraceHasNoLabelsOfItsOwn) {
  WritingRun run("ATtiny12L");
  run.WriteExpecting(DefaultWrites().at("ATtiny12L"));
  const Texts mode{"A_AvrExtend command A : 0D", "Enter programming Mode P : 0D",
                   "Leave programming Mode L : 0D"};
  EXPECT_EQ(run.NewTrace(),
            Joined<Texts>({{kWriting}, SignatureTrace("1E:90:05"), mode, mode, {kWritten}}));
}

TEST(FuseWriting, StartsWithTheFlagClearedAndEndsWithTheDialogClosed) {
  for (const std::int16_t flag : {std::int16_t{1}, std::int16_t{2}}) {
    WritingRun run("ATtiny12L");
    run.State.LinkError = flag;
    run.WriteExpecting(DefaultWrites().at("ATtiny12L"));
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.PanelText(Panel::Status), kWritten);
    EXPECT_FALSE(run.Dialog.Loaded);
  }
}

TEST(FuseWriting, AnUnansweredExchangeEndsItAsDescribedWhicheverItIs) {
  for (const std::string& device : AllDevices()) {
    const std::vector<Exchange> transcript = Transcript(device, DefaultWrites().at(device));
    for (std::size_t failing = 0; failing < transcript.size(); ++failing) {
      SCOPED_TRACE(device + " " + std::to_string(failing));
      WritingRun run(device);
      run.WriteFailingAt(failing);
      const bool check = failing < kCheckExchanges;
      const Texts trace = run.NewTrace();
      EXPECT_EQ(std::ranges::count(trace, kNotWritten), check ? 0 : 2);
      EXPECT_EQ(std::ranges::count(trace, kWritten), 0);
      EXPECT_EQ(run.State.LinkError, 1);
      EXPECT_EQ(run.State.Command.FuseWriteStarted,
                failing > kCheckExchanges);  // its "A" is not enough
      EXPECT_FALSE(run.State.Command.FusesFinished);
      if (!check) {
        EXPECT_EQ(run.Dialog.Text, kNotWritten);
        EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
      }
    }
  }
}

TEST(FuseWriting, AWrongAcknowledgementEndsItLikeNoneWhicheverItIs) {
  for (const std::string& device : AllDevices()) {
    const std::vector<Exchange> transcript = Transcript(device, DefaultWrites().at(device));
    for (std::size_t failing = 0; failing < transcript.size(); ++failing) {
      if (transcript[failing].Reply != "0D") continue;
      SCOPED_TRACE(device + " " + std::to_string(failing));
      WritingRun run(device);
      run.WriteFailingAt(failing, "3F");
      const Texts trace = run.NewTrace();
      EXPECT_EQ(std::ranges::count(trace, kNotWritten), failing < kCheckExchanges ? 0 : 2);
      EXPECT_EQ(std::ranges::count(trace, kWritten), 0);
      EXPECT_EQ(run.State.LinkError, 1);
      EXPECT_FALSE(run.State.Command.FusesFinished);
    }
  }
}

TEST(FuseWriting, AnyFlagThatTheCheckLeavesEndsIt) {
  constexpr std::int16_t kOther = 2;
  WritingRun run("AT90S8535");
  // Before the answer to the check's last "L".
  run.Events.OnTurn = [&] {
    if (run.Port.Sent.size() == 4) run.State.LinkError = kOther;
  };
  run.WriteExpecting({});
  EXPECT_EQ(run.State.LinkError, kOther);
  EXPECT_FALSE(run.State.Command.FuseWriteStarted);
  EXPECT_THAT(run.NewTrace(), Not(Contains(kNotWritten)));
}

TEST(FuseWriting, AWrongReplyNamesTheCommandAndTheLaterBytesAreNotWritten) {
  WritingRun run("ATtiny12L");
  run.ExpectCheck();
  run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'u' D2", "3F").Expect("'L'", "0D");
  run.Port.Expect("'A'", "0D");
  run.Write();
  const Texts trace = run.NewTrace();
  EXPECT_EQ(std::ranges::count(trace, "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Write Fuse bit u"), 1);
  EXPECT_EQ(run.Dialog.Text, kNotWritten);
  EXPECT_TRUE(run.State.Command.FuseBytes.empty());
}

TEST(FuseWriting, AnotherChipInTheSocketIsNotWritten) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    WritingRun run(device);
    run.Port.Expect("'A'", "0D").Expect("'P'", "0D").Expect("'s'", "04 90 1E").Expect("'L'", "0D");
    run.Write();
    EXPECT_EQ(run.State.LinkError, 1);
    EXPECT_EQ(run.Dialog.Shown.size(), 2U);  // busy, and the check's own message
    EXPECT_FALSE(run.State.Command.FuseWriteStarted);
  }
}

TEST(FuseWriting, WithAnEmptySelectorItStopsAfterTheCheck) {
  WritingRun run("ATtiny12L");
  run.ExpectCheck();
  run.Events.OnTurn = [&] {
    if (run.Port.Sent.size() == 4) run.Form.ForcedText = "";
  };
  run.Write();
  EXPECT_EQ(run.Port.Sent.size(), 4U);
  EXPECT_THAT(run.NewTrace(), Not(Contains(kWritten)));
}

TEST(FuseWriting, ForANameThatIsNoDeviceNothingIsWrittenAndItCompletes) {
  WritingRun run("ATtiny12L");
  run.ExpectCheck();
  run.Events.OnTurn = [&] {
    if (run.Port.Sent.size() == 4) run.Form.ForcedText = "AT90S2333";
  };
  run.Write();
  EXPECT_EQ(run.Port.Sent.size(), 4U);
  EXPECT_EQ(run.PanelText(Panel::Status), kWritten);
}

TEST(FuseWriting, AnUnsetListSendsWhatTheWorkingByteLastHeld) {
  WritingRun run("AT90S4433");
  run.State.FuseByte = 0x42;
  run.State.LockByte = 0x24;
  run.Choose({{Cksel, -1}, {Boden, -1}, {Bodlevel, -1}, {Lock, -1}});
  run.WriteExpecting({{"'f' 42", "0D"}, {"'l' 24", "0D"}});
  EXPECT_EQ(run.State.FuseByte, 0x42);
}

TEST(FuseWriting, AnUnsetBaseOfTheHighByteTakesTheLowByteJustWritten) {
  WritingRun run("ATtiny26L");
  run.Choose({{Boden, -1}, {Bodlevel, 0}, {Eesave, 0}, {Rstdisabl, 0}});
  run.WriteExpecting({{"'u' E1", "0D"}, {"';' AC A8 00 E1", "0D"}, {"';' AC E0 00 FF", "0D"}});
}

TEST(FuseWriting, TheWorkingBytesHoldWhatWasSentLast) {
  WritingRun run("ATtiny26L");
  run.WriteExpecting(DefaultWrites().at("ATtiny26L"));
  EXPECT_EQ(run.State.FuseByte, 0xF7);
  EXPECT_EQ(run.State.LockByte, 0xFF);
}

constexpr const char* kWarning =
    "ＰＢ５またはＰＢ７リセット機能の無効「PB5:I/O」または「PB7:I/"
    "O」を選択しライトした場合、そのデバイスは、このプログラマ(Low-voltage Serial Programming "
    "mode)ではアクセスできなくなります。ＯＴＰデバイスと同じ扱いとなりますので注意してください。";

TEST(ResetDisableWarning, IsShownForTheFirstItemOfEachDeviceThatHasIt) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    const bool has_it = device.starts_with("ATtiny");
    WritingRun run(device);
    run.Fuses.Select(Rstdisabl, 0);
    WarnOfResetDisable(run.Context);
    EXPECT_EQ(run.Dialog.Shown.size(), has_it ? 1U : 0U);
    EXPECT_EQ(run.NewTrace(), has_it ? Texts{kWarning} : Texts{});
    EXPECT_EQ(run.Fuses.Lists[Rstdisabl].Index, 0);
    if (!has_it) continue;
    EXPECT_EQ(run.Dialog.Text, kWarning);
    EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
  }
}

TEST(ResetDisableWarning, IsNotShownForTheSecondItem) {
  WritingRun run("ATtiny26L");
  run.Fuses.Select(Rstdisabl, 1);
  WarnOfResetDisable(run.Context);
  EXPECT_TRUE(run.Dialog.Shown.empty());
}

TEST(ResetDisableWarning, TheWriteItselfAsksNothing) {
  WritingRun run("ATtiny12L");
  run.Fuses.Select(Rstdisabl, 0);
  run.WriteExpecting({{"'u' C2", "0D"}, {"'l' FF", "0D"}});
  EXPECT_TRUE(run.Boxes.Questions.empty());
  EXPECT_EQ(run.Dialog.Shown.size(), 1U);
}

}  // namespace
}  // namespace fenwright::fuse
