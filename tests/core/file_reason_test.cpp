#include "core/file_reason.h"

#include <set>

#include "core/command_end.h"
#include "support/prelude.h"

namespace fenwright::core {
namespace {

using platform::FailureCause;
using platform::FileResult;

FileResult Failure(FailureCause cause, std::string words) {
  return {FileResult::Status::Failed, std::move(words), cause};
}

TEST(FileReason, OurWordsComeBeforeTheSystems) {
  EXPECT_EQ(DescribeReason(Failure(FailureCause::DiscFull, "No space left on device")),
            "ディスクの空き容量がありません。(No space left on device)");
}

TEST(FileReason, WithoutOursTheSystemsStandAlone) {
  EXPECT_EQ(DescribeReason(Failure(FailureCause::Unknown, "Owner died")), "Owner died");
  EXPECT_EQ(DescribeReason(Failure(FailureCause::Busy, "")), "他のプログラムが使用中です。");
  EXPECT_EQ(DescribeReason(Failure(FailureCause::Unknown, "")), "?");
}

TEST(FileReason, EveryCauseHasWordsOfItsOwn) {
  std::set<std::string_view> all;
  for (int i = 1; i <= static_cast<int>(FailureCause::InvalidRequest); ++i) {
    const std::string_view words = platform::JapaneseOf(static_cast<FailureCause>(i));
    EXPECT_TRUE(words.ends_with("。")) << i;
    EXPECT_TRUE(all.insert(words).second) << words;
  }
  EXPECT_EQ(platform::JapaneseOf(FailureCause::Unknown), "");
}

TEST(FileReason, IsInTheTextOfACommandThatAFileEnds) {
  try {
    EndCommandOnFileError("/app/trace", Failure(FailureCause::ReadOnlyDisc, "Read-only"));
  } catch (const CommandEnd& end) {
    EXPECT_THAT(end.Text,
                HasSubstr("\r\n/app/trace\r\nディスクは書き込み禁止です。(Read-only)\r\n"));
  }
}

}  // namespace
}  // namespace fenwright::core
