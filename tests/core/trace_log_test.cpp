#include "core/trace_log.h"

#include "core/command_end.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

constexpr char kPath[] = "/app/_debug_avr.txt";

struct Trace : Test, RecordedRun {
  TraceLog Log() { return TraceLog(Context); }
  /// The bytes of the file, as they are on the disc.
  std::string Content() { return Files.Files[kPath]; }
};

TEST_F(Trace, AMessageLineIsTextTabAndTime) {
  Log().AppendMessage("abc");
  EXPECT_EQ(Content(), "abc\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, TheFileHasItsNameInTheProgramsFolder) {
  EXPECT_EQ(kTraceFileName, "_debug_avr.txt");
  State.AppFolder = "/somewhere/else/";
  Log().AppendMessage("abc");
  EXPECT_TRUE(Files.Files.contains("/somewhere/else/_debug_avr.txt"));
}

TEST_F(Trace, TheStartMarkerIsAnEmptyLineAndTheMarkWithTheTime) {
  Log().AppendStartMarker();
  EXPECT_EQ(Content(), "\r\n>>>>> START <<<<<\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, EveryEntryIsOneAppend) {
  Log().AppendMessage("one");
  Log().AppendStartMarker();
  Log().AppendMessage("two\r\nlines");
  EXPECT_EQ(TakeJournal(), (Journal{"append /app/_debug_avr.txt", "append /app/_debug_avr.txt",
                                    "append /app/_debug_avr.txt"}));
}

TEST_F(Trace, LinesKeepTheirOrder) {
  Log().AppendStartMarker();
  Log().AppendMessage("one");
  Log().AppendMessage("two");
  EXPECT_EQ(Content(),
            "\r\n>>>>> START <<<<<\t2005/03/14 12:34:56\r\n"
            "one\t2005/03/14 12:34:56\r\n"
            "two\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, AnEmbeddedLineEndGivesTwoPhysicalLinesWithTheTimeAfterTheSecond) {
  Log().AppendMessage("first\r\nsecond");
  EXPECT_EQ(Content(), "first\r\nsecond\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, TheTextsAreCp932OnTheDisc) {
  Log().AppendMessage("秒ｸ終了。　");
  EXPECT_EQ(Content(), "\x95\x62\xB8\x8F\x49\x97\xB9\x81\x42\x81\x40\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, ACharacterThatCp932LacksBecomesAQuestionMark) {
  Log().AppendMessage("a€b");
  EXPECT_EQ(Content(), "a?b\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, AnEmptyTextIsALineWithTheTimeAlone) {
  Log().AppendMessage("");
  EXPECT_EQ(Content(), "\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, WhatWasThereBeforeStays) {
  Files.Files[kPath] = "old\r\n";
  Log().AppendMessage("new");
  EXPECT_EQ(Content(), "old\r\nnew\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, DeletingBeforeTheFolderIsKnownDeletesTheBareName) {
  State.AppFolder = "";
  Files.Files["_debug_avr.txt"] = "old";
  Log().Delete();
  EXPECT_EQ(Files.Deleted, Texts{"_debug_avr.txt"});
  EXPECT_FALSE(Files.Files.contains("_debug_avr.txt"));
}

TEST_F(Trace, ARunStartedElsewhereAppendsToTheTraceOfTheProgramsFolder) {
  Files.Files[kPath] = "old\r\n";
  State.AppFolder = "";
  Log().Delete();
  State.AppFolder = "/app/";
  Log().AppendMessage("new");
  EXPECT_EQ(Content(), "old\r\nnew\t2005/03/14 12:34:56\r\n");
}

TEST_F(Trace, DeletingAFileThatIsNotThereIsNoError) {
  EXPECT_NO_THROW(Log().Delete());
  EXPECT_TRUE(Files.Files.empty());
}

TEST_F(Trace, AnAppendThatTheDiscRefusesEndsTheCommandWithPathReasonAndCure) {
  Files.Refused = {kPath};
  try {
    Log().AppendMessage("lost");
    FAIL() << "nothing was thrown";
  } catch (const CommandEnd& end) {
    EXPECT_EQ(end.Ending, CommandEnding::FileError);
    EXPECT_EQ(end.Text,
              "ファイルに書き込めないため、処理を中止しました。\r\n"
              "/app/_debug_avr.txt\r\n"
              "permission denied\r\n"
              "ディスクの空き容量とフォルダーの書き込み許可を確認してから、やり直してください。");
  }
}

TEST_F(Trace, AStartMarkerThatTheDiscRefusesEndsTheCommandToo) {
  Files.Refused = {kPath};
  EXPECT_THROW(Log().AppendStartMarker(), CommandEnd);
}

TEST(DateTimeText, IsYearMonthDayBlankTimeWithSeconds) {
  EXPECT_EQ(
      FormatDateTime({.Year = 2005, .Month = 3, .Day = 14, .Hour = 12, .Minute = 34, .Second = 56}),
      "2005/03/14 12:34:56");
}

TEST(DateTimeText, PadsEveryFieldWithZeros) {
  EXPECT_EQ(
      FormatDateTime({.Year = 2031, .Month = 1, .Day = 2, .Hour = 0, .Minute = 4, .Second = 5}),
      "2031/01/02 00:04:05");
}

}  // namespace
}  // namespace fenwright::core
