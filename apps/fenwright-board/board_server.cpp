#include "board_server.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <poll.h>
#include <signal.h>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include <fmt/format.h>

#include "board/board_state.h"
#include "complain.h"
#include "fenwright-board/replace_file.h"

namespace fenwright::board_app {
namespace {

using std::chrono::nanoseconds;

/// The last bit of a wait is spent spinning: the system wakes a sleeper some 10 to 50 us late.
constexpr nanoseconds kSpin = std::chrono::microseconds(50);

volatile sig_atomic_t end_asked_for = 0;

extern "C" void OnBoardEndSignal(int /*signal*/) {
  end_asked_for = 1;
  // A signal between the look at the flag and a blocking read would be missed: ring again.
  alarm(1);
}

extern "C" void OnAlarm(int /*signal*/) { alarm(1); }

void Catch(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  // Without SA_RESTART: a blocking read must end.
  sigaction(signal, &action, nullptr);
}

nanoseconds Now() { return std::chrono::steady_clock::now().time_since_epoch(); }

timespec ToTimespec(nanoseconds time) {
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  return {.tv_sec = static_cast<time_t>(time.count() / kNanosecondsPerSecond),
          .tv_nsec = static_cast<long>(time.count() % kNanosecondsPerSecond)};
}

std::string SystemReason() { return std::generic_category().message(errno); }

}  // namespace

void CatchEndSignals() {
  Catch(SIGTERM, OnBoardEndSignal);
  Catch(SIGINT, OnBoardEndSignal);
  Catch(SIGHUP, OnBoardEndSignal);
  Catch(SIGALRM, OnAlarm);
}

BoardServer::BoardServer(const Options& options, board::SimulatedBoard& board, int terminal)
    : options_(options),
      board_(board),
      terminal_(terminal),
      saved_leave_count_(board.Protocol().LeaveCount()) {}

bool BoardServer::Start() {
  if (options_.Log.empty()) {
    return true;
  }
  log_.open(options_.Log, std::ios::trunc);
  if (!log_) {
    Complain(options_.Log + ": cannot be written", options_.Words);
  }
  return log_.good();
}

bool BoardServer::Run() {
  while (end_asked_for == 0 && !failed_ && !board_.HungUp()) {
    Serve();
  }
  return Save() && !failed_;
}

void BoardServer::Serve() {
  const auto due = board_.NextDue();
  if (!due) {
    ReadBytes();
    return;
  }
  const nanoseconds now = Now();
  if (*due <= now) {
    SendDue(now);
  } else {
    WaitFor(*due);
  }
}

void BoardServer::WaitFor(nanoseconds due) {
  const nanoseconds sleep = due - Now() - kSpin;
  if (sleep > nanoseconds::zero()) {
    pollfd waiting{.fd = terminal_, .events = POLLIN, .revents = 0};
    const timespec limit = ToTimespec(sleep);
    if (ppoll(&waiting, 1, &limit, nullptr) > 0) {
      ReadBytes();
    }
    return;
  }
  while (Now() < due) {
  }
}

void BoardServer::ReadBytes() {
  std::array<std::uint8_t, 512> buffer;
  const ssize_t count = read(terminal_, buffer.data(), buffer.size());
  if (count <= 0) {
    if (count < 0 && errno == EINTR) {
      return;
    }
    Complain("the terminal cannot be read: " + SystemReason(), options_.Words);
    failed_ = true;
    return;
  }
  const std::span<const std::uint8_t> bytes(buffer.data(), static_cast<std::size_t>(count));
  Log('>', bytes);
  board_.Receive(bytes, Now());
  if (board_.Protocol().LeaveCount() != saved_leave_count_) {
    Save();
  }
}

void BoardServer::SendDue(nanoseconds now) {
  const auto bytes = board_.TakeDue(now);
  if (!bytes.empty()) {
    Log('<', bytes);
    WriteAll(bytes);
  }
}

void BoardServer::WriteAll(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty() && end_asked_for == 0) {
    const ssize_t count = write(terminal_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      Complain("the terminal cannot be written: " + SystemReason(), options_.Words);
      failed_ = true;
      return;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

void BoardServer::Log(char direction, std::span<const std::uint8_t> bytes) {
  if (!log_.is_open()) {
    return;
  }
  log_ << fmt::format("{} {:02X}\n", direction, fmt::join(bytes, " ")) << std::flush;
}

bool BoardServer::Save() {
  saved_leave_count_ = board_.Protocol().LeaveCount();
  bool saved = true;
  const auto replace = [this, &saved](const std::string& path, std::string_view content) {
    std::string error;
    if (!path.empty() && !ReplaceFile(path, content, error)) {
      Complain(error, options_.Words);
      saved = false;
    }
  };
  if (!options_.Dump.empty()) {
    const auto image = board_.Socket().BinaryImage();
    replace(options_.Dump, std::string(image.begin(), image.end()));
  }
  if (!options_.State.empty()) {
    replace(options_.State, board::FormatState(board_));
  }
  return saved;
}

}  // namespace fenwright::board_app
