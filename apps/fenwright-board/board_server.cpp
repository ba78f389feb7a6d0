#include "board_server.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <poll.h>
#include <signal.h>
#include <string>
#include <system_error>
#include <unistd.h>

#include "board/line_record.h"
#include "complain.h"

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

BoardServer::BoardServer(const Options& options, board::LineEnd& line, PseudoTerminal& terminal)
    : options_(options), line_(line), terminal_(terminal) {}

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
  while (end_asked_for == 0 && !failed_ && !closed_ && !line_.HungUp()) {
    Serve();
  }
  if (line_.HungUp()) {
    Log(board::RecordHangUp());
  }
  return !failed_;
}

void BoardServer::Serve() {
  const auto due = line_.NextDue();
  if (!due) {
    if (line_.EndsWithLine()) {
      terminal_.EndWithLastUser();
    }
    ReadBytes();
    return;
  }
  const nanoseconds now = Now();
  if (*due <= now) {
    SendDue(*due, now);
  } else {
    WaitFor(*due);
  }
}

void BoardServer::WaitFor(nanoseconds due) {
  const nanoseconds sleep = due - Now() - kSpin;
  if (sleep > nanoseconds::zero()) {
    pollfd waiting{.fd = terminal_.Master(), .events = POLLIN, .revents = 0};
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
  const ssize_t count = read(terminal_.Master(), buffer.data(), buffer.size());
  if (count <= 0) {
    if (count < 0 && errno == EINTR) {
      return;
    }
    closed_ = line_.EndsWithLine() && (count == 0 || errno == EIO);
    if (closed_) {
      return;
    }
    Complain("the terminal cannot be read: " + SystemReason(), options_.Words);
    failed_ = true;
    return;
  }
  const std::span<const std::uint8_t> bytes(buffer.data(), static_cast<std::size_t>(count));
  last_logged_ = Now();
  Log(board::RecordBytes(board::Sender::Pc, bytes));
  line_.Receive(bytes, last_logged_);
  if (OnReceived) {
    OnReceived();
  }
}

void BoardServer::SendDue(nanoseconds due, nanoseconds now) {
  const auto bytes = line_.TakeDue(now);
  if (!bytes.empty()) {
    // By the times of the model: how late this process is called is no pause of the board.
    const nanoseconds pause = due - last_logged_;
    last_logged_ = due;
    Log((pause < board::kShortestPause ? "" : board::RecordPause(pause)) +
        board::RecordBytes(board::Sender::Board, bytes));
    WriteAll(bytes);
  }
}

void BoardServer::WriteAll(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty() && end_asked_for == 0) {
    const ssize_t count = write(terminal_.Master(), bytes.data(), bytes.size());
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

void BoardServer::Log(const std::string& lines) {
  if (log_.is_open()) {
    log_ << lines << std::flush;
  }
}

}  // namespace fenwright::board_app
