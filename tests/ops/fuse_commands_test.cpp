// The commands of the fuse frame's buttons, from the link check to the chip.

#include "core/device_catalogue.h"
#include "fuse/fuse_devices.h"
#include "fuse/fuse_model.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"

namespace fenwright::testing {
namespace {

std::uint8_t CodeOf(const std::string& device) { return core::FindDevice(device)->DeviceCode; }

bool Readable(const std::string& device) {
  return !device.starts_with("AT90S1200") && device != "AT90S2313" && device != "AT90S4414" &&
         device != "AT90S8515";
}

/// The lists with another position than the default one, the reset pin left alone.
void ChooseOther(FakeFuseForm& form) {
  for (auto& [list, content] : form.Lists) {
    if (!content.Enabled || list == Rstdisabl || list == Lock) continue;
    content.Index = (content.Index + 1) % static_cast<int>(content.Items.size());
  }
}

TEST(FuseCommands, WriteAndReadStartWithTheMarkAndTheLinkCheck) {
  for (const std::string& device : AllDevices()) {
    for (const auto command : {&ops::cmdFuseRead_Click, &ops::cmdFuseWrite_Click}) {
      SCOPED_TRACE(device);
      BoardRun run(device);
      EXPECT_EQ(ops::RunCommand(run.Context, command), CommandEnding::Finished);
      EXPECT_EQ(run.NewTrace().front(), "\r\n>>>>> START <<<<<");
      Bytes start = BoardRun::LinkCheckBytes(CodeOf(device));
      for (const std::uint8_t byte : Hex("'APsL'")) start.push_back(byte);
      ASSERT_GE(run.Wire.size(), start.size());
      EXPECT_TRUE(std::equal(start.begin(), start.end(), run.Wire.begin()));
      EXPECT_TRUE(ops::Succeeded(run.State));
      EXPECT_FALSE(run.Dialog.Loaded);
    }
  }
}

TEST(FuseCommands, WhatIsWrittenIsInTheChipAndReadBack) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    BoardRun run(device);
    ChooseOther(run.Fuses);
    run.Fuses.Select(Lock, 1);
    Positions chosen = PositionsOf(run.Fuses);
    ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
    EXPECT_EQ(run.Chip().LockBits(), 2U);
    if (!Readable(device)) continue;
    BoardRun other(device);
    other.Chip().SetFuses(run.Chip().FuseLow(), run.Chip().FuseHigh());
    other.Chip().SetLockBits(run.Chip().LockBits());
    ops::RunCommand(other.Context, ops::cmdFuseRead_Click);
    // "01" of an ATtiny15L writes the chip's bits 11.
    if (device == "ATtiny15L") chosen[Cksel] = 3;
    EXPECT_EQ(PositionsOf(other.Fuses), chosen);
  }
}

TEST(FuseCommands, AChipInItsThirdLockModeIsTakenForAnotherOne) {
  BoardRun run("ATtiny12L");
  run.Fuses.Select(Lock, 0);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  EXPECT_EQ(run.Chip().LockBits(), 0U);
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  EXPECT_EQ(run.Dialog.Text, "設定デバイスと、ソケット上のデバイスがミスマッチです。");
}

TEST(FuseCommands, AChipWhoseResetPinWasGivenAwayIsNeverReachedAgain) {
  for (const char* device : {"ATtiny12L", "ATtiny15L", "ATtiny26L"}) {
    SCOPED_TRACE(device);
    BoardRun run(device);
    run.Fuses.Select(Rstdisabl, 0);
    ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
    EXPECT_TRUE(ops::Succeeded(run.State));
    ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
    EXPECT_FALSE(ops::Succeeded(run.State));
    EXPECT_EQ(run.PanelText(Panel::Signature), "FF:FF:FF");
    ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
    EXPECT_FALSE(run.State.Command.FuseWriteStarted);
  }
}

TEST(FuseCommands, AFailingLinkCheckSendsNothingToTheChip) {
  for (const auto command : {&ops::cmdFuseRead_Click, &ops::cmdFuseWrite_Click}) {
    BoardRun run("ATtiny12L", WithFaults("silent"));
    command(run.Context);
    EXPECT_EQ(std::ranges::count(run.Wire, 'P'), 0);
    EXPECT_FALSE(ops::Succeeded(run.State));
  }
}

TEST(FuseCommands, AFailureSaysInASecondLineWhatStateTheChipIsIn) {
  // Link check 4 replies, A P s L, then A P u: reply 11; L A P l: reply 15.
  struct Case {
    const char* Fault;
    const char* Text;
    const char* State;
  };
  for (const auto& [fault, text, state] :
       {Case{"drop@7", "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Signature bytes s", "the chip was not changed"},
        Case{"drop@11", "Lock/Fuse bit ライトに失敗しました。",
             "write not confirmed, the bits may have changed: read them, then write again"},
        Case{"drop@15", "Lock/Fuse bit ライトに失敗しました。",
             "1 of 2 bytes written, the rest is not confirmed: read the bits, then write again"},
        Case{"drop@16", "Lock/Fuse bit ライトに失敗しました。",
             "all bytes written, but the board answered wrongly: read the bits"}}) {
    SCOPED_TRACE(fault);
    const bool no_signature = std::string(fault) == "drop@7";
    // Each of the five attempts to read the signature has to fail.
    std::vector<board::Fault> faults{MakeFault(fault)};
    for (int more = 8; no_signature && more <= 11; ++more) {
      faults.push_back(MakeFault("drop@" + std::to_string(more)));
    }
    BoardRun failing("ATtiny12L", {.Faults = faults});
    ops::RunCommand(failing.Context, ops::cmdFuseWrite_Click);
    EXPECT_EQ(failing.Dialog.Text, text);
    EXPECT_FALSE(failing.Dialog.IsBusy());
    EXPECT_EQ(failing.Dialog.Detail,
              ops::DescribeChipState(failing.State, core::Language::Japanese));
    EXPECT_EQ(failing.ChipState(), state);
  }
}

TEST(FuseCommands, AFailedReadSaysWhatTheListsShow) {
  BoardRun mismatch("ATtiny12L", {.Chip = "AT90S2313"});
  ops::RunCommand(mismatch.Context, ops::cmdFuseRead_Click);
  EXPECT_EQ(mismatch.Dialog.Text, "設定デバイスと、ソケット上のデバイスがミスマッチです。");
  EXPECT_EQ(mismatch.ChipState(),
            "no fuse or lock bits read, the lists are unchanged: check the connection and the "
            "device in the socket and read again");
  EXPECT_EQ(mismatch.Dialog.Detail,
            "ソケットには AT90S2313 があります。\r\n" +
                ops::DescribeChipState(mismatch.State, core::Language::Japanese));
  BoardRun partly("ATtiny12L", WithFaults("drop@15"));
  ops::RunCommand(partly.Context, ops::cmdFuseRead_Click);
  EXPECT_EQ(partly.ChipState(),
            "fuse and lock bits read in part, the other lists are unchanged: read again");
}

TEST(FuseCommands, AnyReplyMayBeLostAndTheNextCommandWorks) {
  for (const std::string& device : AllDevices()) {
    for (const auto command : {&ops::cmdFuseRead_Click, &ops::cmdFuseWrite_Click}) {
      // The link check has 4 replies, the check of the chip 4, and each byte 4.
      const fuse::FuseLayout& layout = fuse::LayoutOf(device);
      const std::size_t bytes =
          command == &ops::cmdFuseRead_Click ? layout.ReadSteps.size() : layout.WriteSteps.size();
      for (std::size_t reply = 1; reply <= 8 + 4 * bytes; ++reply) {
        SCOPED_TRACE(device + " " + std::to_string(reply));
        BoardRun run(device, WithFaults("drop@" + std::to_string(reply)));
        command(run.Context);
        EXPECT_FALSE(run.Dialog.IsBusy());
        EXPECT_TRUE(run.Fuses.FrameVisible);
        run.Clock.Advance(2);
        command(run.Context);
        EXPECT_TRUE(ops::Succeeded(run.State)) << run.PanelText(Panel::Status);
      }
    }
  }
}

TEST(FuseCommands, NoneStartsWhileAnotherCommandRuns) {
  BoardRun run("ATtiny12L");
  std::vector<CommandEnding> endings;
  run.Events.OnTurn = [&] {
    run.Events.OnTurn = {};
    for (const auto command :
         {&ops::cmdFuseRead_Click, &ops::cmdFuseWrite_Click, &ops::Combo_RSTDISABL_Click}) {
      endings.push_back(ops::RunCommand(run.Context, command));
    }
  };
  EXPECT_EQ(ops::RunCommand(run.Context, ops::cmdFuseRead_Click), CommandEnding::Finished);
  EXPECT_EQ(endings, std::vector(3, CommandEnding::Refused));
  EXPECT_TRUE(ops::Succeeded(run.State));
}

TEST(FuseCommands, AStopLeavesProgrammingMode) {
  BoardRun run("ATtiny26L");
  run.Events.OnTurn = [&] {
    if (std::ranges::count(run.Wire, 'u') == 1) run.State.StopRequested = true;
  };
  EXPECT_EQ(ops::RunCommand(run.Context, ops::cmdFuseWrite_Click), CommandEnding::Stopped);
  EXPECT_EQ(run.Wire.back(), 'L');
  EXPECT_FALSE(run.Dialog.Loaded);
  EXPECT_EQ(std::ranges::count(run.Wire, ';'), 0);
}

TEST(FuseCommands, PickingTheResetPinWarnsUnderTheGuardOfACommand) {
  BoardRun run("ATtiny26L");
  run.Fuses.Select(Rstdisabl, 0);
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Combo_RSTDISABL_Click), CommandEnding::Finished);
  EXPECT_EQ(run.Dialog.Mode, MessageMode::Notice);
  EXPECT_TRUE(run.Wire.empty());
  EXPECT_EQ(run.NewTrace().size(), 1U);
}

}  // namespace
}  // namespace fenwright::testing
