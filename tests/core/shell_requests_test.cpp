#include "core/shell_requests.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

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

TEST(ShellRequests, WithoutAHelpFileTheContentsCannotBeShown) {
  testing::FakeMessageBoxes boxes;
  ReportNoHelpContents(boxes);
  ASSERT_EQ(boxes.Boxes.size(), 1U);
  EXPECT_EQ(boxes.Boxes[0].Icon, platform::MessageIcon::Information);
  EXPECT_EQ(boxes.Boxes[0].Title, "");
  EXPECT_EQ(boxes.Boxes[0].Text,
            "ﾍﾙﾌﾟの目次を表示できません。 "
            "このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。");
}

}  // namespace
}  // namespace fenwright::core
