// The JSON of the command line: one object for every verb and every ending.

#include <future>
#include <map>

#include "fenwright-cli/explanations.h"
#include "fenwright-cli/verbs.h"
#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

class Json : public CliTest {
 protected:
  Json() {
    PutCode({1, 2, 3, 4});
    Put("firmware.hex", ":020000000102FB\r\n:00000001FF\r\n");
    Put("broken.hex", ":0200000001FF\r\n:00000001FF\r\n");
  }
};

/// What the call of a verb needs behind its name, with a file for those that take one.
std::string ArgumentsOf(const std::string& verb, const std::string& file) {
  if (verb == "program" || verb == "verify" || verb == "dump") return " " + file;
  if (verb == "update-firmware") return " --yes " + (file == "code.hex" ? "firmware.hex" : file);
  if (verb == "write-fuses") return " CKSEL=4";
  return "";
}

struct Case {
  std::string Name;
  std::string Before;  ///< of the verb
  std::string File = "code.hex";
  std::string Behind{};  ///< of the verb's own arguments
};

const std::string kOnBoard = "--simulate --device ATtiny12L";

/// The kinds of endings. A fault's number is that of the reply, or byte, that it hits.
std::vector<Case> Cases() {
  return {
      {"good", kOnBoard},
      {"option that is none", kOnBoard, "code.hex", " --nonsense"},
      {"word too many", kOnBoard, "code.hex", " one two three"},
      {"no device", "--simulate"},
      {"unknown device", "--simulate --device ATtiny99"},
      {"no port", "--device ATtiny12L"},
      {"port that is not there", "--device ATtiny12L --port /dev/nothing-here"},
      {"port without a number", "--device ATtiny12L --port COM999"},
      {"no port but a file", "--device ATtiny12L --port code.hex"},
      {"silent board", kOnBoard + " --simulate-fault silent"},
      {"other reply", kOnBoard + " --simulate-fault flip@1:40"},
      {"line lost at once", kOnBoard + " --simulate-fault hangup@1"},
      {"line lost later", kOnBoard + " --simulate-fault hangup@12"},
      {"lost reply", kOnBoard + " --simulate-fault drop@8"},
      {"wrong reply", kOnBoard + " --simulate-fault flip@8"},
      {"power cut", kOnBoard + " --simulate-fault powercut@12"},
      {"fault that is none", kOnBoard + " --simulate-fault nonsense"},
      {"empty socket", kOnBoard + " --simulate-chip empty"},
      {"other chip", kOnBoard + " --simulate-chip AT90S2313"},
      {"chip that is none", kOnBoard + " --simulate-chip nonsense"},
      {"write that is not carried out", kOnBoard + " --simulate-fault lie@1"},
      {"missing file", kOnBoard, "none.hex"},
      {"folder for a file", kOnBoard, "."},
      {"broken file", kOnBoard, "broken.hex"},
      {"missing folder", kOnBoard + " --folder nowhere"},
  };
}

/// What is wrong with the object of a call; "" when nothing is.
std::string Fault(const std::string& verb, const CliResult& result) {
  const json told = json::parse(result.Out, nullptr, false);
  if (!told.is_object()) return "is no object: " + result.Out;
  if (told.value("schema", 0) != cli::kJsonSchema) return "has no schema";
  if (told["command"] != verb) return "names another command";
  if (told.value("exit_code", -1) != result.Code) return "has another exit code";
  for (const char* const key : {"device", "port", "board_version", "signature"}) {
    if (!told.contains(key) || !(told[key].is_null() || told[key].is_string())) return key;
  }
  for (const char* const key : {"warnings", "differences"}) {
    if (!told.contains(key) || !told[key].is_array()) return key;
  }
  if (!told["seconds"].is_number()) return "seconds";
  if (!told["files"].is_object() || !told["files"]["written"].is_array()) return "files";
  if (!told.contains("error")) return "has no error";
  if ((result.Code == 0) != told["error"].is_null()) return "has an error, or none";
  if (result.Code == 0) return "";
  const std::string code = told["error"]["code"];
  if (cli::FindExplanation(code) == nullptr) return "has an unexplained code: " + code;
  if (told["error"]["text"].get<std::string>().empty()) return "says nothing";
  if (told["error"]["cure"].get<std::string>().empty()) return "knows no cure";
  return "";
}

TEST_F(Json, OfEveryVerbWithEveryEndingIsOneObjectWithTheExitCodeOfTheProcess) {
  struct Call {
    std::string Verb;
    Case Kind;
    std::future<CliResult> Result{};
  };
  std::map<std::string, std::map<std::string, int>> table;
  const auto start = [this](Call& call) {
    const std::string line = "--json " + call.Kind.Before + " " + call.Verb +
                             ArgumentsOf(call.Verb, call.Kind.File) + call.Kind.Behind;
    call.Result = std::async(std::launch::async, [this, line] { return Run(line); });
  };
  const auto finish = [&table](Call& call) {
    const CliResult result = call.Result.get();
    EXPECT_EQ(Fault(call.Verb, result), "")
        << call.Verb << ", " << call.Kind.Name << ": " << ::testing::PrintToString(result);
    const json told = json::parse(result.Out, nullptr, false);
    const bool failed = told.is_object() && told["error"].is_object();
    ++table[call.Kind.Name][failed ? told["error"]["code"].get<std::string>() : "ok"];
  };
  // Most of them wait for a reply that does not come.
  constexpr std::size_t kAtOnce = 12;
  std::vector<Call> calls;
  for (const cli::Verb* const verb : cli::kVerbs) {
    for (const Case& kind : Cases()) calls.push_back({.Verb = verb->Name, .Kind = kind});
  }
  for (std::size_t i = 0; i < calls.size() + kAtOnce; ++i) {
    if (i >= kAtOnce) finish(calls[i - kAtOnce]);
    if (i < calls.size()) start(calls[i]);
  }
  for (const auto& [kind, endings] : table) {
    std::cout << kind << ":";
    for (const auto& [code, count] : endings) std::cout << "  " << code << " " << count;
    std::cout << "\n";
  }
  std::cout << calls.size() << " calls\n";
}

/// A failure keeps its own code: that of a verify of the blank chip says what was found.
TEST_F(Json, ThatCannotBeWrittenIsAnErrorOfEveryVerb) {
  for (const cli::Verb* const verb : cli::kVerbs) {
    const std::string line = std::string(FENWRIGHT_CLI_PROGRAM) + " --json " + kOnBoard + " " +
                             verb->Name + ArgumentsOf(verb->Name, "code.hex") + " >/dev/full";
    Process process({"sh", "-c", line}, {.Folder = folder_.Path().string()});
    const int own_failure = std::string(verb->Name) == "verify" ? 1 : 4;
    EXPECT_EQ(process.Wait(), own_failure) << verb->Name;
  }
}

TEST(Explanations, AreUniqueAndWholeInBothLanguages) {
  std::map<std::string_view, int> seen;
  for (const cli::Explanation& row : cli::Explanations()) {
    EXPECT_EQ(++seen[row.Code], 1) << row.Code;
    for (const core::Sentence& sentence : {row.Cause, row.Checks, row.Cure}) {
      EXPECT_FALSE(sentence.Japanese.empty()) << row.Code;
      EXPECT_FALSE(sentence.English.empty()) << row.Code;
    }
  }
}

}  // namespace
}  // namespace fenwright::testing
