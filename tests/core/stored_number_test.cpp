#include "core/stored_number.h"

#include "support/test_run.h"

namespace fenwright::core {
namespace {

TEST_ON(ScriptedTest, StoredNumber, ThatIsNoneEndsTheCommandWithTheWholeTextAndTheCure) {
  Store("MainLeft", "wide");
  try {
    ReadStoredNumber(Context, "MainLeft", 100);
    FAIL() << "no end of the command";
  } catch (const CommandEnd& end) {
    EXPECT_EQ(end.Ending, CommandEnding::BadSetting);
    EXPECT_EQ(end.Text,
              "設定の値が正しくありません。\r\nセクション Settings、キー MainLeft、値 \"wide\"\r\n"
              "この値を削除するか、数字に直してから起動してください。");
  }
}

TEST_ON(ScriptedTest, StoredNumber, ThatIsMissingIsItsDefault) {
  EXPECT_EQ(ReadStoredNumber(Context, "MainLeft", 100), 100);
}

}  // namespace
}  // namespace fenwright::core
