// The far end of the line for the serial tests of the Windows build: a pseudo terminal of the host
// that stands behind a COM port, because a link of that port's name leads to it.
//
//   serial_far_end LINK FOLDER

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include "platform/terminal_line.h"
#include "platform/windows/far_end.h"

namespace {

namespace far_end = fenwright::platform::far_end;

class FarEnd {
 public:
  explicit FarEnd(std::filesystem::path link) : link_(std::move(link)) { Restore(); }
  ~FarEnd() {
    HangUp();
    std::filesystem::remove(link_);
  }
  FarEnd(const FarEnd&) = delete;
  FarEnd& operator=(const FarEnd&) = delete;

  void HangUp() {
    answerer_.reset();
    line_->HangUp();
  }

  void FallSilent() { answerer_.reset(); }

  void Restore() {
    line_ = std::make_unique<fenwright::platform::TerminalLine>();
    answerer_ = std::make_unique<fenwright::platform::Answerer>(*line_, far_end::Request(),
                                                                far_end::Reply());
    std::filesystem::remove(link_);
    std::filesystem::create_symlink(line_->Path(), link_);
  }

 private:
  std::filesystem::path link_;
  std::unique_ptr<fenwright::platform::TerminalLine> line_;
  std::unique_ptr<fenwright::platform::Answerer> answerer_;
};

void Serve(FarEnd& line, const std::filesystem::path& folder) {
  constexpr std::chrono::milliseconds kBetweenLooks{5};
  std::string done = "0";
  while (true) {
    std::string number;
    std::string command;
    std::ifstream(folder / "command") >> number >> command;
    if (command.empty() || number == done) {
      std::this_thread::sleep_for(kBetweenLooks);
      continue;
    }
    if (command == far_end::kHangUp) line.HangUp();
    if (command == far_end::kFallSilent) line.FallSilent();
    if (command == far_end::kRestore) line.Restore();
    done = number;
    std::ofstream(folder / "done.new") << done;
    std::filesystem::rename(folder / "done.new", folder / "done");
    if (command == far_end::kEnd) return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kArguments = 3;
  if (argc != kArguments) {
    std::cerr << "usage: serial_far_end LINK FOLDER\n";
    return 2;
  }
  FarEnd line(argv[1]);
  Serve(line, argv[2]);
  return 0;
}
