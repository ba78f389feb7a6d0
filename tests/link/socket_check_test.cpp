#include "link/socket_check.h"

#include "link/link_test.h"

namespace fenwright::link {
namespace {

const std::string kOtherDevice =
    "デバイス選択と、ソケット上のデバイスが一致しません。\r\n"
    "購入直後のデバイスを使用する場合は、チップイレース(<イレース>ボタン)を実行して"
    "ください。";

TEST_ON(LinkTest, FlashWordsOf, FollowsTheFamilyOfAPartThatNoDeviceHas) {
  const std::vector<std::pair<std::uint8_t, int>> rows{{0x90, 512},  {0x91, 1024}, {0x92, 2048},
                                                       {0x93, 4096}, {0x97, 1024}, {0x94, 512}};
  for (const auto& [family, words] : rows) {
    EXPECT_EQ(FlashWordsOf({.Part = 0x77, .Family = family, .Vendor = 0x1E}), words) << family;
  }
}

TEST_ON(LinkTest, JudgeSignature, ComparesTheSizeThatIsInForceNotTheNameAlone) {
  Select(Context, "ATtiny12L");
  const Signature signature{.Part = 0x05, .Family = 0x90, .Vendor = 0x1E};
  EXPECT_EQ(JudgeSignature(Context, signature), "");
  State.FlashWords = 1024;
  EXPECT_EQ(JudgeSignature(Context, signature), kOtherDevice);
}

TEST_ON(LinkTest, ReadSignature, NotesWhatIsWrongAsTheLastFailure) {
  Select(Context, "ATtiny12L");
  State.Command = {};
  Port.Expect("'s'", "06 90 1E");
  std::int16_t words = 0;
  ReadSignature(Context, words, Error);
  EXPECT_EQ(Error, 1);
  EXPECT_EQ(State.Command.LastFailure, kOtherDevice);
}

TEST_ON(LinkTest, ReadSignature, OfTheSelectedDeviceNotesNoFailure) {
  Select(Context, "ATtiny12L");
  State.Command = {};
  Port.Expect("'s'", "05 90 1E");
  std::int16_t words = 0;
  ReadSignature(Context, words, Error);
  EXPECT_EQ(Error, 0);
  EXPECT_EQ(State.Command.LastFailure, "");
  EXPECT_THAT(Dialog.Shown, IsEmpty());
}

}  // namespace
}  // namespace fenwright::link
