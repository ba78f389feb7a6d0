// The commands about the line, as a user calls them.

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "system/board_program.h"

namespace fenwright::testing {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

class LinkCli : public ::testing::Test {
 protected:
  struct Result {
    int Code = -1;
    std::string Out;
    std::string Err;
  };
  Result Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), FENWRIGHT_CLI_PROGRAM);
    Process process(arguments, {.Folder = folder_.Path().string()});
    const int code = process.Wait();
    return {.Code = code, .Out = process.Output(), .Err = process.Errors()};
  }
  Result RunOn(const BoardProgram& board, const std::string& command,
               std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"--port", "COM7=" + board.Link(), "--device", "AT90S8515"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    arguments.push_back(command);
    return Run(arguments);
  }
  TemporaryFolder folder_;
};

TEST_F(LinkCli, PortsListsTheTwentyNumbersWithTheirDevices) {
  const Result result = Run({"ports"});
  EXPECT_EQ(result.Code, 0);
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
  EXPECT_THAT(result.Out, HasSubstr("COM12  /dev/ttyUSB7   missing\n"));
  EXPECT_THAT(result.Out, HasSubstr("COM20  /dev/ttyACM7   missing\n"));
}

TEST_F(LinkCli, PortsKnowsAPortGivenForTheCall) {
  const BoardProgram board("AT90S8515");
  const json free = json::parse(Run({"--json", "--port", "COM7=" + board.Link(), "ports"}).Out);
  ASSERT_EQ(free.size(), 20U);
  EXPECT_EQ(free[6]["number"], 7);
  EXPECT_EQ(free[6]["name"], "COM7");
  EXPECT_EQ(free[6]["device_path"], board.Link());
  EXPECT_EQ(free[6]["state"], "usable");
  EXPECT_EQ(free[6]["description"], "疑似端末");
  EXPECT_EQ(free[6]["reason"], "");
  EXPECT_EQ(free[7]["state"], "missing");
  EXPECT_THAT(free[7]["reason"].get<std::string>(), HasSubstr("/dev/ttyUSB3"));
}

TEST_F(LinkCli, PortsSayWhyAFileThatIsThereIsNoPort) {
  const std::string out = Run({"--port", "COM20=/etc/passwd", "ports"}).Out;
  EXPECT_THAT(out, HasSubstr("COM20  /etc/passwd    missing\n"
                             "       /etc/passwd はシリアルポートではありません。"));
  const std::string absent = Run({"--port", "COM20=/dev/not_there", "ports"}).Out;
  EXPECT_THAT(absent, HasSubstr("COM20  /dev/not_there  missing\n"));
  EXPECT_THAT(absent, ::testing::Not(HasSubstr("/dev/not_there がありません")));
}

TEST_F(LinkCli, PortsOfASimulatedRunAreAllTheSimulatedBoard) {
  const json list = json::parse(Run({"--json", "--simulate", "ports"}).Out);
  for (const json& port : list) {
    EXPECT_EQ(port["state"], "usable");
    EXPECT_THAT(port["description"].get<std::string>(), HasSubstr("シミュレーション"));
  }
}

TEST_F(LinkCli, PortsRefusesANumberThatIsNone) {
  EXPECT_EQ(Run({"--port", "COM21", "ports"}).Code, 2);
}

TEST_F(LinkCli, DetectTellsPortVersionVerdictAndAnswer) {
  const BoardProgram board("AT90S8515");
  const Result result = RunOn(board, "detect");
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("port:     COM7 (" + board.Link() +
                                    ")\n"
                                    "board:    KV-LOD350  V6.38\n"
                                    "firmware: accepted\n"
                                    "device:   AT90S8515: accepted\n"));
}

TEST_F(LinkCli, DetectAsJson) {
  const BoardProgram board("AT90S8515");
  const json result = json::parse(RunOn(board, "detect", {"--json"}).Out);
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
  const json first = json::parse(RunOn(advised, "detect", {"--json"}).Out);
  EXPECT_EQ(first["firmware"], "advised");
  EXPECT_EQ(first["exit_code"], 0);
  const BoardProgram refused("AT90S8515", {"--version-line", "KV-LOD350  V6.29"});
  const Result old = RunOn(refused, "detect", {"--json"});
  EXPECT_EQ(old.Code, 3);
  const json second = json::parse(old.Out);
  EXPECT_EQ(second["firmware"], "refused");
  EXPECT_EQ(second["device_answer"], "not asked");
}

TEST_F(LinkCli, DetectWithoutABoardNamesTheCause) {
  const Result result = Run({"--port", "/dev/ttyUSB7", "--device", "AT90S8515", "detect"});
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Out, HasSubstr("firmware: no supported programmer answered\n"));
  EXPECT_THAT(result.Err, HasSubstr("デバイス /dev/ttyUSB7 がありません"));
}

TEST_F(LinkCli, DetectOfADeviceThatTheBoardRefusesFails) {
  const BoardProgram board("AT90S8515", {"--fault", "flip@4"});
  const Result result = RunOn(board, "detect");
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Out, HasSubstr("device:   AT90S8515: refused\n"));
}

TEST_F(LinkCli, CheckLinkPrintsTheRoundTripAndTheForecast) {
  const BoardProgram board("AT90S8515");
  const Result result = RunOn(board, "check-link");
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr(" ms (200 exchanges, 0.35 ms of each on the wire)\n"));
  EXPECT_THAT(result.Out, HasSubstr("forecast: AT90S8515 in full: "));
  EXPECT_EQ(result.Err, "");
  const Bytes wire = board.Wire();
  EXPECT_EQ(std::count(wire.begin(), wire.end(), 'A'), 201);
  EXPECT_EQ(wire.back(), 0x1B);
}

TEST_F(LinkCli, CheckLinkAdvisesWhenRepliesComeLate) {
  const BoardProgram board("AT90S8515", {"--latency-ms", "8"});
  const Result result = RunOn(board, "check-link");
  EXPECT_EQ(result.Code, 0);
  EXPECT_THAT(result.Err, HasSubstr("advice: every reply comes "));
  EXPECT_THAT(result.Err, HasSubstr("set its latency to 1 ms"));
  const json report = json::parse(RunOn(board, "check-link", {"--json"}).Out);
  EXPECT_EQ(report["exchanges"], 200);
  EXPECT_GE(report["minimum_ms"].get<double>(), 8.0);
  EXPECT_LE(report["minimum_ms"], report["median_ms"]);
  EXPECT_LE(report["median_ms"], report["maximum_ms"]);
  EXPECT_GT(report["forecast_write_seconds"].get<double>(), 9216 * 0.0076);
  EXPECT_THAT(report["advice"].get<std::string>(), Not(::testing::IsEmpty()));
}

TEST_F(LinkCli, CheckLinkFailsWhenAnExchangeIsNotAnswered) {
  const BoardProgram board("AT90S8515", {"--fault", "silent@54"});
  const Result result = RunOn(board, "check-link", {"--json"});
  EXPECT_EQ(result.Code, 1);
  const json report = json::parse(result.Out);
  EXPECT_EQ(report["message"], "exchange 50 of 200 was not answered");
  EXPECT_EQ(report["exchanges"], 49);
}

TEST_F(LinkCli, CheckLinkWithoutABoardEndsAsDetectDoes) {
  const Result result = Run({"--port", "/dev/ttyUSB7", "--device", "AT90S8515", "check-link"});
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Out, Not(HasSubstr("round trip")));
}

TEST_F(LinkCli, DetectAndCheckLinkNeedADevice) {
  for (const char* command : {"detect", "check-link"}) {
    EXPECT_EQ(Run({"--simulate", command}).Code, 2) << command;
  }
}

}  // namespace
}  // namespace fenwright::testing
