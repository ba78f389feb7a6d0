// HEX files as tool chains make them (tool_chains/, examples/rebuild.sh): each is read as it is
// meant, or refused with its reason.

#include <fstream>

#include "image/findings.h"
#include "image/hex_reader.h"
#include "support/test_run.h"

namespace fenwright::image {
namespace {

std::string Content(const std::string& name) {
  std::ifstream file(std::string(FENWRIGHT_TOOL_CHAINS) + "/" + name, std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

struct ToolChainFile {
  const char* Name;
  std::size_t Missing = 0;  ///< bytes at the image's end that the file does not give
  const char* Finding = nullptr;
  std::int32_t Line = 0;
};

void PrintTo(const ToolChainFile& file, std::ostream* out) { *out << file.Name; }

struct ToolChainFiles : TestWithParam<ToolChainFile>, ScriptedRun {
  /// Reads the file into its buffer, whose bytes are in the order of a file then.
  HexReadReport Read(std::string& bytes) {
    Select(Context, "AT90S8515");
    const std::string name = GetParam().Name;
    Files.Files["/files/" + name] = Content(name);
    const bool is_code = name.ends_with(".hex");
    (is_code ? State.CodeFileName : State.DataFileName) = "/files/" + name;
    const HexReadReport report = is_code ? ReadCodeHexFile(Context) : ReadDataHexFile(Context);
    if (!is_code) bytes.assign(State.EepromBuffer.begin(), State.EepromBuffer.end());
    for (std::size_t i = 0; is_code && i + 1 < State.FlashBuffer.size(); ++i) {
      bytes += static_cast<char>(State.FlashBuffer[i ^ 1U]);
    }
    return report;
  }
};

TEST_P(ToolChainFiles, AreReadAsTheyAreMeantOrRefused) {
  const ToolChainFile& file = GetParam();
  std::string bytes;
  const HexReadReport report = Read(bytes);
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(State.LinkError, 0);
  if (file.Finding != nullptr) {
    const Finding* const refusal = report.Check.FirstRefusal();
    ASSERT_NE(refusal, nullptr);
    EXPECT_EQ(Name(refusal->Code), file.Finding);
    EXPECT_EQ(refusal->Line, file.Line);
    return;
  }
  EXPECT_EQ(Codes(report.Check), Texts{});
  std::string image = Content(std::string(file.Name).ends_with(".eep") ? "data.bin" : "code.bin");
  ASSERT_GT(image.size(), file.Missing + 32);
  image.resize(image.size() - file.Missing);
  image.resize(bytes.size(), '\xFF');
  EXPECT_TRUE(bytes == image);
}

INSTANTIATE_TEST_SUITE_P(
    Code, ToolChainFiles,
    ::testing::Values(ToolChainFile{"code.hex"}, ToolChainFile{"lf.hex"},
                      ToolChainFile{"odd.hex", 1}, ToolChainFile{"segment.hex"},
                      ToolChainFile{"linear.hex"}, ToolChainFile{"start-segment.hex"},
                      ToolChainFile{"start-linear.hex"},
                      ToolChainFile{"all-sections.hex", 0, "extended-address", 16},
                      ToolChainFile{"far-segment.hex", 0, "extended-address", 1},
                      ToolChainFile{"far-linear.hex", 0, "extended-address", 1},
                      ToolChainFile{"boot-loader.hex", 0, "data-beyond-chip", 1}));

INSTANTIATE_TEST_SUITE_P(Data, ToolChainFiles,
                         ::testing::Values(ToolChainFile{"data.eep"}, ToolChainFile{"lf.eep"}));

}  // namespace
}  // namespace fenwright::image
