#include "ui/command_line.h"

#include "support/prelude.h"

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

TEST(CommandLine, TheHelpNamesEveryOption) {
  const CommandLine line = ParseCommandLine({"fenwright", "--help"});
  EXPECT_TRUE(line.ShowHelp);
  for (const char* option : {"--simulate", "--folder", "--port", "--version", "file"}) {
    EXPECT_TRUE(line.Help.contains(option)) << option;
  }
}

}  // namespace
}  // namespace fenwright::ui
