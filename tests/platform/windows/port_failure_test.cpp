#include "platform/windows/port_failure.h"

#include <algorithm>
#include <chrono>
#include <vector>
#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

PortOpenResult Failure(unsigned long error) { return DescribePortFailure(R"(\\.\COM3)", error); }

TEST(PortFailure, EverySystemErrorHasItsStatus) {
  EXPECT_EQ(Failure(ERROR_FILE_NOT_FOUND).Status, PortOpenStatus::Missing);
  EXPECT_EQ(Failure(ERROR_PATH_NOT_FOUND).Status, PortOpenStatus::Missing);
  EXPECT_EQ(Failure(ERROR_DEV_NOT_EXIST).Status, PortOpenStatus::Missing);
  EXPECT_EQ(Failure(ERROR_ACCESS_DENIED).Status, PortOpenStatus::Busy);
  EXPECT_EQ(Failure(ERROR_SHARING_VIOLATION).Status, PortOpenStatus::Busy);
  EXPECT_EQ(Failure(ERROR_INVALID_FUNCTION).Status, PortOpenStatus::Failed);
  EXPECT_EQ(Failure(ERROR_GEN_FAILURE).Status, PortOpenStatus::Failed);
  EXPECT_EQ(Failure(ERROR_OUTOFMEMORY).Status, PortOpenStatus::Failed);
}

TEST(PortFailure, TheReasonNamesThePortAsTheUserKnowsItAndTheCure) {
  EXPECT_THAT(Failure(ERROR_FILE_NOT_FOUND).Reason,
              StartsWith("COM3 がありません。ライタの接続と、デバイスマネージャーで"));
  EXPECT_THAT(Failure(ERROR_ACCESS_DENIED).Reason,
              StartsWith("COM3 は他のプログラムが使用中です。そのプログラムを終了してください。"));
  EXPECT_THAT(Failure(ERROR_GEN_FAILURE).Reason, StartsWith("COM3 が応答しません。"));
  EXPECT_THAT(Failure(ERROR_OUTOFMEMORY).Reason, StartsWith("COM3 を開けませんでした。"));
}

TEST(PortFailure, TheSystemsWordsFollowOnOneLine) {
  const std::string reason = Failure(ERROR_FILE_NOT_FOUND).Reason;
  EXPECT_THAT(reason, HasSubstr(" ("));
  EXPECT_TRUE(reason.ends_with(")"));
  EXPECT_THAT(reason, Not(HasSubstr("\n")));
  EXPECT_THAT(reason, Not(HasSubstr("()")));
}

/// Opens a port that gives these values, and the last of them from then on.
struct Opening {
  explicit Opening(const std::vector<unsigned long>& values) {
    const auto start = std::chrono::steady_clock::now();
    Value = OpenPatiently([&] {
      const std::size_t index = static_cast<std::size_t>(Attempts++);
      return values.at(std::min(index, values.size() - 1));
    });
    Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  unsigned long Value = 0;
  int Attempts = 0;
  double Seconds = 0;
};

TEST(OpeningAPort, IsTriedAgainWhileTheDriverRefusesIt) {
  const Opening opening({ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, ERROR_SUCCESS});
  EXPECT_EQ(opening.Value, ERROR_SUCCESS);
  EXPECT_EQ(opening.Attempts, 3);
  EXPECT_GE(opening.Seconds, 0.06);
}

TEST(OpeningAPort, IsGivenUpSoonWhenItStaysRefused) {
  const Opening opening({ERROR_ACCESS_DENIED});
  EXPECT_EQ(opening.Value, ERROR_ACCESS_DENIED);
  EXPECT_EQ(opening.Attempts, 5);
  EXPECT_GE(opening.Seconds, 0.12);
  EXPECT_LE(opening.Seconds, 0.3);
}

TEST(OpeningAPort, EndsWithWhatCameAfterARefusal) {
  const Opening opening({ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND, ERROR_SUCCESS});
  EXPECT_EQ(opening.Value, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(opening.Attempts, 2);
}

TEST(OpeningAPort, IsTriedOnceWhenItIsThereOrFailsForAnythingElse) {
  const std::vector<unsigned long> values{ERROR_SUCCESS, ERROR_FILE_NOT_FOUND,
                                          ERROR_SHARING_VIOLATION, ERROR_GEN_FAILURE};
  for (const unsigned long value : values) {
    const Opening opening({value, ERROR_SUCCESS});
    EXPECT_EQ(opening.Value, value);
    EXPECT_EQ(opening.Attempts, 1) << value;
  }
}

}  // namespace
}  // namespace fenwright::platform
