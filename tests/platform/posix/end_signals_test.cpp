#include "platform/system/end_signals.h"

#include <csignal>
#include <poll.h>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/child_process.h"

namespace fenwright::platform {
namespace {

bool CanBeRead(int descriptor) {
  pollfd watched{.fd = descriptor, .events = POLLIN, .revents = 0};
  return poll(&watched, 1, 0) == 1;
}

TEST(EndSignals, ASignalIsNotedInPlaceOfEndingTheProcess) {
  for (const int number : {SIGTERM, SIGHUP, SIGINT}) {
    // Whoever runs the tests may have it ignored.
    std::signal(number, SIG_DFL);
    const EndSignals end_signals;
    EXPECT_EQ(end_signals.Received(), 0);
    EXPECT_FALSE(CanBeRead(end_signals.Descriptor()));
    raise(number);
    EXPECT_EQ(end_signals.Received(), number);
    EXPECT_TRUE(CanBeRead(end_signals.Descriptor()));
  }
}

TEST(EndSignals, WhatTheCallerHasIgnoredStaysIgnored) {
  EXPECT_EQ(RunInChild([] {
              static_cast<void>(std::signal(SIGHUP, SIG_IGN));
              const EndSignals end_signals;
              raise(SIGHUP);
              const bool ignored = end_signals.Received() == 0;
              raise(SIGTERM);
              return std::string(ignored && end_signals.Received() == SIGTERM ? "good" : "bad");
            }),
            "good");
}

TEST(EndSignals, SeveralInARowAreOneEnd) {
  EXPECT_EQ(RunInChild([] {
              const EndSignals end_signals;
              for (const int number : {SIGTERM, SIGHUP, SIGHUP, SIGTERM}) raise(number);
              return std::to_string(end_signals.Received());
            }),
            std::to_string(SIGTERM));
}

TEST(EndSignals, AFurtherOneEndsTheProcessAtOnce) {
  EXPECT_EQ(RunInChild([] {
              const EndSignals end_signals;
              raise(SIGTERM);
              usleep(1'100'000);
              raise(SIGINT);
              return std::string("still alive");
            }),
            "child died");
}

TEST(EndSignals, AfterwardsTheyEndTheProcessAsEver) {
  EXPECT_EQ(RunInChild([] {
              { const EndSignals end_signals; }
              raise(SIGTERM);
              return std::string("still alive");
            }),
            "child died");
}

}  // namespace
}  // namespace fenwright::platform
