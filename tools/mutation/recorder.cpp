// Linked to every test program of a mutated copy: writes which mutants each test passes.

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "mutation.h"

namespace {

class Recorder : public testing::EmptyTestEventListener {
 public:
  explicit Recorder(const std::string& path) : file_(path) {}

 private:
  // What runs before the first test belongs to no test.
  void OnTestProgramStart(const testing::UnitTest& /*program*/) override { Write("", 0); }

  void OnTestEnd(const testing::TestInfo& test) override {
    Write(std::string(test.test_suite_name()) + "." + test.name(), test.result()->elapsed_time());
  }

  void Write(const std::string& name, long long milliseconds) {
    file_ << name << '\t' << milliseconds << '\t';
    for (int number = 0; number < mutation::kNumbers; ++number) {
      if (mutation::Reached[number]) file_ << number << ' ';
    }
    file_ << std::endl;
    std::memset(mutation::Reached, 0, sizeof mutation::Reached);
  }

  std::ofstream file_;
};

const bool kAdded = [] {
  if (const char* const path = std::getenv("FENWRIGHT_MUTATION_REACHED")) {
    testing::UnitTest::GetInstance()->listeners().Append(new Recorder(path));
  }
  return true;
}();

}  // namespace
