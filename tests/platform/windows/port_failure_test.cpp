#include "platform/windows/port_failure.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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

}  // namespace
}  // namespace fenwright::platform
