#include "core/shell_requests.h"

#include <gtest/gtest.h>

#include "support/test_run.h"

namespace fenwright::core {
namespace {

using Request = testing::FakeShell::Request;
using Requests = std::vector<Request>;

TEST(ShellRequests, TheManualIsOpenedWithoutTakingTheFocusAndWithoutAWorkingFolder) {
  testing::FakeShell shell;
  OpenManual(shell, "/opt/fenwright/");
  EXPECT_EQ(
      shell.Requests,
      (Requests{{"/opt/fenwright/readme_tarnwick6.pdf", "", platform::ShowMode::NoActivate}}));
  EXPECT_EQ(static_cast<int>(shell.Requests.at(0).Mode), 4);
}

TEST(ShellRequests, TheSupportPageIsOpenedNormallyInTheProgramsFolder) {
  testing::FakeShell shell;
  OpenSupportPage(shell, "https://support.example/", "/opt/fenwright/");
  EXPECT_EQ(
      shell.Requests,
      (Requests{{"https://support.example/", "/opt/fenwright/", platform::ShowMode::Normal}}));
  EXPECT_EQ(static_cast<int>(shell.Requests.at(0).Mode), 1);
}

TEST(ShellRequests, ARefusedRequestIsNotRepeated) {
  testing::FakeShell shell;
  shell.Answer = false;
  OpenManual(shell, "/opt/fenwright/");
  OpenSupportPage(shell, "https://support.example/", "/opt/fenwright/");
  EXPECT_EQ(shell.Requests.size(), 2U);
}

TEST(ShellRequests, TheManualIsLookedForInTheProgramsFolderFirst) {
  testing::FakeTextFiles files;
  const std::vector<std::string> folders{"/opt/bin/", "/opt/share/"};
  EXPECT_EQ(FindManualFolder(files, folders), "/opt/bin/");
  files.Files["/opt/share/readme_tarnwick6.pdf"] = "%PDF";
  EXPECT_EQ(FindManualFolder(files, folders), "/opt/share/");
  files.Files["/opt/bin/readme_tarnwick6.pdf"] = "%PDF";
  EXPECT_EQ(FindManualFolder(files, folders), "/opt/bin/");
}

TEST(ShellRequests, TheHelpKeyOpensTheManual) {
  testing::ScriptedRun run;
  testing::FakeShell shell;
  run.Files.Files["/opt/readme_tarnwick6.pdf"] = "%PDF";
  ShowHelpContents(run.Context, shell, "/opt/");
  EXPECT_EQ(shell.Requests,
            (Requests{{"/opt/readme_tarnwick6.pdf", "", platform::ShowMode::NoActivate}}));
  EXPECT_TRUE(run.Boxes.Boxes.empty());
}

TEST(ShellRequests, WithoutAManualTheHelpContentsCannotBeShown) {
  testing::ScriptedRun run;
  testing::FakeShell shell;
  ShowHelpContents(run.Context, shell, "/opt/");
  EXPECT_TRUE(shell.Requests.empty());
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run.Boxes.Boxes[0].Icon, screen::MessageIcon::Information);
  EXPECT_EQ(run.Boxes.Boxes[0].Title, "");
  EXPECT_EQ(run.Boxes.Boxes[0].Text,
            "ﾍﾙﾌﾟの目次を表示できません。 "
            "このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。");
}

}  // namespace
}  // namespace fenwright::core
