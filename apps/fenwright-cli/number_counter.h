#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "job/image_place.h"
#include "problem.h"

namespace fenwright::cli {

/// A file that counts serial numbers, so that none is ever used twice. It is a text that only
/// grows, a line at a time, each on the disc before the number goes anywhere:
///
///     fenwright-counter 1
///     first 1000
///     taken 1000 2026-04-01T09:30:00 COM5
///     used 1000
///     taken 1001 2026-04-01T09:30:14 COM6
///     failed 1001
///
/// A number that is taken and neither used nor failed was under way when the program ended. A last
/// line without its end was cut short by a crash, and the next run closes it with "~"; what its
/// number was taken for never happened.
class NumberCounter {
 public:
  /// `first`: begins a new file with that number, once in a process.
  NumberCounter(std::string path, std::optional<std::uint64_t> first)
      : path_(std::move(path)), first_(first) {}

  /// The number that comes next, or why there is none: the file is missing, damaged, in use, or the
  /// numbers that have room are used up. Nothing is written.
  std::optional<Problem> Peek(const job::SerialNumber& form, std::uint64_t& number) const;

  /// Takes the next number; `when` and `place` go into the file. It is never given again.
  std::optional<Problem> Take(const job::SerialNumber& form, const std::string& when,
                              const std::string& place, std::uint64_t& number) const;

  /// Notes what became of a number that was taken.
  [[nodiscard]] std::optional<Problem> Note(std::uint64_t number, bool used) const;

 private:
  struct Content {
    bool IsThere = false;
    std::optional<std::uint64_t> First;
    std::optional<std::uint64_t> LastTaken;
  };

  std::optional<Problem> Read(Content& content) const;
  std::optional<Problem> Next(const job::SerialNumber& form, const Content& content,
                              std::uint64_t& number) const;
  [[nodiscard]] Problem Damaged(int line) const;
  [[nodiscard]] Problem Unwritable(const platform::FileResult& result) const;

  std::string path_;
  std::optional<std::uint64_t> first_;
};

}  // namespace fenwright::cli
