// The file that counts serial numbers: whatever happens, none is given twice.

#include "fenwright-cli/number_counter.h"

#include <sys/resource.h>

#include "fenwright-cli/durable_file.h"
#include "support/process.h"

namespace fenwright::cli {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::ReadFile;
using testing::TemporaryFolder;
using testing::WriteFile;

constexpr const char* kWhen = "2026-04-01T09:30:00";

class Counter : public ::testing::Test {
 protected:
  [[nodiscard]] NumberCounter Begin(std::uint64_t first) const { return {path_, first}; }
  [[nodiscard]] NumberCounter GoOn() const { return {path_, std::nullopt}; }

  /// The number that is taken, or the word of the problem.
  static std::string Take(const NumberCounter& counter, const job::SerialNumber& form = {}) {
    std::uint64_t number = 0;
    const auto problem = counter.Take(form, kWhen, "COM5", number);
    return problem ? std::string(problem->Code) : std::to_string(number);
  }
  static std::string Peek(const NumberCounter& counter, const job::SerialNumber& form = {}) {
    std::uint64_t number = 0;
    const auto problem = counter.Peek(form, number);
    return problem ? std::string(problem->Code) : std::to_string(number);
  }
  void Put(const std::string& lines) const { WriteFile(path_, "fenwright-counter 1\n" + lines); }

  TemporaryFolder folder_;
  std::string path_ = folder_.File("numbers.txt");
};

TEST_F(Counter, BeginsWithTheNumberThatIsAskedForAndCountsOn) {
  EXPECT_EQ(Take(Begin(1000)), "1000");
  EXPECT_EQ(Take(GoOn()), "1001");
  EXPECT_EQ(Take(GoOn(), {.Step = 10}), "1011");
  EXPECT_EQ(ReadFile(path_),
            "fenwright-counter 1\nfirst 1000\ntaken 1000 2026-04-01T09:30:00 COM5\n"
            "taken 1001 2026-04-01T09:30:00 COM5\ntaken 1011 2026-04-01T09:30:00 COM5\n");
}

TEST_F(Counter, LookingTakesNothing) {
  EXPECT_EQ(Peek(Begin(7)), "7");
  EXPECT_FALSE(std::filesystem::exists(path_));
  Put("first 7\n");
  EXPECT_EQ(Peek(GoOn()), "7");
  EXPECT_EQ(Take(GoOn()), "7");
  EXPECT_EQ(Peek(GoOn()), "8");
  EXPECT_EQ(Peek(GoOn()), "8");
}

TEST_F(Counter, NoFileIsBegunByItself) {
  EXPECT_EQ(Peek(GoOn()), "counter-missing");
  EXPECT_EQ(Take(GoOn()), "counter-missing");
  EXPECT_FALSE(std::filesystem::exists(path_));
  EXPECT_EQ(Peek({folder_.File("no/numbers.txt"), 1}), "file-missing");
}

TEST_F(Counter, AFileThatIsThereIsNotBegunAgain) {
  Put("first 1\ntaken 1 x y\n");
  EXPECT_EQ(Peek(Begin(1)), "file-exists");
  EXPECT_EQ(Take(Begin(1)), "file-exists");
}

TEST_F(Counter, TheRunThatHasBegunItGoesOnWithIt) {
  EXPECT_EQ(Take(Begin(1)), "1");
  EXPECT_EQ(Peek(Begin(1)), "2");
  EXPECT_EQ(Take(Begin(1)), "2");
}

TEST_F(Counter, ANumberUnderWayWhenTheProgramEndedIsGone) {
  Put("first 1\ntaken 1 x y\nused 1\ntaken 2 x y\n");
  EXPECT_EQ(Take(GoOn()), "3");
}

TEST_F(Counter, WhatBecameOfANumberIsNoted) {
  Take(Begin(1));
  Take(GoOn());
  EXPECT_EQ(GoOn().Note(1, true), std::nullopt);
  EXPECT_EQ(GoOn().Note(2, false), std::nullopt);
  EXPECT_THAT(ReadFile(path_), EndsWith("\nused 1\nfailed 2\n"));
  EXPECT_EQ(Take(GoOn()), "3");
}

TEST_F(Counter, NothingIsLostOfAFileThatCanNeitherBeReadNorOpened) {
  Put("first 1\ntaken 1 x y\n");
  const std::string content = ReadFile(path_);
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  rlimit none = limit;
  none.rlim_cur = 0;  // no further file can be opened; paths still work
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const platform::FileResult result = AppendDurably(path_, "used 1\n", " ~");
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_FALSE(result);
  EXPECT_EQ(ReadFile(path_), content);
}

TEST_F(Counter, ALineThatWasCutShortHasGivenNothing) {
  Put("first 1000\ntaken 1000 x y\ntaken 10");
  EXPECT_EQ(Peek(GoOn()), "1001");
  EXPECT_EQ(Take(GoOn()), "1001");
  EXPECT_THAT(ReadFile(path_), HasSubstr("\ntaken 10 ~\ntaken 1001 "));
  EXPECT_EQ(Take(GoOn()), "1002");
}

TEST_F(Counter, ANumberIsNotGivenAgainWhereOnlyTheEndOfItsLineIsMissing) {
  Put("first 1000\ntaken 1000 x y\ntaken 1001 2026-04-01T09:30:00 COM5");
  EXPECT_EQ(Take(GoOn()), "1002");
  EXPECT_THAT(ReadFile(path_), HasSubstr("COM5 ~\ntaken 1002 "));
  EXPECT_EQ(Take(GoOn()), "1003");
}

TEST_F(Counter, APortMayHaveANameThatLooksLikeACutLine) {
  std::uint64_t number = 0;
  EXPECT_EQ(Begin(5).Take({}, kWhen, "x/b ~", number), std::nullopt);
  EXPECT_EQ(number, 5U);
  EXPECT_EQ(GoOn().Take({}, kWhen, "x/b ~", number), std::nullopt);
  EXPECT_EQ(number, 6U);
}

TEST_F(Counter, AFileThatIsLostIsNotBegunASecondTimeByTheSameRun) {
  EXPECT_EQ(Take(Begin(1000)), "1000");
  std::filesystem::remove(path_);
  EXPECT_EQ(Peek(Begin(1000)), "counter-missing");
  EXPECT_EQ(Take(Begin(1000)), "counter-missing");
  WriteFile(path_, "");
  EXPECT_EQ(Take(Begin(1000)), "counter-missing");
}

TEST_F(Counter, ADamagedFileIsRefusedWithItsLine) {
  for (const auto& [content, line] : std::map<std::string, std::string>{
           {"", ""},
           {"something else\n", ":1: "},
           {"fenwright-counter 2\nfirst 1\n", ":1: "},
           {"fenwright-counter 1\n", ":2: "},
           {"fenwright-counter 1\ntaken 1 x y\n", ":2: "},
           {"fenwright-counter 1\nfirst 1\nfirst 2\n", ":3: "},
           {"fenwright-counter 1\nfirst 1\ntaken x\n", ":3: "},
           {"fenwright-counter 1\nfirst 1\ntaken 99999999999999999999\n", ":3: "},
           {"fenwright-counter 1\nfirst 1\n\n", ":3: "}}) {
    WriteFile(path_, content);
    std::uint64_t number = 0;
    const auto problem = GoOn().Take({}, kWhen, "COM5", number);
    ASSERT_TRUE(problem) << content;
    EXPECT_EQ(problem->Code, line.empty() ? "counter-missing" : "counter-damaged") << content;
    EXPECT_THAT(problem->Text.English, HasSubstr(line)) << content;
    EXPECT_EQ(ReadFile(path_), content);
  }
}

TEST_F(Counter, TheLastNumberIsTheLargestThatHasRoom) {
  const job::SerialNumber byte{.Width = 1, .Step = 2};
  Put("first 251\n");
  EXPECT_EQ(Take(GoOn(), byte), "251");
  EXPECT_EQ(Take(GoOn(), byte), "253");
  EXPECT_EQ(Take(GoOn(), byte), "255");
  EXPECT_EQ(Peek(GoOn(), byte), "numbers-used-up");
  EXPECT_EQ(Take(GoOn(), byte), "numbers-used-up");
  const job::SerialNumber widest{.Width = 8};
  Put("first 18446744073709551615\n");
  EXPECT_EQ(Take(GoOn(), widest), "18446744073709551615");
  EXPECT_EQ(Take(GoOn(), widest), "numbers-used-up");
}

TEST_F(Counter, AFileThatCannotBeReadIsSaidToBe) {
  std::filesystem::create_directory(path_);
  EXPECT_EQ(Peek(GoOn()), "file-unreadable");
}

TEST_F(Counter, WhileSomebodyElseHasItNothingIsTaken) {
  Put("first 1\n");
  const FileHold hold(path_, 0);
  ASSERT_TRUE(hold);
  EXPECT_EQ(Take(GoOn()), "file-in-use");
  EXPECT_EQ(ReadFile(path_), "fenwright-counter 1\nfirst 1\n");
}

TEST_F(Counter, SeveralThreadsThatBeginItAgreeAtAnyMoment) {
  constexpr int kThreads = 6;
  for (int round = 0; round < 20; ++round) {
    path_ = folder_.File("begun" + std::to_string(round));
    std::vector<std::string> found(kThreads);
    std::vector<std::thread> threads;
    for (std::string& each : found) {
      threads.emplace_back([this, &each] { each = Peek(Begin(1)) + " " + Take(Begin(1)); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& each : found) {
      EXPECT_EQ(each.find_first_not_of("0123456789 "), std::string::npos) << each;
    }
  }
}

TEST_F(Counter, SeveralThreadsNeverGetTheSameNumber) {
  constexpr int kThreads = 4;
  constexpr int kEach = 10;
  Put("first 1\n");
  std::array<std::vector<std::string>, kThreads> taken;
  std::vector<std::thread> threads;
  for (auto& numbers : taken) {
    threads.emplace_back([this, &numbers] {
      for (int i = 0; i < kEach; ++i) numbers.push_back(Take(GoOn()));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> all;
  for (const auto& numbers : taken) all.insert(numbers.begin(), numbers.end());
  EXPECT_EQ(all.size(), static_cast<std::size_t>(kThreads * kEach));
  EXPECT_TRUE(all.contains("1"));
  EXPECT_TRUE(all.contains("40"));
}

}  // namespace
}  // namespace fenwright::cli
