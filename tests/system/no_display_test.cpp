// The window program where there is no screen.

#include "support/process.h"

namespace fenwright::testing {
namespace {

Process WithoutDisplay(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{
      "env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "-u", "QT_QPA_PLATFORM", FENWRIGHT_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return Process(command);
}

TEST(NoDisplay, TheHelpNeedsNone) {
  for (const char* option : {"--help", "-h"}) {
    Process process = WithoutDisplay({option});
    EXPECT_EQ(process.Wait(), 0);
    EXPECT_THAT(process.Output(), HasSubstr("--simulate"));
    EXPECT_EQ(process.Errors(), "");
  }
}

TEST(NoDisplay, TheVersionNeedsNone) {
  for (const char* option : {"--version", "-v"}) {
    Process process = WithoutDisplay({option});
    EXPECT_EQ(process.Wait(), 0);
    EXPECT_EQ(process.Output(), "6.5.5\n");
  }
}

TEST(NoDisplay, AStartEndsWithAClearLine) {
  for (const std::vector<std::string>& arguments :
       {Texts{}, {"--simulate", "prog.hex"}, {"-platform", "none-of-them"}}) {
    Process process = WithoutDisplay(arguments);
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_THAT(process.Errors(), HasSubstr("fenwright: ウインドウを表示できません。"));
  }
}

}  // namespace
}  // namespace fenwright::testing
