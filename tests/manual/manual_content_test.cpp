// The manual that was built: everything is in it, and it covers what the program says and takes.

#include <filesystem>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/process.h"

namespace fenwright::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

constexpr double kSeconds = 240;  ///< for one run of the generator on a busy machine

QString Text(const QString& path) {
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
  return QString::fromUtf8(file.readAll());
}

QString ChapterFile(const QString& name) { return QString(FENWRIGHT_MANUAL_FOLDER) + "/" + name; }

QStringList ChapterNames() {
  return Text(ChapterFile("contents.txt")).split('\n', Qt::SkipEmptyParts);
}

/// Without blanks of any kind and without Markdown's marks: what is left has to be the same.
QString Bare(QString text) {
  static const QRegularExpression line_break("<br>");
  static const QRegularExpression note("^> ", QRegularExpression::MultilineOption);
  static const QRegularExpression marks(R"([\s\x{3000}`|\\*]+)");
  return text.remove(line_break).remove(note).remove(marks);
}

/// What makes the PDF of that name out of the copy of the manual in a folder.
Process Generator(const TemporaryFolder& folder, const std::string& pdf) {
  return Process({FENWRIGHT_PYTHON, FENWRIGHT_MANUAL_PROGRAM, folder.File("manual"),
                  folder.File(pdf), FENWRIGHT_MANUAL_VERSION});
}

void CopyManual(const TemporaryFolder& folder) {
  std::filesystem::copy(FENWRIGHT_MANUAL_FOLDER, folder.File("manual"),
                        std::filesystem::copy_options::recursive);
}

/// A copy of the manual's folder to break.
class BrokenManual : public ::testing::Test {
 protected:
  BrokenManual() { CopyManual(folder_); }

  [[nodiscard]] std::string File(const std::string& name) const {
    return folder_.File("manual/" + name);
  }

  /// Runs the generator, which has to fail and to leave no PDF; its message.
  std::string Refusal() {
    Process generator = Generator(folder_, "a.pdf");
    EXPECT_EQ(generator.Wait(kSeconds), 1);
    EXPECT_FALSE(std::filesystem::exists(folder_.File("a.pdf")));
    return generator.Errors();
  }

  TemporaryFolder folder_;
};

TEST_F(BrokenManual, AMissingChapterIsNamed) {
  std::filesystem::remove(File("fuses.md"));
  EXPECT_THAT(Refusal(), HasSubstr("the chapter " + File("fuses.md") + " is missing"));
}

TEST_F(BrokenManual, AChapterThatTheContentsLeaveOutIsNamed) {
  WriteFile(File("more.md"), "# 題\n");
  EXPECT_THAT(Refusal(), HasSubstr("more.md is not listed in"));
}

TEST_F(BrokenManual, AMissingPictureIsNamedWithItsLine) {
  WriteFile(File("fuses.md"), "# 題\n\n![絵](images/none.png)\n");
  EXPECT_THAT(Refusal(),
              HasSubstr("fuses.md:3: the picture " + File("images/none.png") + " is missing"));
}

TEST_F(BrokenManual, ATextThatIsNotUnderstoodIsNamedWithItsLine) {
  WriteFile(File("fuses.md"), "# 題\n\n| a | b |\n|---|---|\n| 1 |\n");
  EXPECT_THAT(Refusal(), HasSubstr("fuses.md:5: the row has 1 cells, the header 2"));
}

TEST_F(BrokenManual, AChapterWithoutItsHeadingIsNamed) {
  WriteFile(File("fuses.md"), "## 節\n");
  EXPECT_THAT(Refusal(), HasSubstr("fuses.md: the chapter has to start with its one heading"));
}

TEST_F(BrokenManual, MissingContentsAreNamed) {
  std::filesystem::remove(File("contents.txt"));
  EXPECT_THAT(Refusal(), HasSubstr("contents.txt cannot be read"));
}

TEST(ManualGenerator, MakesTheSameBytesAgain) {
  // Out of another folder than the build.
  const TemporaryFolder folder;
  CopyManual(folder);
  Process generator = Generator(folder, "a.pdf");
  ASSERT_EQ(generator.Wait(kSeconds), 0) << generator.Errors();
  EXPECT_TRUE(ReadFile(folder.File("a.pdf")) == ReadFile(FENWRIGHT_MANUAL_FILE));
}

TEST(ManualContent, EveryHeadingOfEveryChapterIsInThePdf) {
  Process reader({"pdftotext", FENWRIGHT_MANUAL_FILE, "-"});
  ASSERT_EQ(reader.Wait(), 0) << reader.Errors();
  const QString pdf = Bare(QString::fromStdString(reader.Output()));
  static const QRegularExpression heading("^#+ (.+)$", QRegularExpression::MultilineOption);
  ASSERT_GE(ChapterNames().size(), 12);
  for (const QString& name : ChapterNames()) {
    int headings = 0;
    for (auto found = heading.globalMatch(Text(ChapterFile(name))); found.hasNext(); ++headings) {
      const QString title = found.next().captured(1);
      EXPECT_TRUE(pdf.contains(Bare(title))) << title.toStdString();
    }
    EXPECT_GE(headings, 2) << name.toStdString();
  }
}

/// The texts in Japanese that a source file holds, adjacent literals joined.
QStringList JapaneseTexts(const QString& source) {
  static const QRegularExpression literals(
      R"re("((?:[^"\\\n]|\\.)*)"(?:\s*"((?:[^"\\\n]|\\.)*)")*)re");
  static const QRegularExpression literal(R"re("((?:[^"\\\n]|\\.)*)")re");
  static const QRegularExpression comment("//.*$", QRegularExpression::MultilineOption);
  static const QRegularExpression japanese(
      R"([\x{3040}-\x{30FF}\x{4E00}-\x{9FFF}\x{FF66}-\x{FF9F}])");
  QStringList texts;
  const QString code = QString(source).remove(comment);
  for (auto found = literals.globalMatch(code); found.hasNext();) {
    QString text;
    for (auto part = literal.globalMatch(found.next().captured(0)); part.hasNext();) {
      text += part.next().captured(1);
    }
    text.replace("\\r", "").replace("\\n", "").replace("\\\"", "\"");
    if (text.contains(japanese)) texts.append(text);
  }
  return texts;
}

/// Whether a text is one that the messages chapter has to have: names of devices and labels are
/// no messages, nor are pieces of a few characters.
bool IsMessage(const QString& text) {
  constexpr qsizetype kShortest = 6;
  static const QStringList others{"AT90S1200 (外部ｸﾛｯｸ)",
                                  "AT90S1200A(内部RCｸﾛｯｸ1MHz)",
                                  "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : ",
                                  "EEPROMﾃﾞｰﾀﾒﾓﾘ: ",
                                  "ｻﾎﾟｰﾄﾍﾟｰｼﾞ : ",
                                  "コードファイル(*.hex)を開く",
                                  "データファイル(*.eep)を開く",
                                  "コードファイル ＆ データファイルを開く",
                                  "コードファイル(*.hex)の保存",
                                  "データファイル(*.eep)の保存",
                                  "ジョブファイル|*.json|All Files|*.*|",
                                  "ジョブの保存",
                                  "アップデータファイル|*.HEX|全てのファイル|*.*|",
                                  "コードファイル ＆ データファイルの保存"};
  return Bare(text).size() >= kShortest && !others.contains(text);
}

TEST(ManualContent, EveryMessageOfTheEngineIsExplained) {
  QString chapters;
  for (const char* name : {"messages.md", "update.md", "fuses.md"}) {
    chapters += Bare(Text(ChapterFile(name)));
  }
  int messages = 0;
  for (const char* folder : {"core", "link", "image", "ops", "fuse", "update", "platform"}) {
    const std::filesystem::path root = std::filesystem::path(FENWRIGHT_SOURCES) / folder;
    if (!std::filesystem::exists(root)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".cpp" && extension != ".h") continue;
      for (const QString& text : JapaneseTexts(Text(QString::fromStdString(entry.path())))) {
        if (!IsMessage(text)) continue;
        ++messages;
        EXPECT_TRUE(chapters.contains(Bare(text)))
            << entry.path().filename() << ": " << text.toStdString();
      }
    }
  }
  EXPECT_GE(messages, 100) << "the texts were not found in the sources";
}

/// What the first group of a pattern matches, each time that it does.
std::vector<std::string> Matches(const std::string& text, const QRegularExpression& pattern) {
  std::vector<std::string> matches;
  for (auto found = pattern.globalMatch(QString::fromStdString(text)); found.hasNext();) {
    matches.push_back(found.next().captured(1).toStdString());
  }
  return matches;
}

/// The words that start the lines of a part of a help text, up to an empty line.
std::vector<std::string> Listed(const std::string& help, const std::string& title) {
  const std::size_t start = help.find("\n" + title + "\n");
  EXPECT_NE(start, std::string::npos) << title;
  const std::string part = help.substr(start, help.find("\n\n", start + 1) - start);
  static const QRegularExpression word("\\n  ([a-z-]+)");
  return Matches(part, word);
}

std::string Help(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), FENWRIGHT_CLI_PROGRAM);
  arguments.push_back("--help");
  Process program(arguments);
  EXPECT_EQ(program.Wait(), 0);
  return program.Output();
}

TEST(ManualContent, EverySubcommandAndOptionIsInTheCommandLineChapter) {
  const std::string chapter = Text(ChapterFile("command-line.md")).toStdString();
  const std::string help = Help({});
  const std::vector<std::string> subcommands = Listed(help, "Subcommands:");
  EXPECT_THAT(subcommands, Contains("program"));
  std::vector<std::string> texts{help};
  for (const std::string& subcommand : subcommands) {
    EXPECT_THAT(chapter, HasSubstr("| `" + subcommand)) << subcommand;
    texts.push_back(Help({subcommand}));
  }
  static const QRegularExpression option("\\n  (?:-[a-z],)?(--[a-z-]+)");
  int options = 0;
  for (const std::string& text : texts) {
    for (const std::string& name : Matches(text, option)) {
      EXPECT_THAT(chapter, HasSubstr("`" + name));
      ++options;
    }
  }
  EXPECT_GE(options, 10);
}

}  // namespace
}  // namespace fenwright::testing
