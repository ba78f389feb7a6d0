#pragma once

#include <string>
#include <string_view>

#include "console.h"

namespace fenwright::cli {

/// Keeps what is printed.
class CapturedLines final : public LineSink {
 public:
  bool Output(std::string_view lines) override {
    output_ += lines;
    return true;
  }
  void Error(std::string_view lines) override { errors_ += lines; }
  void Progress(std::string_view /*label*/, int /*percent*/) override {}

  [[nodiscard]] const std::string& Output() const { return output_; }
  [[nodiscard]] const std::string& Errors() const { return errors_; }

 private:
  std::string output_;
  std::string errors_;
};

}  // namespace fenwright::cli
