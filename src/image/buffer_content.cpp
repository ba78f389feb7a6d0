#include "image/buffer_content.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/file_names.h"
#include "image/file_summary.h"
#include "image/old_content.h"

namespace fenwright::image {
namespace {

using core::BufferContent;
using core::ContentSource;

/// A memory with all that belongs to it.
struct Parts {
  const std::vector<std::uint8_t>& Buffer;
  const BufferContent& Content;
  const std::string& OpenedFile;  ///< where a save without a dialog writes to
  const std::string& FileInfo;
  std::size_t Size;  ///< bytes of the selected device
};

Parts PartsOf(const core::AppState& state, Memory memory) {
  if (memory == Memory::Flash) {
    return {.Buffer = state.FlashBuffer,
            .Content = state.CodeContent,
            .OpenedFile = state.CodeFileName,
            .FileInfo = state.CodeInfo,
            .Size = 2 * static_cast<std::size_t>(state.FlashWords)};
  }
  return {.Buffer = state.EepromBuffer,
          .Content = state.DataContent,
          .OpenedFile = state.DataFileName,
          .FileInfo = state.DataInfo,
          .Size = static_cast<std::size_t>(state.EepromBytes)};
}

BufferContent& ContentOf(core::AppState& state, Memory memory) {
  return memory == Memory::Flash ? state.CodeContent : state.DataContent;
}

const std::vector<std::uint8_t>& BufferOf(const core::AppState& state, Memory memory) {
  return memory == Memory::Flash ? state.FlashBuffer : state.EepromBuffer;
}

bool IsBlank(const std::vector<std::uint8_t>& bytes, std::size_t size) {
  const auto last = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(size, bytes.size()));
  return std::all_of(bytes.begin(), last, [](std::uint8_t byte) { return byte == core::kBlank; });
}

bool AreAlike(const std::vector<std::uint8_t>& one, const std::vector<std::uint8_t>& other,
              std::size_t size) {
  if (one.size() < size || other.size() < size) return false;
  return std::equal(one.begin(), one.begin() + static_cast<std::ptrdiff_t>(size), other.begin());
}

void Note(core::AppState& state, Memory memory, ContentSource source, const std::string& path) {
  BufferContent& content = ContentOf(state, memory);
  content.Source = source;
  content.Path = path;
  content.Edited = false;
  content.Noted = BufferOf(state, memory);
}

void NoteFile(core::AppState& state, Memory memory, const std::string& path, bool whole) {
  BufferContent& content = ContentOf(state, memory);
  content.InFilePath = path;
  // Of a file that was not taken to its end nothing is known but that it is another.
  content.InFile = whole ? BufferOf(state, memory) : std::vector<std::uint8_t>{};
  if (whole) content.Kept = content.InFile;
}

/// What is known of the file that a save without a dialog writes to.
bool IsFileKnown(const Parts& parts) {
  return !parts.OpenedFile.empty() && parts.Content.InFilePath == parts.OpenedFile;
}

/// A save writes what the device has room for: the rest of a larger file is lost.
bool HoldsMoreThanTheDevice(const std::vector<std::uint8_t>& bytes, std::size_t size) {
  return bytes.size() > size &&
         !IsBlank({bytes.begin() + static_cast<std::ptrdiff_t>(size), bytes.end()},
                  bytes.size() - size);
}

bool DiffersFromFile(const Parts& parts) {
  return IsFileKnown(parts) && (!AreAlike(parts.Buffer, parts.Content.InFile, parts.Size) ||
                                HoldsMoreThanTheDevice(parts.Content.InFile, parts.Size));
}

/// A save has emptied the file, and there is a copy of what it held.
bool HasEmptiedFile(const core::AppState& state, const Parts& parts) {
  return parts.Content.Source == ContentSource::SavedFile && !parts.Content.Edited &&
         IsBlank(parts.Buffer, parts.Size) && !LastCopyOf(state, parts.Content.Path).empty();
}

bool WouldEmptyFile(const Parts& parts) {
  const std::vector<std::uint8_t>& in_file = parts.Content.InFile;
  return IsFileKnown(parts) && IsBlank(parts.Buffer, parts.Size) &&
         !IsBlank(in_file, in_file.size());
}

bool IsUnsaved(const Parts& parts) {
  return !IsBlank(parts.Buffer, parts.Size) &&
         !AreAlike(parts.Buffer, parts.Content.Kept, parts.Size);
}

/// A save without a dialog needs a code file; it writes the data file beside it.
bool SavesTo(const core::AppState& state, const Parts& parts) {
  return !state.CodeFileName.empty() && !parts.OpenedFile.empty();
}

/// Nothing is known when the buffer is not as it was noted.
bool WasNoted(const Parts& parts) {
  return parts.Content.Noted.empty() ? IsBlank(parts.Buffer, parts.Size)
                                     : parts.Buffer == parts.Content.Noted;
}

/// Where the content comes from; "" = from nowhere, and there is none.
std::string Origin(const Parts& parts) {
  const BufferContent& content = parts.Content;
  if (!WasNoted(parts)) return "途中で終わった処理の内容";
  switch (content.Source) {
    case ContentSource::Nothing:
      return content.Edited ? "手で入力した内容" : "";
    case ContentSource::File:
    case ContentSource::SavedFile:
      return FileNameOf(content.Path) + (content.Edited ? " を手で変更" : "");
    case ContentSource::FileInPart:
      return FileNameOf(content.Path) + " (途中まで)" + (content.Edited ? " を手で変更" : "");
    case ContentSource::MissingFile:
      return content.Edited ? "手で入力した内容"
                            : "空 (" + FileNameOf(content.Path) + " はありません)";
    case ContentSource::Chip:
      return std::string("チップから読み出し") + (content.Edited ? "、手で変更" : "");
    case ContentSource::ChipInPart:
      return std::string("チップから途中まで読み出し") + (content.Edited ? "、手で変更" : "");
    case ContentSource::DeviceChange:
      return content.Edited ? "手で入力した内容" : "空 (デバイスの変更で消去)";
    case ContentSource::Cleared:
      return content.Edited ? "手で入力した内容" : "空 (バッファーのクリア)";
  }
  return "";
}

bool IsBlanked(const Parts& parts) {
  const ContentSource source = parts.Content.Source;
  return WasNoted(parts) && !parts.Content.Edited &&
         (source == ContentSource::Nothing || source == ContentSource::MissingFile ||
          source == ContentSource::DeviceChange || source == ContentSource::Cleared);
}

/// The file's own words as long as the buffer is as it was loaded: its name, its use, its doubts.
std::string DescribeMemory(const core::AppState& state, Memory memory) {
  const Parts parts = PartsOf(state, memory);
  const std::string caption = memory == Memory::Flash ? "コード : " : "データ : ";
  if (IsBlanked(parts)) {
    const std::string origin = Origin(parts);
    return caption + (origin.empty() ? "空" : origin);
  }
  std::string first = parts.FileInfo;
  const std::size_t end = first.find('\n');
  const bool as_loaded = WasNoted(parts) && !parts.Content.Edited && end != std::string::npos &&
                         (parts.Content.Source == ContentSource::File ||
                          parts.Content.Source == ContentSource::FileInPart);
  if (as_loaded) return caption + first.replace(end, 1, "  ");
  const std::string usage = memory == Memory::Flash ? FlashUsage(state) : EepromUsage(state);
  // What looked wrong about a file still holds for what was changed of it.
  const std::size_t doubts = end == std::string::npos ? end : first.find('\n', end + 1);
  return caption + Origin(parts) + "  " + usage +
         (doubts == std::string::npos ? "" : first.substr(doubts));
}

std::string SaveTarget(const core::AppState& state) {
  std::string text;
  for (const Memory memory : {Memory::Flash, Memory::Eeprom}) {
    const Parts parts = PartsOf(state, memory);
    if (!SavesTo(state, parts)) continue;
    text += (text.empty() ? "" : "、") + FileNameOf(parts.OpenedFile) +
            (DiffersFromFile(parts) ? " (変更あり)" : "");
  }
  return text;
}

}  // namespace

void NoteLoaded(core::AppState& state, Memory memory, const std::string& path, bool whole) {
  Note(state, memory, whole ? ContentSource::File : ContentSource::FileInPart, path);
  NoteFile(state, memory, path, whole);
}

void NoteMissing(core::AppState& state, Memory memory, const std::string& path) {
  Note(state, memory, ContentSource::MissingFile, path);
  ContentOf(state, memory).InFilePath.clear();
}

void NoteRead(core::AppState& state, Memory memory, bool whole) {
  Note(state, memory, whole ? ContentSource::Chip : ContentSource::ChipInPart, "");
}

void NoteBlanked(core::AppState& state, Memory memory, ContentSource why) {
  Note(state, memory, why, "");
}

void NoteEdited(core::AppState& state, Memory memory) {
  BufferContent& content = ContentOf(state, memory);
  content.Edited = true;
  content.Noted = BufferOf(state, memory);
}

void NoteSaved(core::AppState& state, Memory memory, const std::string& path, bool whole) {
  BufferContent& content = ContentOf(state, memory);
  if (path != PartsOf(state, memory).OpenedFile) {
    if (whole) content.Kept = BufferOf(state, memory);
    return;
  }
  NoteFile(state, memory, path, whole);
  if (whole) Note(state, memory, ContentSource::SavedFile, path);
}

std::string DescribeContent(const core::AppState& state) {
  const auto is_untouched = [&state](Memory memory) {
    const Parts parts = PartsOf(state, memory);
    return IsBlanked(parts) && parts.Content.Source != ContentSource::MissingFile;
  };
  const std::string target = SaveTarget(state);
  if (target.empty() && is_untouched(Memory::Flash) && is_untouched(Memory::Eeprom)) return "";
  std::string text = DescribeMemory(state, Memory::Flash) + "\n" +
                     DescribeMemory(state, Memory::Eeprom) +
                     "\n上書き保存の先 : " + (target.empty() ? "なし" : target);
  const std::string emptied = FilesThatASaveWouldEmpty(state);
  if (!emptied.empty()) text += "\n⚠ 上書き保存すると " + emptied + " の内容は消えて空になります。";
  // Where a file has words of its own, its doubts stand among them.
  if (state.CodeInfo.empty() && !state.CodeDoubt.empty()) text += "\n" + state.CodeDoubt;
  if (state.DataInfo.empty() && !state.DataDoubt.empty()) text += "\n" + state.DataDoubt;
  std::string saved;
  for (const Memory memory : {Memory::Flash, Memory::Eeprom}) {
    const Parts parts = PartsOf(state, memory);
    if (!HasEmptiedFile(state, parts)) continue;
    saved += (saved.empty() ? "" : " と ") + FileNameOf(parts.Content.Path);
  }
  if (!saved.empty()) text += "\n⚠ " + DescribeEmptiedFiles(state, saved);
  return text;
}

bool HoldsUnsavedContent(const core::AppState& state) {
  return IsUnsaved(PartsOf(state, Memory::Flash)) || IsUnsaved(PartsOf(state, Memory::Eeprom));
}

bool HoldsItsFile(const core::AppState& state, Memory memory) {
  const Parts parts = PartsOf(state, memory);
  return IsFileKnown(parts) && !DiffersFromFile(parts);
}

std::string FilesThatASaveWouldEmpty(const core::AppState& state) {
  std::string names;
  for (const Memory memory : {Memory::Flash, Memory::Eeprom}) {
    const Parts parts = PartsOf(state, memory);
    if (!SavesTo(state, parts) || !WouldEmptyFile(parts)) continue;
    names += (names.empty() ? "" : " と ") + FileNameOf(parts.OpenedFile);
  }
  return names;
}

std::string DescribeEmptiedFiles(const core::AppState& state, std::string_view names) {
  const std::string text = std::string(names) + " は空の内容になりました。";
  const bool kept = !LastCopyOf(state, state.CodeSaveFileName).empty() ||
                    !LastCopyOf(state, state.DataSaveFileName).empty();
  return kept ? text + "元の内容は Backups にあります。" : text;
}

}  // namespace fenwright::image
