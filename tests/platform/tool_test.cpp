#include "platform/system/tool.h"

#include <filesystem>

#include "support/prelude.h"

namespace fenwright::testing {
namespace {

/// A program that prints a line, complains in another, and ends with 3.
std::vector<std::string> Complainer(const std::filesystem::path& folder) {
#ifdef _WIN32
  const std::filesystem::path script = folder / "complain.cmd";
  std::ofstream(script) << "@echo unseen\n@echo what is wrong>&2\n@exit 3\n";
  return {"cmd.exe", "/c", script.string()};
#else
  const std::filesystem::path script = folder / "complain.sh";
  std::ofstream(script) << "echo unseen; echo what is wrong >&2; exit 3\n";
  return {"sh", script.string()};
#endif
}

TEST(Tool, TellsTheExitCodeAndKeepsTheComplaints) {
  const platform::PrivateFolder folder;
  const std::filesystem::path errors = folder.Path() / "errors";
  EXPECT_EQ(platform::RunTool(Complainer(folder.Path()), errors), 3);
  std::ifstream file(errors);
  std::string line;
  std::getline(file, line);
  EXPECT_THAT(line, StartsWith("what is wrong"));
}

TEST(Tool, OneThatIsNotThereIsToldApart) {
  const platform::PrivateFolder folder;
  EXPECT_EQ(platform::RunTool({"fenwright-has-no-such-tool"}, folder.Path() / "errors"),
            std::nullopt);
}

TEST(Tool, APrivateFolderGoesWithItsFiles) {
  std::filesystem::path path;
  {
    const platform::PrivateFolder folder;
    path = folder.Path();
    ASSERT_TRUE(std::filesystem::is_directory(path));
    std::ofstream(path / "file") << "content";
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace fenwright::testing
