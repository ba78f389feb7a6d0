// The JSON of the command line: one object for every verb and every ending.

#include <future>
#include <map>
#include <set>

#include "core/device_catalogue.h"
#include "fenwright-cli/english.h"
#include "fenwright-cli/explanations.h"
#include "fenwright-cli/verbs.h"
#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

const std::string kOnBoard = "--simulate --device ATtiny12L";

class Json : public CliTest {
 protected:
  Json() {
    PutCode({1, 2, 3, 4});
    Put("firmware.hex", ":020000000102FB\r\n:00000001FF\r\n");
    Put("job.json", R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "code.hex"})");
    Put("broken.hex", ":0200000001FF\r\n:00000001FF\r\n");
    const json told = Run("--json " + kOnBoard + " erase --backup .").Json();
    std::filesystem::rename(Path(told["backup"]), Path("copy.json"));
  }
};

/// What the call of a verb needs behind its name, with a file for those that take one.
std::string ArgumentsOf(const std::string& verb, const std::string& file) {
  if (verb == "program" || verb == "verify" || verb == "dump" || verb == "lint") return " " + file;
  if (verb == "compare") return " " + file + " code.hex";
  if (verb == "update-firmware") return " --yes " + (file == "code.hex" ? "firmware.hex" : file);
  if (verb == "write-fuses") return " CKSEL=4";
  if (verb == "restore") return " " + (file == "code.hex" ? "copy.json" : file);
  if (verb == "run") return " " + (file == "code.hex" ? "job.json" : file);
  if (verb == "completion") return " bash";
  return "";
}

struct Case {
  std::string Name;
  std::string Before;  ///< of the verb
  std::string File = "code.hex";
  std::string Behind{};  ///< of the verb's own arguments
};

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
  if (const std::string fault = SchemaFault(told); !fault.empty()) return fault;
  if (told.value("schema", 0) != cli::kJsonSchema) return "has no schema";
  if (told["command"] != verb) return "names another command";
  if (told.value("exit_code", -1) != result.Code) return "has another exit code";
  if ((result.Code == 0) != told["error"].is_null()) return "has an error, or none";
  for (const json& warning : told["warnings"]) {
    const std::string word = warning["code"];
    if (cli::FindExplanation(word) == nullptr) return "has an unexplained warning: " + word;
  }
  if (result.Code == 0) return "";
  const std::string code = told["error"]["code"];
  if (cli::FindExplanation(code) == nullptr) return "has an unexplained code: " + code;
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
  // The same state of the world has the same code in every verb that comes to see it.
  for (const auto& [kind, code] : {std::pair{"no port", "no-programmer"},
                                   {"port that is not there", "no-programmer"},
                                   {"silent board", "no-programmer"},
                                   {"line lost at once", "no-programmer"},
                                   {"other chip", "wrong-chip"},
                                   {"empty socket", "no-signature"},
                                   {"unknown device", "unknown-device"},
                                   {"option that is none", "usage"}}) {
    for (const auto& [ending, count] : table[kind]) {
      EXPECT_TRUE(ending == "ok" || ending == code) << kind << ": " << ending;
    }
    EXPECT_GT(table[kind][code], 0) << kind;
  }
  for (const auto& [kind, endings] : table) {
    std::cout << kind << ":";
    for (const auto& [code, count] : endings) std::cout << "  " << code << " " << count;
    std::cout << "\n";
  }
  std::cout << calls.size() << " calls\n";
}

TEST_F(Json, OfACommandThatItsTraceEndsNamesTheTraceAndNoFileThatIsNotWhole) {
  for (const std::size_t room : {800U, 1500U}) {
    constexpr std::size_t kLargest = 4000;
    MakeFolder("kept");
    Put("kept/_debug_avr.txt", std::string(kLargest - room, 'x'));
    const CliResult result =
        Finish(Process({"prlimit", "--fsize=" + std::to_string(kLargest), FENWRIGHT_CLI_PROGRAM,
                        "--json", "--simulate", "--device", "ATtiny12L", "--folder", Path("kept"),
                        "program", Path("code.hex")}));
    EXPECT_THAT(result, Ends(4));
    const json told = result.Json();
    EXPECT_EQ(told["exit_code"], 4);
    EXPECT_EQ(told["error"]["code"], "file-unwritable");
    EXPECT_THAT(told["error"]["text"].get<std::string>(), HasSubstr("kept/_debug_avr.txt"));
    for (const json& file : told["files"]["written"]) {
      EXPECT_THAT(file.get<std::string>(), Not(HasSubstr("_debug_avr.txt")));
    }
  }
}

TEST_F(Json, NamesThePortOfTheCallInEveryVerb) {
  for (const std::string verb : {"board-version", "detect", "program code.hex", "identify", "ports",
                                 "update-firmware --yes firmware.hex"}) {
    const json told = Run("--json --port COM7 --device ATtiny12L " + verb).Json();
    EXPECT_EQ(told["port"], "COM7") << verb;
  }
  EXPECT_EQ(Run("--json --simulate update-firmware --dry-run firmware.hex").Json()["files"]["code"],
            "firmware.hex");
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

TEST_F(Json, HasEveryKeyOfItsSchemaInTheDocument) {
  const json schema = json::parse(ReadFile(FENWRIGHT_DOCS "/fenwright-cli.schema.json"));
  const std::string document = ReadFile(FENWRIGHT_DOCS "/json.md");
  ASSERT_GT(schema["properties"].size(), 40U);
  for (const auto& [key, value] : schema["properties"].items()) {
    EXPECT_THAT(document, HasSubstr("`" + key + "`"));
  }
  std::vector<std::string> verbs;
  for (const json& verb : schema["properties"]["command"]["enum"]) {
    if (verb.is_string()) verbs.push_back(verb);
  }
  std::vector<std::string> expected;
  for (const cli::Verb* const verb : cli::kVerbs) expected.emplace_back(verb->Name);
  EXPECT_THAT(verbs, ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(Json, OfExplainHasTheRowOfACode) {
  const json told = Run("--json explain wrong-chip").Json();
  ASSERT_EQ(told["explanations"].size(), 1U);
  EXPECT_EQ(told["explanations"][0]["code"], "wrong-chip");
  EXPECT_GT(Run("--json explain").Json()["explanations"].size(), 50U);
  EXPECT_THAT(Run("explain wrong-chp"), AllOf(Ends(2), Warns("did you mean wrong-chip?")));
}

TEST_F(Json, OfLintHasTheFindingsAndTheShares) {
  const json good = Run("--json --device ATtiny12L lint code.hex").Json();
  EXPECT_EQ(good["exit_code"], 0);
  EXPECT_EQ(good["code_words"], 2);
  Put("late.hex", ":020010000102EB\r\n:00000001FF\r\n");
  const json late = Run("--json --device ATtiny12L lint late.hex").Json();
  EXPECT_EQ(late["exit_code"], 0);
  EXPECT_EQ(late["warnings"][0]["code"], "empty-reset-vector");
  Put("sum.hex", ":020000000102FC\r\n:00000001FF\r\n");
  const CliResult wrong = Run("--device ATtiny12L lint sum.hex");
  EXPECT_THAT(wrong, AllOf(Ends(4),
                           Warns("sum.hex:1: wrong checksum: it is FC, the record adds up "
                                 "to FB"),
                           Prints("flash       1 of   512 words  #")));
}

/// Whether a text has a character of the Japanese scripts, or of full width.
bool IsJapanese(const std::string& text) {
  // UTF-8: U+3000 to U+9FFF and U+FF00 to U+FFEF.
  for (std::size_t i = 0; i + 2 < text.size(); ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(text[i + 1]);
    if (lead >= 0xE3 && lead <= 0xE9) return true;
    if (lead == 0xEF && next >= 0xBC && next <= 0xBF) return true;
  }
  return false;
}

/// The string literals of a source file, adjacent ones joined, with their escapes as they stand.
std::vector<std::string> Literals(const std::string& source) {
  std::vector<std::string> texts;
  bool join = false;
  for (std::size_t i = 0; i < source.size(); ++i) {
    if (source.compare(i, 2, "//") == 0) {
      i = source.find('\n', i);
      if (i == std::string::npos) break;
    } else if (source[i] == '"') {
      std::string text;
      for (++i; i < source.size() && source[i] != '"'; ++i) {
        text += source[i];
        if (source[i] == '\\') text += source[++i];
      }
      if (join) {
        texts.back() += text;
      } else {
        texts.push_back(text);
      }
      join = true;
    } else if (std::isspace(static_cast<unsigned char>(source[i])) == 0) {
      join = false;
    }
  }
  return texts;
}

std::string Unescaped(const std::string& literal) {
  std::string text;
  for (std::size_t i = 0; i < literal.size(); ++i) {
    if (literal[i] != '\\') {
      text += literal[i];
      continue;
    }
    const char letter = literal[++i];
    text += letter == 'r' ? '\r' : letter == 'n' ? '\n' : letter;
  }
  return text;
}

TEST(English, HasACounterpartOfEveryTextThatTheEngineShows) {
  // Texts that are put together in both languages, the window's own boxes and labels, and names.
  const std::set<std::string> elsewhere{
      "outcome.cpp",          "image_texts.cpp",    "file_summary.cpp", "update_report.cpp",
      "device_catalogue.cpp", "progress_phase.cpp", "old_content.cpp",  "buffer_content.cpp",
      "fuse_words.cpp",       "verdict.cpp",        "job_commands.cpp", "difference_marks.cpp"};
  int texts = 0;
  for (const char* const folder :
       {"core", "link", "image", "fuse", "ops", "update", "platform", "board"}) {
    const std::filesystem::path root = std::filesystem::path(FENWRIGHT_SOURCES) / folder;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string name = entry.path().filename().string();
      const std::string extension = entry.path().extension().string();
      if ((extension != ".cpp" && extension != ".h") || elsewhere.contains(name)) continue;
      for (const std::string& literal : Literals(ReadFile(entry.path().string()))) {
        const std::string text = Unescaped(literal);
        if (!IsJapanese(text) || core::FindDevice(text) != nullptr) continue;
        ++texts;
        EXPECT_FALSE(IsJapanese(cli::EnglishOf(text)))
            << name << ": " << text << " is " << cli::EnglishOf(text);
      }
    }
  }
  EXPECT_GT(texts, 100);
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
