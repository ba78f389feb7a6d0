// What holds for the files of every system.

#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

TEST_F(TheSystemsFiles, AnExistingFileIsSeenAndAFolderIsNone) {
  EXPECT_FALSE(files_.Exists(Path()));
  Make(Path(), "");
  EXPECT_TRUE(files_.Exists(Path()));
  EXPECT_FALSE(files_.Exists(folder_.Path()));
  EXPECT_FALSE(files_.Exists(""));
}

TEST_F(TheSystemsFiles, BytesAreReadUnchanged) {
  const std::string bytes("a\r\nb\n\0\x1A\x93\xFA\xFF", 10);
  Make(Path(), bytes);
  std::string content = "before";
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, bytes);
}

TEST_F(TheSystemsFiles, AnEmptyFileIsReadAsNothing) {
  Make(Path(), "");
  std::string content = "before";
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, AFileOfManyBlocksIsReadWhole) {
  std::string bytes;
  for (int i = 0; i < 300'000; ++i) bytes += static_cast<char>(i % 251);
  Make(Path(), bytes);
  std::string content;
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, bytes);
}

TEST_F(TheSystemsFiles, AnEnormousFileIsRefusedInsteadOfFillingTheMemory) {
  Make(Path(), "x");
  std::filesystem::resize_file(Path(), std::uintmax_t{17} << 20);
  std::string content;
  EXPECT_EQ(files_.Read(Path(), content).Code, Status::Failed);
  EXPECT_EQ(content, "");
}

TEST_F(TheSystemsFiles, WritingReplacesTheContentUnchanged) {
  const std::string bytes("a\r\nb\n\0\x93", 7);
  Make(Path(), "something longer that stood there before");
  EXPECT_TRUE(files_.Write(Path(), bytes));
  EXPECT_EQ(ContentOf(Path()), bytes);
}

TEST_F(TheSystemsFiles, WritingLeavesNoOtherFileBehind) {
  EXPECT_TRUE(files_.Write(Path(), "new"));
  EXPECT_TRUE(files_.Write(Path(), "newer"));
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(TheSystemsFiles, AFileOfSeveralNamesIsWrittenInPlaceForAllOfThem) {
  Make(Path(), "something longer that stood there before");
  std::filesystem::create_hard_link(Path(), Path("other"));
  EXPECT_TRUE(files_.Write(Path(), "after"));
  EXPECT_EQ(ContentOf(Path("other")), "after");
  EXPECT_TRUE(std::filesystem::equivalent(Path(), Path("other")));
  EXPECT_EQ(Names(), (std::set<std::string>{"file", "other"}));
}

TEST_F(TheSystemsFiles, WritingCreatesAMissingFileButNoFolder) {
  EXPECT_TRUE(files_.Write(Path(), "new"));
  EXPECT_EQ(ContentOf(Path()), "new");
  EXPECT_EQ(files_.Write(Path("none") + "/file", "new").Code, Status::NotFound);
}

TEST_F(TheSystemsFiles, APathMayBeJapanese) {
  EXPECT_TRUE(files_.Write(Path("新しいファイル.hex"), "x"));
  EXPECT_TRUE(files_.Exists(Path("新しいファイル.hex")));
  EXPECT_TRUE(
      std::filesystem::exists(std::filesystem::path(folder_.Path()) / u8"新しいファイル.hex"));
}

TEST_F(TheSystemsFiles, AppendingAddsAtTheEndAndCreatesAMissingFile) {
  EXPECT_TRUE(files_.Append(Path(), "one\r\n"));
  EXPECT_TRUE(files_.Append(Path(), "two\r\n"));
  EXPECT_EQ(ContentOf(Path()), "one\r\ntwo\r\n");
}

TEST_F(TheSystemsFiles, AWriterCutsTheFileAndWritesInOrder) {
  Make(Path(), "something longer that stood there before");
  FileResult result{Status::Failed, "before"};
  const auto writer = files_.OpenForWriting(Path(), result);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(result.Code, Status::Ok);
  EXPECT_EQ(ContentOf(Path()), "");
  EXPECT_TRUE(writer->Write("one"));
  EXPECT_TRUE(writer->Write("two"));
  EXPECT_TRUE(writer->Close());
  EXPECT_EQ(ContentOf(Path()), "onetwo");
}

TEST_F(TheSystemsFiles, AClosedWriterTakesNothingMoreAndKeepsItsVerdict) {
  FileResult result;
  const auto writer = files_.OpenForWriting(Path(), result);
  ASSERT_NE(writer, nullptr);
  EXPECT_TRUE(writer->Write("one"));
  EXPECT_TRUE(writer->Close());
  EXPECT_TRUE(writer->Close());
  EXPECT_FALSE(writer->Write("two"));
  EXPECT_EQ(ContentOf(Path()), "one");
}

TEST_F(TheSystemsFiles, AFileMayBeReadWhileItIsBeingWritten) {
  FileResult result;
  const auto writer = files_.OpenForWriting(Path(), result);
  ASSERT_NE(writer, nullptr);
  EXPECT_TRUE(writer->Write("one"));
  std::string content;
  EXPECT_TRUE(files_.Read(Path(), content));
  EXPECT_EQ(content, "one");
}

TEST_F(TheSystemsFiles, AFolderInPlaceOfAFileIsRefused) {
  std::string content;
  FileResult result;
  EXPECT_EQ(files_.Read(folder_.Path(), content).Code, Status::AccessRefused);
  EXPECT_EQ(files_.Write(folder_.Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.Append(folder_.Path(), "x").Code, Status::AccessRefused);
  EXPECT_EQ(files_.OpenForWriting(folder_.Path(), result), nullptr);
  EXPECT_EQ(result.Code, Status::AccessRefused);
  EXPECT_EQ(result.Reason, "Is a directory");
}

TEST_F(TheSystemsFiles, APathWithANulInItNamesNothing) {
  Make(Path(), "content");
  const std::string path = Path() + std::string(1, '\0') + "more";
  std::string content;
  EXPECT_FALSE(files_.Exists(path));
  EXPECT_FALSE(files_.Read(path, content));
  EXPECT_FALSE(files_.Write(path, "x"));
  files_.Delete(path);
  EXPECT_EQ(ContentOf(Path()), "content");
}

TEST_F(TheSystemsFiles, DeletingRemovesAFileAndIgnoresWhatItCannotRemove) {
  Make(Path(), "x");
  files_.Delete(Path());
  EXPECT_FALSE(std::filesystem::exists(Path()));
  files_.Delete(Path());
  files_.Delete(folder_.Path());
  EXPECT_TRUE(std::filesystem::exists(folder_.Path()));
}

}  // namespace
}  // namespace fenwright::platform
