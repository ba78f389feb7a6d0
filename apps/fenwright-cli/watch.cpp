#include "watch.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "text.h"

namespace fenwright::cli {
namespace {

using Clock = std::chrono::steady_clock;

/// Between two looks at the files.
constexpr std::chrono::milliseconds kLook{100};

/// A file that has not changed for so long is not being written any more.
constexpr std::chrono::milliseconds kStill{500};

/// A file as it is at a moment. One that was written anew with the same content has changed, too:
/// what was read in between may have been another one.
struct Glance {
  std::string Path;
  bool IsThere = false;
  bool IsNeeded = true;
  std::filesystem::file_time_type Time;
  std::string Content;

  bool operator==(const Glance&) const = default;
};

Glance LookAt(Session& session, const std::string& path, bool is_needed) {
  Glance glance{.Path = path, .IsNeeded = is_needed};
  std::error_code ignored;
  glance.Time = std::filesystem::last_write_time(ToPath(path), ignored);
  if (ignored) glance.Time = {};
  glance.IsThere = bool{session.Context().Storage.Files.Read(path, glance.Content)};
  return glance;
}

std::vector<Glance> LookAtAll(Session& session, const CodeFiles& files) {
  std::vector<Glance> all{LookAt(session, files.Code, true)};
  if (files.NoData) return all;
  const bool is_named = !files.Data.empty();
  all.push_back(LookAt(session, is_named ? files.Data : DataFileBeside(files.Code), is_named));
  return all;
}

/// True where Intel HEX breaks off before its end record, as it does while it is being written. Of
/// other formats the end is not known; one that is cut off cannot be converted.
bool BreaksOff(std::string_view content) {
  constexpr std::size_t kTypeAt = 7;
  constexpr std::size_t kShortestRecord = 11;
  constexpr std::string_view kEndType = "01";
  if (content.empty()) return true;
  if (content.front() != ':') return false;
  while (!content.empty()) {
    const std::string_view line = content.substr(0, content.find('\n'));
    if (line.size() >= kShortestRecord && line.front() == ':' &&
        line.substr(kTypeAt, kEndType.size()) == kEndType) {
      return false;
    }
    content.remove_prefix(std::min(line.size() + 1, content.size()));
  }
  return true;
}

/// The rounds of a call.
class Watch {
 public:
  Watch(Session& session, const Verb& verb, const VerbRun& round, const CodeFiles& files)
      : session_(session), verb_(verb), round_(round), files_(files) {}

  ExitCode Run() {
    // The rounds use the line; whoever has looked into the socket holds it still.
    session_.Context().Line.ProgrammerPort.Close();
    while (WaitForChange()) {
      ++rounds_;
      Tell({fmt::format("監視: {} 回目", rounds_), fmt::format("watch: round {}", rounds_)});
      last_ = RunVerb(verb_, round_, session_.CallOptions());
      if (last_ == ExitCode::Success) ++good_;
      if (last_ == ExitCode::Stopped) break;
    }
    session_.Out().Print(session_.In(
        {fmt::format("監視: {} 回、成功 {}、失敗 {}", rounds_, good_, rounds_ - good_),
         fmt::format("watch: rounds {}, ok {}, failed {}", rounds_, good_, rounds_ - good_)}));
    return last_;
  }

 private:
  void Tell(const core::Sentence& sentence) { session_.Out().PrintProgress(session_.In(sentence)); }

  /// The same, unless it is what was told last.
  void TellState(const core::Sentence& sentence) {
    if (sentence.English != told_) Tell(sentence);
    told_ = sentence.English;
  }

  /// Waits until the files are other ones than those of the last round, still and whole. False when
  /// the user stops it.
  bool WaitForChange() {
    told_.clear();
    std::vector<Glance> seen;
    Clock::time_point since;
    for (;;) {
      session_.Context().Line.Events.ProcessPendingEvents();
      if (session_.State().StopRequested) return false;
      std::vector<Glance> now = LookAtAll(session_, files_);
      if (now != seen) {
        seen = std::move(now);
        since = Clock::now();
      } else if (Clock::now() - since >= kStill && IsReady(seen)) {
        done_ = std::move(seen);
        return true;
      }
      std::this_thread::sleep_for(kLook);
    }
  }

  /// True when still files are to be worked with; else says what is being waited for.
  bool IsReady(const std::vector<Glance>& files) {
    for (const Glance& file : files) {
      session_.Out().NoteOutside(file.Path);
      if (!file.IsThere && file.IsNeeded) {
        TellState(
            {fmt::format("監視: {} がありません。できるまで待ちます (Ctrl-C で終了)", file.Path),
             fmt::format("watch: waiting for {}, which cannot be read; Ctrl-C ends it",
                         file.Path)});
        return false;
      }
      const bool may_break_off = files_.Force || files_.Format == "bin" || !file.IsThere;
      if (!may_break_off && BreaksOff(file.Content)) {
        TellState({fmt::format("監視: {} の終わりを待ちます (Ctrl-C で終了)", file.Path),
                   fmt::format("watch: waiting for the end of {}; Ctrl-C ends it", file.Path)});
        return false;
      }
    }
    if (files != done_) return true;
    TellState({fmt::format("監視: {} の変更を待ちます (Ctrl-C で終了)", files_.Code),
               fmt::format("watch: waiting for a change of {}; Ctrl-C ends it", files_.Code)});
    return false;
  }

  Session& session_;
  const Verb& verb_;
  const VerbRun& round_;
  const CodeFiles& files_;
  std::vector<Glance> done_;
  std::string told_;
  ExitCode last_ = ExitCode::Stopped;
  int rounds_ = 0;
  int good_ = 0;
};

std::optional<Problem> WhyNotWatched(const Session& session, const CodeFiles& files) {
  if (session.Json()) {
    return Problem{.Code = problem::kUsage,
                   .Text = {"--watch と --json は一緒に使えません",
                            "--watch and --json do not go together: there is a result each round"}};
  }
  if (files.Code != kStream && files.Data != kStream) return std::nullopt;
  return Problem{.Code = problem::kUsage,
                 .Text = {"--watch は標準入力には使えません",
                          "--watch needs files: standard input does not change"}};
}

}  // namespace

Outcome WatchFiles(Session& session, const Verb& verb, const VerbRun& round,
                   const CodeFiles& files) {
  if (const auto problem = WhyNotWatched(session, files)) {
    return {.Code = session.Fail(ExitCode::Usage, *problem)};
  }
  return {.Code = Watch(session, verb, round, files).Run()};
}

}  // namespace fenwright::cli
