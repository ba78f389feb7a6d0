#include "socket.h"

#include <cstddef>
#include <string>

#include <fmt/format.h>

#include "core/device_catalogue.h"
#include "explanations.h"
#include "ops/command.h"
#include "ops/socket_device.h"
#include "ops/trouble.h"

namespace fenwright::cli {
namespace {

/// A signature that was not read: the line failed meanwhile, or the chip said nothing of use.
ExitCode FailUnread(Session& session) {
  const core::AppState& state = session.State();
  std::string_view word = ops::trouble::kNoSignature;
  if (state.Command.Failure == core::FailureKind::PortGone) word = ops::trouble::kPortGone;
  if (state.Command.Failure == core::FailureKind::NoReply) word = ops::trouble::kNoReply;
  return session.Fail(ExitCode::Failed, {.Code = word, .Text = OfEngine(state.StatusText)});
}

std::string_view NameOf(int index) {
  return core::DeviceCatalogue()[static_cast<std::size_t>(index)].DisplayName;
}

SocketReading ReadSocketOnce(Session& session) {
  ops::SocketContent content;
  const core::CommandEnding ending = ops::RunCommand(
      session.Context(),
      [&content](core::RunContext& context) { content = ops::IdentifySocket(context); });
  if (ending == core::CommandEnding::Stopped) return {.Code = session.FailStopped()};
  if (ending != core::CommandEnding::Finished) return {.Code = session.FailByFile()};
  if (!session.State().Command.LinkReady) {
    return {.Code = session.FailLink(ExitCode::NoProgrammer)};
  }
  if (!content.Read) return {.Code = FailUnread(session)};
  if (content.Devices.empty()) {
    return {.Code = session.Fail(ExitCode::Failed, {.Code = problem::kUnsupportedChip,
                                                    .Text = OfEngine(session.State().StatusText)})};
  }
  return {.Devices = content.Devices};
}

}  // namespace

SocketReading ReadSocket(Session& session) {
  SocketReading first = ReadSocketOnce(session);
  if (first.Code != ExitCode::Success) return first;
  const std::string signature = session.StatusBar().Signature();
  SocketReading second = ReadSocketOnce(session);
  if (second.Code != ExitCode::Success || session.StatusBar().Signature() == signature) {
    return second;
  }
  const std::string signatures = signature + ", " + session.StatusBar().Signature();
  return {.Code = session.Fail(ExitCode::Failed,
                               {.Code = problem::kReadingsDiffer,
                                .Text = {"二回読み出したシグネチャーが違います: " + signatures,
                                         "two readings of the signature differ: " + signatures}})};
}

ExitCode SelectDeviceInSocket(Session& session) {
  const SocketReading socket = ReadSocket(session);
  if (socket.Code != ExitCode::Success) return socket.Code;
  if (socket.Devices.size() > 1) {
    std::string names;
    for (const int index : socket.Devices) names += fmt::format("\n  {}", NameOf(index));
    const core::Sentence& cause = FindExplanation(problem::kAmbiguousDevice)->Cause;
    return session.Fail(ExitCode::Failed,
                        {.Code = problem::kAmbiguousDevice,
                         .Text = {cause.Japanese + names, cause.English + ":" + names}});
  }
  const int index = socket.Devices.front();
  const core::CommandEnding ending = ops::RunCommand(
      session.Context(),
      [index](core::RunContext& context) { ops::PickDeviceKeepingBuffers(context, index); });
  if (ending == core::CommandEnding::Stopped) return session.FailStopped();
  return ending == core::CommandEnding::Finished ? ExitCode::Success : session.FailByFile();
}

}  // namespace fenwright::cli
