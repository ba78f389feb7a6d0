// What is said beside the result of programming a file that cannot be meant.

#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

constexpr const char* kWords = ":040000000C940D94BB\r\n";

/// Opens files and programs them.
struct DoubtRun : BoardRun {
  explicit DoubtRun(board::SimulatedBoardOptions options = {})
      : BoardRun("ATtiny12L", std::move(options)) {}

  void Do(const ops::Entry& command) {
    EXPECT_EQ(ops::RunCommand(Context, command), CommandEnding::Finished);
  }
  void Open(const std::string& code, const std::string& data = "") {
    Files.Files[kCodePath] = code;
    if (!data.empty()) Files.Files[kDataPath] = data;
    Do([](core::RunContext& context) { ops::OpenPair(context, kCodePath); });
  }
  /// The detail line of the result, without the words that stand last below a success: about the
  /// use of the chip, or that there was nothing to program.
  std::string Program() {
    Do(ops::Cmd_btn_program_Click);
    EXPECT_TRUE(Dialog.Loaded);
    std::string detail = Dialog.Detail;
    if (!ops::Succeeded(State)) return detail;
    const std::string use = State.Command.NothingToProgram
                                ? ops::DescribeChipState(State, core::Language::Japanese)
                                : ops::DescribeUsage(State);
    EXPECT_THAT(detail, EndsWith(use));
    detail.erase(detail.size() - std::min(use.size(), detail.size()));
    return detail.ends_with("\r\n") ? detail.substr(0, detail.size() - 2) : detail;
  }
};

struct ImageDoubt : Test {
  DoubtRun Run;
};

const std::string kTooLarge = HexFile(Bytes(2048, 0x12));
constexpr const char* kBeyond =
    "⚠ prog.hex : 65行目 : アドレス 0x0400 は ATtiny12L の容量(0x03FF まで)を超えています。"
    "1024 word のうち 512 word は書き込まれません。デバイスの選択と、そのデバイス用のファイルである"
    "ことを確認してください。";

TEST_F(ImageDoubt, AGoodFileHasNone) {
  Run.Open(HexFile(Bytes(64, 0x12)), HexFile(Bytes(64, 0x34)));
  EXPECT_EQ(Run.Program(), "");
  EXPECT_EQ(Run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
}

TEST_F(ImageDoubt, StandsBelowASuccessAndIsTraced) {
  Run.Open(kTooLarge);
  Run.NewTrace();
  EXPECT_EQ(Run.Program(), kBeyond);
  EXPECT_EQ(Run.Dialog.Text, "ベリファイ　FLASH : OK / EEPROM : OK");
  EXPECT_EQ("⚠ " + Run.NewTrace().back(), kBeyond) << "but for the sign";
  EXPECT_EQ(Run.Program(), kBeyond) << "each time";
}

TEST_F(ImageDoubt, IsTheFirstOneOfTheCodeFileOrElseOfTheDataFile) {
  const std::string bad_data = ":0100400011AE\r\n:00000001FF\r\n";
  Run.Open(kTooLarge, bad_data);
  EXPECT_EQ(Run.Program(), kBeyond);
  Run.Open(std::string(kWords) + ":00000001FF\r\n");
  EXPECT_TRUE(Run.Program().starts_with("⚠ prog.eep : 1行目 : アドレス 0x0040 は "))
      << Run.Program();
  Run.Open(":040000000C940D9400\r\n");
  EXPECT_TRUE(Run.Program().starts_with("⚠ prog.hex : 1行目 : チェックサムが合いません。"));
}

TEST_F(ImageDoubt, ANoteIsNone) {
  Run.Open(std::string(kWords) + kWords + ":00000001FF\r\n\r\n");
  EXPECT_EQ(Run.Program(), "");
}

TEST_F(ImageDoubt, StandsBelowTheStateOfTheChipAfterAFailure) {
  DoubtRun run(WithFaults("lie@2"));
  run.Open(kTooLarge);
  EXPECT_EQ(run.Program(),
            "一致しない箇所 : フラッシュ 1 ワード。\r\n"
            "デバイスから読み出した内容がファイルと一致しません。違いはベリファイ結果にあります。"
            "イレースしてから、もう一度プログラムしてください。\r\n" +
                std::string(kBeyond));
  EXPECT_EQ("⚠ " + run.NewTrace().back(), kBeyond) << "the state is the line before it";
}

TEST_F(ImageDoubt, IsNotSaidWhenTheChipWasNotTouched) {
  DoubtRun run({.Chip = "AT90S2313"});
  run.Open(kTooLarge);
  EXPECT_THAT(run.Program(), Not(HasSubstr("⚠")));
}

TEST_F(ImageDoubt, OfADataFileThatCouldNotBeReadIsSaid) {
  Run.Open(std::string(kWords) + "hello\r\n:00000001FF\r\n", HexFile(Bytes(64, 0x34)));
  EXPECT_TRUE(Run.Program().starts_with("⚠ prog.hex : 2行目 : 「:」で始まっていない"));
  Run.Open(std::string(kWords) + ":00000001FF\r\n");
  EXPECT_EQ(Run.Program(), "⚠ prog.hex : 読み込めませんでした。");
}

TEST_F(ImageDoubt, StaysWithAFileWhoseNameWasForgotten) {
  Run.Files.Files[kCodePath] = std::string(kWords) + ":02FFFF000102FD\r\n";
  Run.FileDialogs.Choice = kCodePath;
  Run.Do(ops::mnuFileOpenCode_Click);
  ASSERT_EQ(Run.State.CodeFileName, "");
  EXPECT_TRUE(Run.Program().starts_with("⚠ prog.hex : 2行目 : アドレス 0x10000 が"));
}

TEST_F(ImageDoubt, GoesWithTheFile) {
  const std::string good = std::string(kWords) + ":00000001FF\r\n";
  Run.FileDialogs.Choice = kCodePath;
  const std::vector<ops::Entry> commands{ops::mnuPC_buffer_clear_Click,
                                         ops::Cmd_btn_read_Click,
                                         ops::Combo_device_Click,
                                         [&](core::RunContext& context) {
                                           Run.Files.Files[kCodePath] = good;
                                           ops::mnuFileOpenCode_Click(context);
                                         },
                                         [&](core::RunContext& context) {
                                           Run.Files.Files[kCodePath] = good;
                                           ops::mnuReLoad_Click(context);
                                         },
                                         [&](core::RunContext& context) {
                                           Run.Files.Files.erase(kCodePath);
                                           ops::mnuReLoad_Click(context);
                                         }};
  for (std::size_t i = 0; i < commands.size(); ++i) {
    Run.Open(kTooLarge);
    ASSERT_EQ(Run.Program(), kBeyond);
    Run.Do(commands[i]);
    EXPECT_EQ(Run.Program(), "") << i;
  }
}

TEST_F(ImageDoubt, OfTheDataFileGoesWithItToo) {
  for (const ops::Entry& command : std::vector<ops::Entry>{
           ops::mnuPC_buffer_clear_Click, ops::Cmd_btn_read_Click, ops::Combo_device_Click}) {
    Run.Open(std::string(kWords) + ":00000001FF\r\n", ":0100400011AE\r\n:00000001FF\r\n");
    ASSERT_THAT(Run.Program(), HasSubstr("prog.eep"));
    Run.Do(command);
    EXPECT_EQ(Run.Program(), "");
  }
}

TEST_F(ImageDoubt, AVerifyHasNone) {
  Run.Open(kTooLarge);
  Run.Program();
  Run.Do(ops::Cmd_btn_verify_Click);
  EXPECT_EQ(Run.Dialog.Detail, "");
}

}  // namespace
}  // namespace fenwright::testing
