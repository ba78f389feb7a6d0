#include "ui/command_line.h"

#include "core/device_catalogue.h"
#include "support/prelude.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

TEST(CommandLine, NoArgumentsAskForNothing) {
  const CommandLine line = ParseCommandLine({"fenwright"});
  EXPECT_FALSE(line.Simulate);
  EXPECT_TRUE(line.Folder.isEmpty());
  EXPECT_TRUE(line.Port.isEmpty());
  EXPECT_TRUE(line.File.isEmpty());
  EXPECT_TRUE(line.Error.isEmpty());
}

TEST(CommandLine, TheFirstOtherArgumentIsTheFileWhereverItStands) {
  for (const QStringList& arguments :
       {QStringList{"fenwright", "a b.hex", "--simulate", "--folder", "/f", "--port", "COM3=/p"},
        QStringList{"fenwright", "--port=COM3=/p", "--folder=/f", "--simulate", "a b.hex", "c"}}) {
    const CommandLine line = ParseCommandLine(arguments);
    EXPECT_EQ(line.Error, "");
    EXPECT_TRUE(line.Simulate);
    EXPECT_EQ(line.Folder, "/f");
    EXPECT_EQ(line.Port, "COM3=/p");
    EXPECT_EQ(line.File, "a b.hex");
  }
}

TEST(CommandLine, AnUnknownOptionIsAnError) {
  EXPECT_TRUE(ParseCommandLine({"fenwright", "--fast"}).Error.contains("fast"));
}

TEST(CommandLine, AnOptionWithoutItsValueIsAnError) {
  EXPECT_FALSE(ParseCommandLine({"fenwright", "--folder"}).Error.isEmpty());
  EXPECT_TRUE(ParseCommandLine({"fenwright", "--folder="}).Error.contains("--folder"));
  EXPECT_TRUE(ParseCommandLine({"fenwright", "--port="}).Error.contains("--port"));
}

TEST(CommandLine, TheDeviceIsNamedInCapitalsOrNot) {
  EXPECT_FALSE(ParseCommandLine({"fenwright"}).Device);
  const auto& devices = core::DeviceCatalogue();
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const QString alias = ToQString(core::DeviceAlias(devices[i].DisplayName));
    EXPECT_EQ(ParseCommandLine({"fenwright", "--device", alias}).Device, static_cast<int>(i));
    EXPECT_EQ(ParseCommandLine({"fenwright", "--device=" + alias.toLower()}).Device,
              static_cast<int>(i));
  }
}

TEST(CommandLine, ADeviceThatThereIsNotIsAnErrorThatNamesThoseThereAre) {
  const CommandLine line = ParseCommandLine({"fenwright", "--device", "ATmega8"});
  EXPECT_FALSE(line.Device);
  for (const char* word : {"ATmega8", "ATtiny12L", "AT90S1200A"}) {
    EXPECT_TRUE(line.Error.contains(word)) << ToUtf8(line.Error);
  }
  EXPECT_TRUE(ParseCommandLine({"fenwright", "--device="}).Error.contains("--device"));
}

TEST(CommandLine, TheHelpNamesEveryOption) {
  const CommandLine line = ParseCommandLine({"fenwright", "--help"});
  EXPECT_TRUE(line.ShowHelp);
  for (const char* option : {"--simulate", "--device", "--folder", "--port", "--version", "file"}) {
    EXPECT_TRUE(line.Help.contains(option)) << option;
  }
}

}  // namespace
}  // namespace fenwright::ui
