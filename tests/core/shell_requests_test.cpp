#include "core/shell_requests.h"

#include "support/test_run.h"

namespace fenwright::core {
namespace {

using Request = FakeShell::Request;
using Requests = std::vector<Request>;

TEST_ON(ScriptedTest, ShellRequests,
        TheManualIsOpenedWithoutTakingTheFocusAndWithoutAWorkingFolder) {
  FakeShell shell;
  OpenManual(shell, "/opt/fenwright/");
  EXPECT_EQ(shell.Requests,
            (Requests{{"/opt/fenwright/readme_tarnwick6.pdf", "", ShowMode::NoActivate}}));
  EXPECT_EQ(static_cast<int>(shell.Requests.at(0).Mode), 4);
}

TEST_ON(ScriptedTest, ShellRequests, TheSupportPageIsOpenedNormallyInTheProgramsFolder) {
  FakeShell shell;
  OpenSupportPage(shell, "https://support.example/", "/opt/fenwright/");
  EXPECT_EQ(shell.Requests,
            (Requests{{"https://support.example/", "/opt/fenwright/", ShowMode::Normal}}));
  EXPECT_EQ(static_cast<int>(shell.Requests.at(0).Mode), 1);
}

TEST_ON(ScriptedTest, ShellRequests, ARefusedRequestIsNotRepeated) {
  FakeShell shell;
  shell.Answer = false;
  OpenManual(shell, "/opt/fenwright/");
  OpenSupportPage(shell, "https://support.example/", "/opt/fenwright/");
  EXPECT_EQ(shell.Requests.size(), 2U);
}

TEST_ON(ScriptedTest, ShellRequests, TheManualIsLookedForInTheProgramsFolderFirst) {
  FakeTextFiles files;
  const std::vector<std::string> folders{"/opt/bin/", "/opt/share/"};
  EXPECT_EQ(FindManualFolder(files, folders), "/opt/bin/");
  files.Files["/opt/share/readme_tarnwick6.pdf"] = "%PDF";
  EXPECT_EQ(FindManualFolder(files, folders), "/opt/share/");
  files.Files["/opt/bin/readme_tarnwick6.pdf"] = "%PDF";
  EXPECT_EQ(FindManualFolder(files, folders), "/opt/bin/");
}

TEST_ON(ScriptedTest, ShellRequests, TheHelpKeyOpensTheManual) {
  FakeShell shell;
  Files.Files["/opt/readme_tarnwick6.pdf"] = "%PDF";
  ShowHelpContents(Context, shell, "/opt/");
  EXPECT_EQ(shell.Requests, (Requests{{"/opt/readme_tarnwick6.pdf", "", ShowMode::NoActivate}}));
  EXPECT_TRUE(Boxes.Boxes.empty());
}

TEST_ON(ScriptedTest, ShellRequests, WithoutAManualTheHelpContentsCannotBeShown) {
  FakeShell shell;
  ShowHelpContents(Context, shell, "/opt/");
  EXPECT_TRUE(shell.Requests.empty());
  EXPECT_THAT(Boxes.Boxes, ElementsAre(Box{MessageIcon::Information, "",
                                           "ﾍﾙﾌﾟの目次を表示できません。 "
                                           "このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。"}));
}

}  // namespace
}  // namespace fenwright::core
