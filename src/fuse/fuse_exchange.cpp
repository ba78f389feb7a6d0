#include "fuse/fuse_exchange.h"

#include "core/status.h"
#include "link/board_commands.h"

namespace fenwright::fuse {
namespace {

void Trace(core::RunContext& context, std::string_view label) {
  if (!label.empty()) core::ShowStatus(context, label);
}

}  // namespace

void FuseExchange(core::RunContext& context, const ExchangeLabels& labels,
                  const std::function<void()>& transfer) {
  std::int16_t& error = context.State.LinkError;
  Trace(context, labels.Extend);
  link::AvrExtendCommand(context, error);
  if (error != 0) return;
  Trace(context, labels.Enter);
  link::EnterProgrammingMode(context, error);
  Trace(context, labels.Transfer);
  transfer();
  Trace(context, labels.Leave);
  link::LeaveProgrammingMode(context, error);
}

}  // namespace fenwright::fuse
