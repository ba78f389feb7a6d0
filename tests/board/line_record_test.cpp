#include "board/line_record.h"

#include "board/talk.h"

namespace fenwright::board {
namespace {

std::string ErrorOf(std::string_view text) {
  std::string error;
  EXPECT_FALSE(ParseLineRecord(text, error)) << text;
  return error;
}

std::vector<RecordedExchange> Parsed(std::string_view text) {
  std::string error;
  const auto record = ParseLineRecord(text, error);
  EXPECT_EQ(error, "");
  return record.value_or(std::vector<RecordedExchange>{});
}

TEST(LineRecord, WhatIsSentWithoutAnAnswerInBetweenIsOneExchange) {
  const auto record = Parsed("# said by hand\n> 41\n> 54 38\n< 0D\n\n< 01 93\n> 50\n");
  ASSERT_EQ(record.size(), 2U);
  EXPECT_EQ(record[0].Line, 2);
  EXPECT_EQ(record[0].Sent, (Bytes{0x41, 0x54, 0x38}));
  ASSERT_EQ(record[0].Reply.size(), 2U);
  EXPECT_EQ(record[0].Reply[1].Bytes, (Bytes{0x01, 0x93}));
  EXPECT_EQ(record[1].Line, 7);
  EXPECT_TRUE(record[1].Reply.empty());
  EXPECT_FALSE(record[1].HangsUp);
}

TEST(LineRecord, APauseBelongsToTheBytesBehindIt) {
  const auto record = Parsed("> 41\n= 300 ms\n< 0D\r\n< 0A\n= 20 ms\n! hung up\n");
  ASSERT_EQ(record.size(), 1U);
  ASSERT_EQ(record[0].Reply.size(), 3U);
  EXPECT_EQ(record[0].Reply[0].Delay, 300ms);
  EXPECT_EQ(record[0].Reply[1].Delay, 0ms);
  EXPECT_EQ(record[0].Reply[2].Delay, 20ms);
  EXPECT_TRUE(record[0].Reply[2].Bytes.empty());
  EXPECT_TRUE(record[0].HangsUp);
}

TEST(LineRecord, WhatIsWrittenCanBeRead) {
  const std::string text = RecordBytes(Sender::Pc, Bytes{0x54, 0xFF}) + RecordPause(1999us * 20) +
                           RecordBytes(Sender::Board, Bytes{0x0D}) + RecordHangUp();
  EXPECT_EQ(text, "> 54 FF\n= 39 ms\n< 0D\n! hung up\n");
  EXPECT_EQ(Parsed(text)[0].Sent, (Bytes{0x54, 0xFF}));
}

TEST(LineRecord, ALineThatIsNoneIsNamed) {
  for (const char* line :
       {"something", ">", "> ", ">41", "> 4", "> 4G", "> 41 ", "> 41  42", "> 4142", "> +1", "? 41",
        "= ms", "= 5", "= -1 ms", "= 3600001 ms", "= 1 ms ", "! hung", " > 41", "\x1b[2J"}) {
    const std::string error = ErrorOf("> 41\n" + std::string(line) + "\n> 42\n");
    EXPECT_THAT(error, StartsWith("line 2 is no line of a record")) << line;
    EXPECT_THAT(error, Not(HasSubstr("\x1b")));
  }
}

TEST(LineRecord, ARecordThatIsNotWholeIsRefused) {
  EXPECT_EQ(ErrorOf("> 41\n< 0"), "line 2 is cut off: it has no end");
  EXPECT_EQ(ErrorOf("> 41\n< 0D"), "line 2 is cut off: it has no end");
  EXPECT_EQ(ErrorOf(""), "has no bytes in it");
  EXPECT_EQ(ErrorOf("# nothing\n\n"), "has no bytes in it");
  EXPECT_EQ(ErrorOf("> 41\n! hung up\n> 42\n"),
            "line 3 goes on after the line has hung up; the record has to end there");
}

TEST(LineRecord, ATraceHasNoBytesAndAnotherFileIsAskedFor) {
  for (const char* trace :
       {"\r\n>>>>> START <<<<<\t2005/03/14 12:34:56\r\n", "no marker\t2005/03/14 12:34:56\n"}) {
    EXPECT_THAT(ErrorOf(trace), AllOf(HasSubstr("trace"), HasSubstr("fenwright-cli --log FILE")));
  }
  EXPECT_THAT(ErrorOf("no date\t2005/03/14 12:34\n"), HasSubstr("line 1"));
}

}  // namespace
}  // namespace fenwright::board
