// HEX files of independent tools are read, and those tools read ours.

#include "core/device_catalogue.h"
#include "image/buffers.h"
#include "image/findings.h"
#include "image/hex_writer.h"
#include "support/process.h"

namespace fenwright::image {
namespace {

struct HexTools : Test, ScriptedRun {
  std::string Path(const std::string& name) { return folder_.File(name); }
  static void Run(const std::vector<std::string>& command) {
    Process process(command);
    EXPECT_EQ(process.Wait(), 0) << command[0] << ": " << process.Errors();
  }
  /// The flash as a file has it, low byte first.
  [[nodiscard]] std::string Flash(std::size_t count) {
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) {
      bytes += static_cast<char>(State.FlashBuffer[i ^ 1U]);
    }
    return bytes;
  }
  void Fill(std::size_t count, unsigned seed) {
    const Bytes bytes = RandomBytes(count, seed);
    std::ranges::copy(bytes, State.FlashBuffer.begin());
  }
  void WriteCodeTo(const std::string& path) {
    State.CodeSaveFileName = path;
    ASSERT_TRUE(WriteCodeHexFile(Context));
    WriteFile(path, Files.Files[path]);
  }
  HexReadReport ReadCodeFrom(const std::string& path) {
    Files.Files[path] = ReadFile(path);
    State.CodeFileName = path;
    ClearFlashBuffer(State);
    return ReadCodeHexFile(Context);
  }
  /// What is read from `path` is `image`, blank behind it, without a doubt about a line.
  void ExpectReads(const std::string& path, const std::string& image) {
    const HexReadReport report = ReadCodeFrom(path);
    EXPECT_EQ(report.End, HexReadEnd::Complete);
    EXPECT_EQ(Codes(report.Check), Texts{});
    EXPECT_TRUE(Flash(image.size()) == image);
    EXPECT_EQ(State.FlashBuffer[(image.size() + 1) | 1U], 0xFF);
  }
  TemporaryFolder folder_;
};

TEST_F(HexTools, OnEveryDeviceTwoToolsReadTheCodeFile) {
  unsigned seed = 10;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    Select(Context, device.DisplayName);
    const std::size_t size = 2 * static_cast<std::size_t>(device.FlashWords);
    Fill(size, ++seed);
    WriteCodeTo(Path("a.hex"));
    Run({"avr-objcopy", "-I", "ihex", "-O", "binary", Path("a.hex"), Path("objcopy.bin")});
    EXPECT_TRUE(ReadFile(Path("objcopy.bin")) == Flash(size));
    Run({"srec_cat", Path("a.hex"), "-Intel", "-Output", Path("srec.bin"), "-Binary"});
    EXPECT_TRUE(ReadFile(Path("srec.bin")) == Flash(size));
  }
}

TEST_F(HexTools, OnEveryDeviceTwoToolsReadTheDataFile) {
  unsigned seed = 50;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    Select(Context, device.DisplayName);
    const std::size_t size = static_cast<std::size_t>(device.EepromBytes);
    const Bytes bytes = RandomBytes(size, ++seed);
    std::ranges::copy(bytes, State.EepromBuffer.begin());
    State.DataSaveFileName = Path("a.eep");
    ASSERT_TRUE(WriteDataHexFile(Context));
    WriteFile(Path("a.eep"), Files.Files[Path("a.eep")]);
    // Twice the EEPROM: its bytes, then blank ones.
    const std::string doubled = std::string(bytes.begin(), bytes.end()) + std::string(size, '\xFF');
    Run({"avr-objcopy", "-I", "ihex", "-O", "binary", Path("a.eep"), Path("objcopy.bin")});
    EXPECT_TRUE(ReadFile(Path("objcopy.bin")) == doubled);
    Run({"srec_cat", Path("a.eep"), "-Intel", "-Output", Path("srec.bin"), "-Binary"});
    EXPECT_TRUE(ReadFile(Path("srec.bin")) == doubled);
  }
}

TEST_F(HexTools, ADataFileOfSrecCatIsReadInEveryRecordLengthAndLineEnd) {
  Select(Context, "AT90S8515");
  const Bytes bytes = RandomBytes(512, 70);
  WriteFile(Path("a.bin"), std::string(bytes.begin(), bytes.end()));
  for (const char* block_size : {"1", "7", "16", "21", "255"}) {
    for (const char* line_end : {"CRLF", "LF"}) {
      SCOPED_TRACE(std::string(block_size) + line_end);
      Run({"srec_cat", Path("a.bin"), "-Binary", "-Output", Path("a.eep"), "-Intel",
           "-Output_Block_Size=" + std::string(block_size), "-Address_Length=4",
           "-Line_Termination=" + std::string(line_end)});
      Files.Files[Path("a.eep")] = ReadFile(Path("a.eep"));
      State.DataFileName = Path("a.eep");
      ClearEepromBuffer(State);
      const HexReadReport report = ReadDataHexFile(Context);
      EXPECT_EQ(report.End, HexReadEnd::Complete);
      EXPECT_EQ(Codes(report.Check), Texts{});
      EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), State.EepromBuffer.begin()));
      EXPECT_EQ(State.EepromBuffer[512], 0xFF);
    }
  }
}

TEST_F(HexTools, AFileOfAvrObjcopyIsRead) {
  Select(Context, "AT90S2313");
  Fill(1999, 1);
  const std::string image = Flash(1998);
  WriteFile(Path("a.bin"), image);
  Run({"avr-objcopy", "-I", "binary", "-O", "ihex", Path("a.bin"), Path("a.hex")});
  ExpectReads(Path("a.hex"), image);
}

TEST_F(HexTools, AFileOfAvrObjcopyWithAStartAddressRecordIsRead) {
  Select(Context, "AT90S2313");
  Fill(64, 2);
  const std::string image = Flash(64);
  WriteFile(Path("a.bin"), image);
  for (const char* start : {"0x12", "0x12345"}) {
    Run({"avr-objcopy", "-I", "binary", "-O", "ihex", "--set-start", start, Path("a.bin"),
         Path("a.hex")});
    const std::string file = ReadFile(Path("a.hex"));
    EXPECT_TRUE(file.find(":04000003") != std::string::npos ||
                file.find(":04000005") != std::string::npos)
        << file;
    ExpectReads(Path("a.hex"), image);
  }
}

TEST_F(HexTools, FilesOfSrecCatAreReadInEveryAddressModeAndRecordLength) {
  Select(Context, "AT90S2313");
  Fill(1024, 3);
  const std::string image = Flash(1024);
  WriteFile(Path("a.bin"), image);
  for (const char* address_length : {"2", "3", "4"}) {
    for (const char* block_size : {"1", "7", "16", "21", "32", "255"}) {
      SCOPED_TRACE(std::string(address_length) + "/" + block_size);
      Run({"srec_cat", Path("a.bin"), "-Binary", "-Output", Path("a.hex"), "-Intel",
           "-Output_Block_Size=" + std::string(block_size),
           "-Address_Length=" + std::string(address_length), "-Line_Termination=CRLF"});
      ExpectReads(Path("a.hex"), image);
    }
  }
}

TEST_F(HexTools, EveryLineEndOfSrecCatIsRead) {
  Select(Context, "AT90S2313");
  Fill(1024, 4);
  const std::string image = Flash(1024);
  WriteFile(Path("a.bin"), image);
  for (const char* line_end : {"CRLF", "LF", "CR"}) {
    SCOPED_TRACE(line_end);
    Run({"srec_cat", Path("a.bin"), "-Binary", "-Output", Path("a.hex"), "-Intel",
         "-Line_Termination=" + std::string(line_end)});
    ExpectReads(Path("a.hex"), image);
  }
}

}  // namespace
}  // namespace fenwright::image
