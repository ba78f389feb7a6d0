#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "support/process.h"

namespace fenwright::bench {

/// The image that every run programs: a full flash of random bytes, as in a HEX file.
inline constexpr int kFlashWords = 4096;
inline constexpr const char* kDevice = "AT90S8515";

/// Exchanges of one run: two per word written, one per word read.
inline constexpr int kExchanges = 3 * kFlashWords;

/// What the wire alone takes at a speed, in seconds: 6 bytes per word written, 3 per word read,
/// 10 bits a byte.
double WireSeconds(double baud);

/// Seconds of one run, from the first word written to the last, and likewise read.
struct Times {
  double Write = 0;
  double Verify = 0;
  double Processor = 0;  ///< processor seconds of the whole run, where known
  double Whole = 0;      ///< wall seconds of the whole run, fixed rests included, where known
  [[nodiscard]] double Sum() const { return Write + Verify; }
};

/// A board on a pseudo terminal.
class Board {
 public:
  explicit Board(std::vector<std::string> options);
  [[nodiscard]] std::string Link() const { return folder_.File("port"); }

 private:
  testing::TemporaryFolder folder_;
  testing::Process process_;
};

/// The bare loop: write, poll, read, and nothing else, in plain system calls.
Times RunBareLoop(const Board& board, const std::vector<unsigned char>& flash);

/// fenwright-cli with the same image.
Times RunCli(const Board& board, const std::string& hex_file);

/// The real window, on the offscreen platform, its Program button pressed. `longest_gap` gets the
/// longest time between two of a 5 ms timer's events, in seconds.
Times RunWindow(const Board& board, const std::string& hex_file, double& longest_gap);

/// A word of the board's firmware as it goes over the line.
using UpdateFrame = std::array<std::uint8_t, 4>;

/// A firmware update, frame by frame, in three ways. `Write` is the time from the first frame to
/// the last; the second that the board gets before the first one is not in it.
Times RunBareUpdate(const Board& board, const std::vector<UpdateFrame>& frames);
Times RunCliUpdate(const Board& board, const std::string& hex_file);
Times RunWindowUpdate(const Board& board, const std::string& hex_file, double& longest_gap);

}  // namespace fenwright::bench
