#include "input_format.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include <fmt/format.h>

#include "platform/system/tool.h"
#include "text.h"

namespace fenwright::cli {
namespace {

using Words = std::vector<std::string>;

constexpr std::string_view kElfMagic =
    "\x7F"
    "ELF";

/// The file's machine is an AVR, as the ELF format's list of machines has it: EM_AVR, 83.
bool IsForAvr(std::string_view elf) {
  constexpr std::size_t kMachine = 18;  // two bytes, the low one first
  return elf.size() > kMachine + 1 && elf[kMachine] == 83 && elf[kMachine + 1] == 0;
}

/// A program that can run, of 32 bits with the low byte first, as AVR has them. An object file that
/// was not linked has holes where its addresses will be.
bool IsLinked(std::string_view elf) {
  constexpr std::size_t kClass = 4;
  constexpr std::size_t kByteOrder = 5;
  constexpr std::size_t kType = 16;  // two bytes; ET_EXEC is 2
  return elf[kClass] == 1 && elf[kByteOrder] == 1 && elf[kType] == 2 && elf[kType + 1] == 0;
}

/// objcopy's own name of a format.
const char* TargetOf(InputFormat format) {
  switch (format) {
    case InputFormat::SRecord:
      return "srec";
    case InputFormat::Elf:
      return "elf32-little";
    case InputFormat::Binary:
      return "binary";
    case InputFormat::Hex:
      break;
  }
  return "ihex";
}

std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Problem Unreadable(const std::string& name, const std::string& japanese, const std::string& english,
                   const core::Sentence& cure = {}) {
  return {.Code = problem::kFileUnreadable,
          .Text = {fmt::format("{}: {}", name, japanese), fmt::format("{}: {}", name, english)},
          .Cure = cure};
}

/// The conversions of one file, in a folder of their own.
class Converter {
 public:
  Converter(const std::string& name, std::string_view content, InputFormat format)
      : name_(name), format_(format) {
    std::ofstream file(folder_.Path() / "input", std::ios::binary);
    file << content;
  }

  /// Intel HEX, "" with `trouble` set when there is none.
  std::string Run(const Words& selection, std::optional<Problem>& trouble) const {
    const std::filesystem::path errors = folder_.Path() / "errors";
    const std::filesystem::path output = folder_.Path() / "output";
    for (const char* const tool : {"avr-objcopy", "objcopy"}) {
      Words command{tool, "-I", TargetOf(format_), "-O", "ihex"};
      command.insert(command.end(), selection.begin(), selection.end());
      command.insert(command.end(), {ToUtf8(folder_.Path() / "input"), ToUtf8(output)});
      const std::optional<int> code = platform::RunTool(command, errors);
      if (!code) continue;
      if (*code == 0) return ContentOf(output);
      const std::string reason = Reason(ContentOf(errors));
      trouble = Unreadable(name_, "変換できません: " + reason, "cannot be converted: " + reason,
                           {"もう一度作り直します。", "make the file again"});
      return "";
    }
    trouble = Unreadable(
        name_, "Intel HEX への変換に使う objcopy がありません",
        "objcopy, which makes Intel HEX from it, is not there",
        {"binutils (または AVR 用の binutils-avr) を入れるか、Intel HEX のファイルを指定します。",
         "install binutils, or binutils-avr for AVR, or name an Intel HEX file"});
    return "";
  }

 private:
  /// What the tool says, with the file's own name.
  [[nodiscard]] std::string Reason(std::string text) const {
    const std::string input = ToUtf8(folder_.Path() / "input");
    for (std::size_t at = text.find(input); at != std::string::npos; at = text.find(input)) {
      text.replace(at, input.size(), name_);
    }
    return text;
  }

  const std::string& name_;
  InputFormat format_;
  platform::PrivateFolder folder_;
};

/// What has no place in the flash: an ELF file keeps the EEPROM, the fuse and lock bits and the
/// signature in sections of their own.
const Words& CodeSections() {
  static const Words kSections{"-R",    ".eeprom", "-R",         ".fuse", "-R",
                               ".lock", "-R",      ".signature", "-R",    ".user_signatures"};
  return kSections;
}

const Words& DataSection() {
  static const Words kSection{"-j", ".eeprom", "--change-section-lma", ".eeprom=0",
                              "--no-change-warnings"};
  return kSection;
}

}  // namespace

const std::vector<std::string>& FormatNames() {
  static const std::vector<std::string> kNames{"hex", "srec", "elf", "bin"};
  return kNames;
}

std::optional<InputFormat> FormatNamed(std::string_view name) {
  const auto found = std::ranges::find(FormatNames(), name);
  if (found == FormatNames().end()) return std::nullopt;
  return static_cast<InputFormat>(found - FormatNames().begin());
}

std::optional<InputFormat> FormatOf(std::string_view content) {
  if (content.starts_with(kElfMagic)) return InputFormat::Elf;
  if (content.starts_with(':')) return InputFormat::Hex;
  const bool digit = content.size() > 1 && content[1] >= '0' && content[1] <= '9';
  if (content.starts_with('S') && digit) return InputFormat::SRecord;
  return std::nullopt;
}

ConvertedInput Convert(const std::string& name, std::string_view content, InputFormat format) {
  ConvertedInput made;
  if (format == InputFormat::Hex) {
    made.Code = content;
    return made;
  }
  if (format == InputFormat::Elf && !(content.starts_with(kElfMagic) && IsForAvr(content))) {
    made.Trouble =
        Unreadable(name, "AVR の ELF ファイルではありません", "is no ELF file for AVR",
                   {"AVR 用に作ったファイルを指定します。", "name a file that was made for AVR"});
    return made;
  }
  if (format == InputFormat::Elf && !IsLinked(content)) {
    made.Trouble =
        Unreadable(name, "リンクされていない ELF ファイルです", "is not linked",
                   {"リンクして作ったファイルを指定します。", "name what the linker made"});
    return made;
  }
  const Converter converter(name, content, format);
  made.Code = converter.Run(format == InputFormat::Elf ? CodeSections() : Words(), made.Trouble);
  if (made.Trouble || format != InputFormat::Elf) return made;
  const std::string data = converter.Run(DataSection(), made.Trouble);
  // Of a file without the section the end record alone is left.
  constexpr std::string_view kDataRecordType = "00";
  constexpr std::size_t kTypeColumn = 7;
  if (data.size() > kTypeColumn + 1 && data.substr(kTypeColumn, 2) == kDataRecordType) {
    made.Data = data;
  }
  return made;
}

}  // namespace fenwright::cli
