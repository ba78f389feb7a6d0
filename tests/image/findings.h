#pragma once

#include "image/hex_reader.h"
#include "support/test_run.h"

namespace fenwright::image {

/// The codes of a check's findings in their order, each "code@line", a note in brackets.
inline Texts Codes(const ImageCheck& check) {
  Texts codes;
  for (const Finding& finding : check.Findings) {
    const std::string text = std::string(Name(finding.Code)) + "@" + std::to_string(finding.Line);
    codes.push_back(finding.Weight == Severity::Note ? "(" + text + ")" : text);
  }
  return codes;
}

/// The line of a finding; 0 when there is none, or for one of the file as a whole.
inline std::int32_t LineOf(const HexReadReport& report, FindingCode code) {
  const auto& findings = report.Check.Findings;
  const auto found = std::ranges::find(findings, code, &Finding::Code);
  return found == findings.end() ? 0 : found->Line;
}

inline bool Has(const HexReadReport& report, FindingCode code) {
  return std::ranges::count(report.Check.Findings, code, &Finding::Code) != 0;
}

}  // namespace fenwright::image
