#pragma once

#include <functional>
#include <span>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::fuse {

/// What the trace says before each step of an exchange; all "" = nothing.
struct ExchangeLabels {
  std::string_view Extend;
  std::string_view Enter;
  std::string_view Transfer;
  std::string_view Leave;
};

/// One transfer in a programming mode of its own: the extend command, entering, `transfer`,
/// leaving. With the error flag set after the extend command, by it or by an earlier exchange,
/// nothing more is sent.
void FuseExchange(core::RunContext& context, const ExchangeLabels& labels,
                  const std::function<void()>& transfer);

}  // namespace fenwright::fuse
