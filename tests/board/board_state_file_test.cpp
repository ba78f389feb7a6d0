// The files that a board keeps its state in.

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/board_state.h"
#include "fenwright-board/replace_file.h"
#include "platform/temporary_folder.h"

namespace fenwright::board {
namespace {

namespace fs = std::filesystem;
using board_app::ReplaceFile;
using ::testing::HasSubstr;

struct BoardStateFile : ::testing::Test {
  static std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void Make(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
  }

  platform::TemporaryFolder folder_;
};

TEST_F(BoardStateFile, AFileIsReplacedWholeAndReadBack) {
  SimulatedBoard board({.Chip = "ATtiny26L", .Baud = 0, .Board = {}, .Faults = {}});
  board.Socket().SetFlashWord(0x3FF, 0xABCD);
  const std::string path = folder_.File("state");
  std::string error;
  ASSERT_TRUE(ReplaceFile(path, "old", error)) << error;
  ASSERT_TRUE(ReplaceFile(path, FormatState(board), error)) << error;
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.Path()), {}), 1);
  SimulatedBoard other({});
  ASSERT_TRUE(LoadState(path, other, error)) << error;
  EXPECT_EQ(FormatState(other), FormatState(board));
}

TEST_F(BoardStateFile, MissingFilesAndFoldersAreErrors) {
  SimulatedBoard board({});
  std::string error;
  EXPECT_FALSE(LoadState(folder_.File("none"), board, error));
  EXPECT_THAT(error, HasSubstr("none"));
  EXPECT_FALSE(ReplaceFile(folder_.File("no/file"), "x", error));
  EXPECT_THAT(error, HasSubstr("file"));
  EXPECT_FALSE(ReplaceFile(folder_.Path(), "x", error));
  EXPECT_FALSE(fs::exists(folder_.Path() + ".new"));
}

TEST_F(BoardStateFile, AnEmptyFileIsRefusedWithItsCauseAndCure) {
  Make(folder_.File("state"), "");
  SimulatedBoard board({});
  std::string error;
  EXPECT_FALSE(LoadState(folder_.File("state"), board, error));
  EXPECT_THAT(error, HasSubstr("state: the file is empty, so it holds no board state"));
  EXPECT_THAT(error, HasSubstr("delete it to start with a new board"));
}

TEST_F(BoardStateFile, ALinkInTheTemporaryFilesPlaceIsNotFollowed) {
  Make(folder_.File("victim"), "kept");
  fs::create_symlink("victim", folder_.File("state.new"));
  std::string error;
  EXPECT_TRUE(ReplaceFile(folder_.File("state"), "new", error)) << error;
  EXPECT_EQ(ContentOf(folder_.File("victim")), "kept");
  EXPECT_EQ(ContentOf(folder_.File("state")), "new");
  EXPECT_FALSE(fs::is_symlink(folder_.File("state")));
  EXPECT_FALSE(fs::exists(fs::symlink_status(folder_.File("state.new"))));
}

TEST_F(BoardStateFile, AHardLinkInTheTemporaryFilesPlaceIsNotWritten) {
  Make(folder_.File("victim"), "kept");
  fs::create_hard_link(folder_.File("victim"), folder_.File("state.new"));
  std::string error;
  EXPECT_TRUE(ReplaceFile(folder_.File("state"), "new", error)) << error;
  EXPECT_EQ(ContentOf(folder_.File("victim")), "kept");
}

TEST_F(BoardStateFile, WhatAnEarlierRunHasLeftIsInNobodysWay) {
  Make(folder_.File("state.new"), "a long rest of an earlier run");
  std::string error;
  EXPECT_TRUE(ReplaceFile(folder_.File("state"), "new", error)) << error;
  EXPECT_EQ(ContentOf(folder_.File("state")), "new");
}

}  // namespace
}  // namespace fenwright::board
