#include "image/old_content.h"

#include "core/file_reason.h"
#include "core/trace_log.h"
#include "image/file_names.h"

namespace fenwright::image {
namespace {

std::string NoCopyText(const core::OldContent& content) {
  return "保存する前の内容を残せませんでした。" + core::DescribeReason(content.Refusal);
}

}  // namespace

OldContentKeeper::OldContentKeeper(core::RunContext& context, std::string_view path)
    : context_(context), path_(path) {
  if (context.Storage.Archive == nullptr) return;
  kept_.Refusal = context.Storage.Archive->Keep(path_, kept_.Copy);
}

void OldContentKeeper::NoteOverwritten() {
  auto& noted = context_.State.OldContents;
  noted.erase(path_);
  if (kept_.Copy.empty() && kept_.Refusal) return;
  noted[path_] = kept_;
}

void OldContentKeeper::TraceMissingCopy() const {
  // Whoever saves cares less for the trace than for the file.
  if (kept_.Refusal) return;
  core::TraceLog(context_).TryAppendMessage(path_ + "\r\n" + NoCopyText(kept_));
}

void OldContentKeeper::NoteUntouched() {
  untouched_ = true;
  if (!kept_.Copy.empty()) context_.Storage.Archive->Drop(kept_.Copy);
}

std::string OldContentKeeper::Describe() const {
  if (kept_.Copy.empty() && kept_.Refusal) return "";
  if (untouched_) return "元のファイルはそのままです。";
  if (!kept_.Refusal) return NoCopyText(kept_);
  return "保存する前の内容は次のファイルに残してあります。\r\n" + kept_.Copy;
}

std::string LastCopyOf(const core::AppState& state, std::string_view path) {
  const auto found = state.OldContents.find(path);
  return found == state.OldContents.end() ? "" : found->second.Copy;
}

std::string DescribeMissingCopies(const core::AppState& state) {
  std::string text;
  for (const std::string* path : {&state.CodeSaveFileName, &state.DataSaveFileName}) {
    const auto found = state.OldContents.find(*path);
    if (found == state.OldContents.end() || found->second.Refusal) continue;
    text += (text.empty() ? "⚠ " : "\n⚠ ") + std::string(NameOf(*path)) + " : " +
            NoCopyText(found->second);
  }
  return text;
}

}  // namespace fenwright::image
