// The commands about the line, as a user calls them.

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

class LinkCli : public CliTest {
 protected:
  CliResult OnCom7(const BoardProgram& board, const std::string& command) {
    return Run("--port COM7=" + board.Link() + " --device AT90S8515 " + command);
  }
};

TEST_F(LinkCli, PortsListsTheTwentyNumbersWithTheirDevices) {
  const CliResult result = Run("ports");
  EXPECT_THAT(result, AllOf(Ends(0), Prints("COM12  /dev/ttyUSB7   missing\n"),
                            Prints("COM20  /dev/ttyACM7   missing\n")));
  // A port that this user may not use has a second line with the reason.
  const std::string lines = "\n" + result.Out;
  std::vector<std::string> numbers;
  for (std::size_t at = lines.find("\nCOM"); at != std::string::npos;
       at = lines.find("\nCOM", at + 1)) {
    numbers.push_back(lines.substr(at + 1, lines.find(' ', at) - at - 1));
  }
  std::vector<std::string> expected;
  for (int number = 1; number <= 20; ++number) expected.push_back("COM" + std::to_string(number));
  EXPECT_EQ(numbers, expected) << result.Out;
}

TEST_F(LinkCli, PortsKnowsAPortGivenForTheCall) {
  const BoardProgram board("AT90S8515");
  const json free = Run("--json --port COM7=" + board.Link() + " ports").Json()["ports"];
  ASSERT_EQ(free.size(), 20U);
  EXPECT_EQ(free[6]["number"], 7);
  EXPECT_EQ(free[6]["name"], "COM7");
  EXPECT_EQ(free[6]["device_path"], board.Link());
  EXPECT_EQ(free[6]["state"], "usable");
  EXPECT_EQ(free[6]["description"], "pseudo terminal");
  EXPECT_EQ(free[6]["reason"], "");
  EXPECT_EQ(free[7]["state"], "missing");
  EXPECT_THAT(free[7]["reason"].get<std::string>(), HasSubstr("/dev/ttyUSB3"));
}

TEST_F(LinkCli, PortsSayWhyAFileThatIsThereIsNoPort) {
  EXPECT_THAT(Run("--port COM20=/etc/passwd ports"),
              Prints("COM20  /etc/passwd    missing\n"
                     "       /etc/passwd is no serial port."));
  EXPECT_THAT(Run("--port COM20=/dev/not_there ports"),
              AllOf(Prints("COM20  /dev/not_there  missing\n"),
                    Prints(Not(HasSubstr("/dev/not_there is not there")))));
}

TEST_F(LinkCli, PortsOfASimulatedRunAreAllTheSimulatedBoard) {
  const json list = Run("--json --simulate ports").Json()["ports"];
  for (const json& port : list) {
    EXPECT_EQ(port["state"], "usable");
    EXPECT_EQ(port["description"], "simulated programmer, no real port is used");
  }
}

TEST_F(LinkCli, PortsRefusesANumberThatIsNone) { EXPECT_THAT(Run("--port COM257 ports"), Ends(2)); }

TEST_F(LinkCli, PortsAppendsTheNumberOfTheCallWhenTheListDoesNotHaveIt) {
  const json list = Run("--json --port COM25=/dev/not_there ports").Json()["ports"];
  ASSERT_EQ(list.size(), 21U);
  EXPECT_EQ(list[20]["name"], "COM25");
  EXPECT_EQ(list[20]["device_path"], "/dev/not_there");
}

TEST_F(LinkCli, DetectTellsPortVersionVerdictAndAnswer) {
  const BoardProgram board("AT90S8515");
  EXPECT_THAT(OnCom7(board, "detect"), AllOf(Ends(0), Prints("port:     COM7 (" + board.Link() +
                                                             ")\n"
                                                             "board:    KV-LOD350  V6.38\n"
                                                             "firmware: accepted\n"
                                                             "device:   AT90S8515: accepted\n")));
}

TEST_F(LinkCli, DetectAsJson) {
  const BoardProgram board("AT90S8515");
  const json result = OnCom7(board, "--json detect").Json();
  EXPECT_EQ(result["command"], "detect");
  EXPECT_EQ(result["result"], "ok");
  EXPECT_EQ(result["exit_code"], 0);
  EXPECT_EQ(result["port"], "COM7");
  EXPECT_EQ(result["device_path"], board.Link());
  EXPECT_EQ(result["board_version"], "KV-LOD350  V6.38");
  EXPECT_EQ(result["firmware"], "accepted");
  EXPECT_EQ(result["device"], "AT90S8515");
  EXPECT_EQ(result["device_answer"], "accepted");
}

TEST_F(LinkCli, DetectTellsAnOldFirmwareAndAnAdvisedOneApart) {
  const BoardProgram advised("AT90S8515", {"--version-line", "KV-LOD350  V6.30"});
  const json first = OnCom7(advised, "--json detect").Json();
  EXPECT_EQ(first["firmware"], "advised");
  EXPECT_EQ(first["exit_code"], 0);
  const BoardProgram refused("AT90S8515", {"--version-line", "KV-LOD350  V6.29"});
  const CliResult old = OnCom7(refused, "--json detect");
  EXPECT_THAT(old, Ends(3));
  const json second = old.Json();
  EXPECT_EQ(second["firmware"], "refused");
  EXPECT_EQ(second["device_answer"], "not asked");
}

TEST_F(LinkCli, DetectWithoutABoardNamesTheCause) {
  EXPECT_THAT(Run("--port /dev/ttyUSB7 --device AT90S8515 detect"),
              AllOf(Ends(3), Prints("firmware: no supported programmer answered\n"),
                    Warns("/dev/ttyUSB7")));
}

TEST_F(LinkCli, DetectOfADeviceThatTheBoardRefusesFails) {
  const BoardProgram board("AT90S8515", {"--fault", "flip@4"});
  EXPECT_THAT(OnCom7(board, "detect"), AllOf(Ends(1), Prints("device:   AT90S8515: refused\n")));
}

TEST_F(LinkCli, CheckLinkPrintsTheRoundTripAndTheForecast) {
  const BoardProgram board("AT90S8515");
  EXPECT_THAT(OnCom7(board, "check-link"),
              AllOf(Ends(0), Prints(" ms (200 exchanges, 0.35 ms of each on the wire)\n"),
                    Prints("forecast: AT90S8515 in full: "), Warns(IsEmpty())));
  const Bytes wire = board.Wire();
  EXPECT_EQ(std::count(wire.begin(), wire.end(), 'A'), 201);
  EXPECT_EQ(wire.back(), 0x1B);
}

TEST_F(LinkCli, CheckLinkAdvisesWhenRepliesComeLate) {
  const BoardProgram board("AT90S8515", {"--latency-ms", "8"});
  EXPECT_THAT(OnCom7(board, "check-link"), AllOf(Ends(0), Warns("warning: every reply comes "),
                                                 Warns("set its latency to 1 ms")));
  const json report = OnCom7(board, "--json check-link").Json();
  EXPECT_EQ(report["exchanges"], 200);
  EXPECT_GE(report["minimum_ms"].get<double>(), 8.0);
  EXPECT_LE(report["minimum_ms"], report["median_ms"]);
  EXPECT_LE(report["median_ms"], report["maximum_ms"]);
  EXPECT_GT(report["forecast_write_seconds"].get<double>(), 9216 * 0.0076);
  EXPECT_EQ(report["warnings"][0]["code"], "slow-link");
}

TEST_F(LinkCli, CheckLinkFailsWhenAnExchangeIsNotAnswered) {
  const BoardProgram board("AT90S8515", {"--fault", "silent@54"});
  const CliResult result = OnCom7(board, "--json check-link");
  EXPECT_THAT(result, Ends(1));
  const json report = result.Json();
  EXPECT_EQ(report["error"]["text"], "exchange 50 of 200 was not answered");
  EXPECT_EQ(report["error"]["code"], "no-reply");
  EXPECT_EQ(report["exchanges"], 49);
}

TEST_F(LinkCli, CheckLinkWithoutABoardEndsAsDetectDoes) {
  EXPECT_THAT(Run("--port /dev/ttyUSB7 --device AT90S8515 check-link"),
              AllOf(Ends(3), Prints(Not(HasSubstr("round trip")))));
}

TEST_F(LinkCli, DetectAndCheckLinkTakeNoDeviceThatIsNone) {
  EXPECT_THAT(Run("--simulate --device none detect"), Ends(2));
  EXPECT_THAT(Run("--simulate --device none check-link"), Ends(2));
}

}  // namespace
}  // namespace fenwright::testing
