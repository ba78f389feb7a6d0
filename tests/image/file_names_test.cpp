#include "image/file_names.h"

#include "support/test_run.h"

namespace fenwright::image {
namespace {

// The pair of names.

TEST(DataFileName, HasTheLastThreeCharactersReplaced) {
  EXPECT_EQ(DataFileNameFor("/a/prog.hex"), "/a/prog.eep");
  EXPECT_EQ(DataFileNameFor("/a/prog.HEX"), "/a/prog.eep");
  EXPECT_EQ(DataFileNameFor("prog.rom"), "prog.eep");
  EXPECT_EQ(DataFileNameFor("data.txt"), "data.eep");
  EXPECT_EQ(DataFileNameFor("日本.hex"), "日本.eep");
}

TEST(DataFileName, CountsCharactersAndKnowsNoExtension) {
  EXPECT_EQ(DataFileNameFor("prog.html"), "prog.heep");
  EXPECT_EQ(DataFileNameFor("prog"), "peep");
}

TEST(DataFileName, ANameOfThreeCharactersOrLessIsReplacedWhole) {
  EXPECT_EQ(DataFileNameFor("abc"), "eep");
  EXPECT_EQ(DataFileNameFor("a"), "eep");
  EXPECT_EQ(DataFileNameFor(""), "eep");
}

TEST(DataFileName, CountsCharactersAndNotTheirBytes) {
  EXPECT_EQ(DataFileNameFor("/a/日本語の本"), "/a/日本eep");
  EXPECT_EQ(DataFileNameFor("/a/本ab"), "/a/eep");
  EXPECT_EQ(DataFileNameFor("/a/試験.ｅｅｐ"), "/a/試験.eep");
}

TEST(DataFileName, TakesACharacterOfFourBytesWhole) {
  EXPECT_EQ(DataFileNameFor("/a/b.𠮟hx"), "/a/b.eep");
}

TEST(DataFileName, OfNoNameAtAllIsTheExtension) {
  EXPECT_EQ(DataFileNameFor(std::string_view{}), "eep");
}

TEST(DataFileName, BlanksQuotesAndDotsInTheNameStay) {
  EXPECT_EQ(DataFileNameFor("/my files/a \"b\" 'c'.v1.2.hex"), "/my files/a \"b\" 'c'.v1.2.eep");
}

TEST(CodeFileExtension, IsHexOrRomInAnyCase) {
  for (const char* name : {"a.hex", "a.HEX", "a.Hex", "a.rom", "a.ROM", "a.Rom", "a.rOm", ".hex"}) {
    EXPECT_TRUE(HasCodeFileExtension(name)) << name;
  }
}

TEST(CodeFileExtension, NothingElseCounts) {
  for (const char* name : {"", "hex", "ahex", "a.hexx", "a.hex ", "a.hex.txt", "a.eep", "a.ro",
                           "a.bin", "hex.a", "/dir.hex/a"}) {
    EXPECT_FALSE(HasCodeFileExtension(name)) << name;
  }
}

// The remembered folders.

TEST_ON(ScriptedTest, RememberedFolder, IsEverythingBeforeTheLastSeparator) {
  StoreFolderOf(Context, "SAVE_DIR", "/my files/日本/a.hex");
  EXPECT_EQ(Stored("SAVE_DIR"), "/my files/日本");
  EXPECT_EQ(StoredFolder(Context, "SAVE_DIR"), "/my files/日本");
}

#ifndef _WIN32
TEST_ON(ScriptedTest, RememberedFolder, ABackslashIsPartOfANameHere) {
  StoreFolderOf(Context, "SAVE_DIR", "/files/a\\b.hex");
  EXPECT_EQ(Stored("SAVE_DIR"), "/files");
}
#endif

TEST_ON(ScriptedTest, RememberedFolder, IsEmptyForANameWithoutAFolder) {
  StoreFolderOf(Context, "SAVE_DIR", "a.hex");
  EXPECT_EQ(Stored("SAVE_DIR"), "");
}

TEST_ON(ScriptedTest, RememberedFolder, IsEmptyWhenNoneIsStored) {
  EXPECT_EQ(StoredFolder(Context, "OPEN_DIR"), "");
}

TEST_ON(ScriptedTest, RememberedFolder, EachKeyHasItsOwn) {
  StoreFolderOf(Context, "OPEN_DIR", "/in/a.hex");
  StoreFolderOf(Context, "SAVE_DIR", "/out/a.hex");
  EXPECT_EQ(StoredFolder(Context, "OPEN_DIR"), "/in");
  EXPECT_EQ(StoredFolder(Context, "SAVE_DIR"), "/out");
}

}  // namespace
}  // namespace fenwright::image
