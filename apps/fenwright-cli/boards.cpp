#include "boards.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "explanations.h"
#include "line_capture.h"
#include "ops/command.h"
#include "ops/link_commands.h"
#include "ops/trouble.h"
#include "platform/port_info.h"
#include "platform/system/folders.h"
#include "platform/system/printable.h"
#include "platform/system/terminal.h"
#include "stream_files.h"
#include "text.h"

namespace fenwright::cli {
namespace {

/// What the boards print: the lines of each as they come, with its port before them, and below them
/// on a terminal a line for every board that is at work. What a board says before its work begins
/// is held back until then: boards that end there for the same reason, a file that is missing say,
/// say it once. Several threads use it.
class BoardLines {
 public:
  BoardLines(std::vector<std::string> places, bool quiet)
      : places_(std::move(places)),
        states_(places_.size()),
        held_(places_.size()),
        at_work_(places_.size()),
        terminal_(!quiet && platform::ErrorIsTerminal()) {
    for (const std::string& place : places_) width_ = std::max(width_, place.size());
  }

  bool Output(std::size_t board, std::string_view lines) {
    const std::scoped_lock lock(mutex_);
    Begin(board);
    return Write(std::cout, places_[board], lines);
  }

  void Error(std::size_t board, std::string_view lines) {
    const std::scoped_lock lock(mutex_);
    if (at_work_[board]) {
      Write(std::cerr, places_[board], lines);
    } else {
      held_[board] += lines;
    }
  }

  void Progress(std::size_t board, std::string_view label, int percent) {
    const std::scoped_lock lock(mutex_);
    Begin(board);
    if (!terminal_) return;
    std::string state = fmt::format("{} {:3} %", label, percent);
    if (state == states_[board]) return;
    states_[board] = std::move(state);
    Erase();
    Draw();
  }

  void End(std::size_t board) {
    const std::scoped_lock lock(mutex_);
    Erase();
    states_[board].clear();
    Draw();
  }

  /// What is held back is told; to be called when all boards have ended.
  void Finish() {
    const std::scoped_lock lock(mutex_);
    for (std::size_t i = 0; i < places_.size(); ++i) {
      if (held_[i].empty()) continue;
      std::string boards = places_[i];
      for (std::size_t k = i + 1; k < places_.size(); ++k) {
        if (held_[k] != held_[i]) continue;
        boards += " " + places_[k];
        held_[k].clear();
      }
      Write(std::cerr, boards, held_[i]);
    }
  }

 private:
  /// The board's work has begun.
  void Begin(std::size_t board) {
    if (at_work_[board]) return;
    at_work_[board] = true;
    Write(std::cerr, places_[board], held_[board]);
    held_[board].clear();
  }

  bool Write(std::ostream& stream, const std::string& place, std::string_view lines) {
    Erase();
    stream.clear();
    while (!lines.empty()) {
      const std::size_t end = std::min(lines.find('\n'), lines.size() - 1) + 1;
      stream << fmt::format("{:<{}}  ", place, width_) << lines.substr(0, end);
      lines.remove_prefix(end);
    }
    stream << std::flush;
    const bool written = stream.good();
    Draw();
    return written;
  }

  void Erase() {
    if (drawn_ > 0) std::cerr << fmt::format("\x1B[{}A\r\x1B[J", drawn_) << std::flush;
    drawn_ = 0;
  }

  void Draw() {
    if (!terminal_) return;
    const auto room = static_cast<std::size_t>(std::max(1, platform::TerminalWidth() - 1));
    for (std::size_t i = 0; i < places_.size(); ++i) {
      if (states_[i].empty()) continue;
      // A line that wraps would be two to erase.
      std::string line = fmt::format("{:<{}}  {}", places_[i], width_, states_[i]);
      if (line.size() > room) line = line.substr(0, room);
      std::cerr << line << '\n';
      ++drawn_;
    }
    std::cerr << std::flush;
  }

  std::mutex mutex_;
  std::vector<std::string> places_;
  std::vector<std::string> states_;  ///< what each board does, "" = nothing
  std::vector<std::string> held_;    ///< what it said before its work began
  std::vector<bool> at_work_;
  bool terminal_;
  std::size_t width_ = 0;
  int drawn_ = 0;
};

/// Those of one board.
class LinesOfBoard final : public LineSink {
 public:
  LinesOfBoard(BoardLines& lines, std::size_t board) : lines_(lines), board_(board) {}
  bool Output(std::string_view lines) override { return lines_.Output(board_, lines); }
  void Error(std::string_view lines) override { lines_.Error(board_, lines); }
  void Progress(std::string_view label, int percent) override {
    lines_.Progress(board_, label, percent);
  }

 private:
  BoardLines& lines_;
  std::size_t board_;
};

/// What one board came to.
struct BoardResult {
  ExitCode Code = ExitCode::Failed;
  nlohmann::json Json = nlohmann::json::object();
};

/// A port as the name of a folder.
std::string FolderName(const std::string& port) {
  std::string name = port;
  std::ranges::replace_if(
      name,
      [](char character) {
        return std::string_view("/\\:*?\"<>|=").find(character) != std::string_view::npos;
      },
      '_');
  const std::size_t start = name.find_first_not_of('_');
  return start == std::string::npos ? name : name.substr(start);
}

/// Those of all ports: where two have the same one the later one gets a number.
std::vector<std::string> FolderNames(const std::vector<std::string>& ports) {
  std::vector<std::string> names;
  const auto taken = [&names](const std::string& name) {
    return std::ranges::find(names, name) != names.end();
  };
  for (const std::string& port : ports) {
    const std::string own = FolderName(port);
    std::string name = own;
    for (int number = 2; taken(name); ++number) name = fmt::format("{}_{}", own, number);
    names.push_back(name);
  }
  return names;
}

/// Each board keeps its trace, dumps and report in a folder of its own within that of the call.
ExitCode MakeFolder(Session& session, const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directory(ToPath(folder), error);
  if (!error) return ExitCode::Success;
  return session.Fail(ExitCode::FileError,
                      {.Code = problem::kFileUnwritable,
                       .Text = {fmt::format("{}: 作れません: {}", folder, error.message()),
                                fmt::format("{}: cannot be made: {}", folder, error.message())}});
}

BoardResult RunOnBoard(const Verb& verb, const VerbRun& run, const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  Session session(options);
  Outcome outcome = RunOnSession(verb, run, session);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  BoardResult result{.Code = outcome.Code,
                     .Json = HeadingFields(verb.Name, outcome.Code, seconds.count())};
  result.Json.update(session.CommonFields());
  result.Json.update(outcome.Json);
  result.Json["port_given"] = options.Port;
  return result;
}

/// True when a board that can be used answers there.
bool HasBoard(const Options& options, const std::string& port) {
  CapturedLines nothing;
  Options quiet = options;
  quiet.Port = port;
  quiet.Device.clear();
  quiet.Folder.clear();
  quiet.Log.clear();
  quiet.Lines = &nothing;
  Session session(quiet);
  if (session.Start({.Folder = true, .AnyDevice = true, .Port = true}) != ExitCode::Success) {
    return false;
  }
  ops::RunCommand(session.Context(), ops::Detect);
  const ops::BoardVerdict verdict = ops::VerdictOf(session.State());
  return verdict == ops::BoardVerdict::Accepted || verdict == ops::BoardVerdict::Advised;
}

/// The ports that `all` stands for; no board anywhere is printed.
ExitCode FindAllPorts(Session& session, std::vector<std::string>& ports) {
  const Options& options = session.CallOptions();
  if (options.Simulate) {
    return session.Fail(ExitCode::Usage,
                        {.Code = problem::kUsage,
                         .Text = {"--port all は実際のポートを探します。--simulate ではポートを"
                                  "一つずつ指定します",
                                  "--port all looks for real ports; with --simulate name each"}});
  }
  std::unique_ptr<platform::PortInfos> infos;
  if (const ExitCode code = session.FindPorts(infos); code != ExitCode::Success) return code;
  ports = FindBoards(*infos, options);
  if (!ports.empty()) return ExitCode::Success;
  return session.Fail(ExitCode::NoProgrammer,
                      {.Code = ops::trouble::kNoProgrammer,
                       .Text = {"--port all: どのポートにもボードがありません",
                                "--port all: no board answers on any port"}});
}

/// The ports of the call, each once; what is wrong with them is printed.
ExitCode ChoosePorts(Session& session, std::vector<std::string>& ports) {
  const Options& options = session.CallOptions();
  ports = options.Ports;
  if (ports.size() == 1) return FindAllPorts(session, ports);
  std::set<std::string> seen;
  for (const std::string& port : ports) {
    std::error_code ignored;
    const auto path = std::filesystem::canonical(ToPath(port), ignored);
    const std::string name = ignored ? port : ToUtf8(path);
    if (port != kAllPorts && seen.insert(name).second) continue;
    return session.Fail(
        ExitCode::Usage,
        {.Code = problem::kUsage,
         .Text = port == kAllPorts ? core::Sentence{"--port all はほかのポートと一緒には使えません",
                                                    "--port all goes with no other port"}
                                   : core::Sentence{"--port " + port + " が二度あります",
                                                    "--port " + port + " is given twice"}});
  }
  return ExitCode::Success;
}

/// What speaks against running the call on several boards, if anything does.
std::optional<Problem> WhyNotOnSeveral(const Verb& verb, const Options& options) {
  if (!verb.SeveralBoards) {
    return Problem{
        .Code = problem::kUsage,
        .Text = {fmt::format("{} は一つのボードだけで動きます。--port は一つにします", verb.Name),
                 fmt::format("{} works on one board; give one --port", verb.Name)}};
  }
  if (std::ranges::find(options.Words, kStream) != options.Words.end()) {
    return Problem{
        .Code = problem::kUsage,
        .Text = {"標準入力は一つのボードでだけ使えます", "standard input is for one board alone"}};
  }
  return std::nullopt;
}

ExitCode CodeOf(const std::vector<BoardResult>& results) {
  const auto stopped = [](const BoardResult& result) { return result.Code == ExitCode::Stopped; };
  if (std::ranges::any_of(results, stopped)) return ExitCode::Stopped;
  const ExitCode first = results.front().Code;
  const bool agree = std::ranges::all_of(
      results, [first](const BoardResult& result) { return result.Code == first; });
  return agree ? first : ExitCode::Failed;
}

/// How many boards came to what.
std::string CountBoards(const Session& session, const std::vector<BoardResult>& results) {
  const auto good = std::ranges::count(results, ExitCode::Success, &BoardResult::Code);
  return fmt::format(
      fmt::runtime(session.In({"{} 台: 成功 {}、失敗 {}", "boards: {}, ok: {}, failed: {}"})),
      results.size(), good, static_cast<std::ptrdiff_t>(results.size()) - good);
}

std::vector<BoardResult> RunAll(const Verb& verb, const VerbRun& run, const Options& options,
                                const std::vector<std::string>& ports) {
  BoardLines lines(ports, options.Quiet || options.Json);
  std::vector<BoardResult> results(ports.size());
  const std::vector<std::string> names = FolderNames(ports);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < ports.size(); ++i) {
    threads.emplace_back([&, i] {
      LinesOfBoard own(lines, i);
      Options each = options;
      each.Ports = {ports[i]};
      each.Port = ports[i];
      each.Lines = &own;
      if (!each.Folder.empty()) each.Folder += "/" + names[i];
      if (!each.Log.empty()) each.Log += "." + names[i];
      try {
        results[i] = RunOnBoard(verb, run, each);
      } catch (const std::exception& error) {
        own.Error(platform::Printable(error.what()) + "\n");
        results[i].Json = HeadingFields(verb.Name, ExitCode::Failed, 0);
        results[i].Json["port_given"] = ports[i];
      }
      lines.End(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  lines.Finish();
  return results;
}

}  // namespace

bool NamesSeveralBoards(const Options& options) {
  return options.Ports.size() > 1 ||
         (options.Ports.size() == 1 && options.Ports.front() == kAllPorts);
}

std::vector<std::string> FindBoards(platform::PortInfos& infos, const Options& options) {
  std::vector<platform::PortInfo> candidates;
  std::set<std::string> paths;
  for (int number = 1; number <= platform::kLastComNumber; ++number) {
    const platform::PortInfo info = infos.Describe(number);
    if (info.State != platform::PortState::Usable || !paths.insert(info.Path).second) continue;
    candidates.push_back(info);
  }
  std::vector<char> answers(candidates.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    threads.emplace_back([&, i] {
      const platform::PortInfo& port = candidates[i];
      // The device that was looked at, whatever the number stands for.
      answers[i] = HasBoard(options, platform::ComName(port.Number) + "=" + port.Path) ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<std::string> ports;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (answers[i] != 0) ports.push_back(platform::ComName(candidates[i].Number));
  }
  return ports;
}

ExitCode RunOnBoards(const Verb& verb, const VerbRun& run, const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  Session session(options);
  std::vector<std::string> ports;
  std::vector<BoardResult> results;
  ExitCode code = ExitCode::Success;
  if (const auto problem = WhyNotOnSeveral(verb, options)) {
    code = session.Fail(ExitCode::Usage, *problem);
  } else {
    code = ChoosePorts(session, ports);
  }
  for (const std::string& name : FolderNames(ports)) {
    if (code != ExitCode::Success || options.Folder.empty()) break;
    code = MakeFolder(session, options.Folder + "/" + name);
  }
  if (code == ExitCode::Success) {
    results = RunAll(verb, run, options, ports);
    code = CodeOf(results);
    if (code == ExitCode::Stopped) {
      session.FailStopped();
    } else if (code != ExitCode::Success) {
      session.NoteError(
          {.Code = problem::kBoardsFailed, .Text = FindExplanation(problem::kBoardsFailed)->Cause});
    }
    session.Out().Print(CountBoards(session, results));
  }
  if (!options.Json) return code;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  nlohmann::json object = HeadingFields(verb.Name, code, seconds.count());
  object.update(session.CommonFields());
  object["boards"] = nlohmann::json::array();
  for (const BoardResult& result : results) object["boards"].push_back(result.Json);
  return PrintJson(session, object, code);
}

}  // namespace fenwright::cli
