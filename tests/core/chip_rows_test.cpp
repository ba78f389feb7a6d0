// A chip is one row of the catalogue. What else has to know a chip (the guide, the drawing, the
// fuse fields, the simulated chips, the documents) is asked here for every row.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/chip_models.h"
#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "core/insertion_guide.h"
#include "fuse/fuse_model.h"
#include "support/process.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ChipRow : public ::testing::TestWithParam<core::DeviceEntry> {
 protected:
  const core::DeviceEntry& row_ = GetParam();
  const std::string name_{row_.DisplayName};
  const std::string chip_{row_.ChipName};
  /// Without what a row says of the chip's clock.
  const std::string short_name_ = name_.substr(0, name_.find_first_of(" ("));

  /// The row's number in the catalogue.
  [[nodiscard]] std::string Number() const {
    const auto* const found = core::FindDevice(name_);
    return std::to_string(found - core::DeviceCatalogue().data());
  }
  [[nodiscard]] std::string Place() const {
    return std::string(1, static_cast<char>('A' + static_cast<int>(row_.SocketPlace)));
  }
  [[nodiscard]] std::string Sizes() const {
    return std::to_string(row_.FlashWords) + " | " + std::to_string(row_.EepromBytes) + " |";
  }
  static std::string Document(const std::string& path) {
    return ReadFile(std::string(FENWRIGHT_SOURCE_FOLDER) + "/" + path);
  }
};

TEST_P(ChipRow, IsNamedAndMatchedByItsSignature) {
  EXPECT_EQ(core::LookUpSignature(row_.Signature[0], row_.Signature[1]), chip_);
  EXPECT_TRUE(core::NamesSameChip(chip_, name_));
  EXPECT_EQ(core::FindDeviceBySignature(row_.Signature[0], row_.Signature[1])->FlashWords,
            row_.FlashWords);
}

TEST_P(ChipRow, HasAPlaceInTheGuideAndInItsDrawing) {
  ScriptedRun run;
  run.Form.ForcedText = name_;
  core::RefreshInsertionGuide(run.Context);
  EXPECT_THAT(run.Guide.Highlighted, ElementsAre(row_.SocketPlace));
  EXPECT_THAT(core::ChipsAt(row_.SocketPlace), Contains(short_name_));
}

TEST_P(ChipRow, CanSitInTheSocketOfTheSimulatedBoard) {
  const board::ChipModel* const model = board::FindChip(name_);
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(model->Name, name_);
  EXPECT_EQ(model->DeviceCode, row_.DeviceCode);
  EXPECT_THAT(model->Signature, ElementsAre(0x1E, row_.Signature[0], row_.Signature[1]));
  EXPECT_EQ(static_cast<std::int32_t>(model->FlashWords), row_.FlashWords);
  EXPECT_EQ(static_cast<std::int32_t>(model->EepromBytes), row_.EepromBytes);
  const bool word_command = model->WriteCommands.find('W') != std::string_view::npos;
  EXPECT_EQ(word_command, row_.WritesWordsAtOnce);
}

TEST_P(ChipRow, HasAFuseLayoutWithItemsForEveryField) {
  const fuse::FuseLayout& layout = fuse::LayoutOf(name_);
  EXPECT_EQ(layout.DisplayName, name_);
  EXPECT_TRUE(layout.LockListVisible);
  EXPECT_FALSE(layout.WriteSteps.empty());
  for (const screen::FuseList list : layout.Fields) {
    EXPECT_NE(fuse::OptionsOf(list, name_), nullptr) << fuse::FieldName(list);
  }
}

TEST_P(ChipRow, IsInTheManual) {
  EXPECT_THAT(Document("docs/manual/introduction.md"),
              HasSubstr("| " + Number() + " | " + name_ + " | " + Sizes() + " " + Place() + " |"));
  EXPECT_THAT(Document("docs/manual/connection.md"),
              ::testing::ContainsRegex("\\| " + Place() + " \\| [^\n]*" + chip_));
  EXPECT_THAT(Document("docs/manual/fuses.md"), HasSubstr(chip_));
}

TEST_P(ChipRow, IsInTheProtocolsTableAndInTheReadme) {
  EXPECT_THAT(
      Document("docs/protocol.md"),
      ::testing::ContainsRegex(
          "\\| " + chip_ + "[^|]*\\| 0x" + core::HexByte(row_.DeviceCode) + " \\| 1E " +
          core::HexByte(row_.Signature[0]) + " " + core::HexByte(row_.Signature[1]) + " \\| " +
          std::to_string(row_.FlashWords) + " \\| " + std::to_string(row_.EepromBytes) + " \\|"));
  for (const char* readme : {"README.md", "README.ja.md"}) {
    EXPECT_THAT(Document(readme), HasSubstr(chip_));
  }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, ChipRow, ::testing::ValuesIn(core::DeviceCatalogue()),
                         [](const auto& row) { return "Index" + std::to_string(row.index); });

}  // namespace
}  // namespace fenwright::testing
