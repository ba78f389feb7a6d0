#include "platform/system/whole_text_files.h"

#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

class WholeFiles : public TheSystemsFiles {
 protected:
  /// What opens a file: one of the user's, or one of the program's own.
  using Opening = std::unique_ptr<FileWriter> (WholeTextFiles::*)(std::string_view, FileResult&);
  static constexpr Opening kOpenings[] = {&WholeTextFiles::OpenForWriting,
                                          &WholeTextFiles::OpenOwnForWriting};

  std::unique_ptr<FileWriter> Open(Opening opening, const std::string& path) {
    FileResult result;
    auto writer = (whole_.*opening)(path, result);
    EXPECT_TRUE(result) << result.Reason;
    return writer;
  }

  WholeTextFiles whole_{files_};
};

TEST_F(WholeFiles, AFileIsTheOldOneUntilTheNewOneIsClosed) {
  for (const Opening opening : kOpenings) {
    Make(Path(), "old");
    const auto writer = Open(opening, Path());
    EXPECT_TRUE(writer->Write("new "));
    EXPECT_TRUE(writer->Write("content"));
    EXPECT_EQ(ContentOf(Path()), "old");
    EXPECT_TRUE(writer->Close());
    EXPECT_TRUE(writer->Result());
    EXPECT_EQ(ContentOf(Path()), "new content");
    EXPECT_EQ(Names(), std::set<std::string>{"file"});
  }
}

TEST_F(WholeFiles, ANewFileIsNotThereUntilItIsClosed) {
  for (const Opening opening : kOpenings) {
    const auto writer = Open(opening, Path());
    EXPECT_TRUE(writer->Write("new"));
    EXPECT_FALSE(std::filesystem::exists(Path()));
    EXPECT_TRUE(writer->Close());
    EXPECT_EQ(ContentOf(Path()), "new");
    EXPECT_EQ(Names(), std::set<std::string>{"file"});
    files_.Delete(Path());
  }
}

TEST_F(WholeFiles, AWriterThatIsNotClosedLeavesTheOldFileAndNoOther) {
  for (const Opening opening : kOpenings) {
    Make(Path(), "old");
    Open(opening, Path())->Write("new");
    EXPECT_EQ(ContentOf(Path()), "old");
    EXPECT_EQ(Names(), std::set<std::string>{"file"});
  }
}

TEST_F(WholeFiles, ClosingTwiceOrWritingAfterwardsDoesNothing) {
  const auto writer = Open(&WholeTextFiles::OpenForWriting, Path());
  EXPECT_TRUE(writer->Write("new"));
  EXPECT_TRUE(writer->Close());
  Make(Path(), "of somebody else");
  EXPECT_FALSE(writer->Write("more"));
  EXPECT_TRUE(writer->Close());
  EXPECT_EQ(ContentOf(Path()), "of somebody else");
}

TEST_F(WholeFiles, WriteExchangesAFileWhole) {
  EXPECT_TRUE(whole_.Write(Path(), "something longer"));
  EXPECT_TRUE(whole_.Write(Path(), "short"));
  EXPECT_TRUE(whole_.Append(Path(), "er"));
  EXPECT_EQ(ContentOf(Path()), "shorter");
  std::string content;
  EXPECT_TRUE(whole_.Read(Path(), content));
  EXPECT_EQ(content, "shorter");
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
  whole_.Delete(Path());
  EXPECT_FALSE(whole_.Exists(Path()));
}

TEST_F(WholeFiles, NamesMayBeLongOrJapaneseOrBare) {
  std::string longest;
  for (int i = 0; i < 80; ++i) longest += "点";
  for (const std::string& name :
       {longest + ".hex", std::string("資料 'x'.hex"), std::string(".hex")}) {
    const std::string path = Path(name);
    ASSERT_TRUE(whole_.Write(path, "one")) << name;
    EXPECT_TRUE(whole_.Write(path, "two"));
    std::string content;
    EXPECT_TRUE(files_.Read(path, content));
    EXPECT_EQ(content, "two");
    files_.Delete(path);
  }
  EXPECT_EQ(Names(), std::set<std::string>{});
}

TEST_F(WholeFiles, AFolderInPlaceOfAFileIsRefusedAsEver) {
  std::filesystem::create_directory(Path());
  FileResult result;
  EXPECT_EQ(whole_.OpenForWriting(Path(), result), nullptr);
  EXPECT_EQ(result.Cause, FailureCause::IsFolder);
  EXPECT_EQ(whole_.OpenOwnForWriting(Path(), result), nullptr);
  EXPECT_EQ(result.Cause, FailureCause::IsFolder);
  EXPECT_EQ(whole_.Write(Path(), "x").Cause, FailureCause::IsFolder);
  EXPECT_EQ(Names(), std::set<std::string>{"file"});
}

TEST_F(WholeFiles, AMissingFolderAnEmptyPathAndANulAreRefused) {
  FileResult result;
  for (const std::string& path : {Path("none/file"), std::string(), Path() + '\0' + "x"}) {
    EXPECT_EQ(whole_.OpenForWriting(path, result), nullptr);
    EXPECT_FALSE(result);
    EXPECT_FALSE(whole_.Write(path, "x"));
  }
  EXPECT_EQ(Names(), std::set<std::string>{});
}

}  // namespace
}  // namespace fenwright::platform
