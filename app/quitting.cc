#include <chrono>

#include "app/app_delegate.h"

namespace orvel {

namespace {

// The server gets 3 seconds to exit after SIGTERM.
constexpr int maxExitWaits = 30;
constexpr std::chrono::milliseconds exitWaitDuration{100};

}  // namespace

TerminateReply AppDelegate::applicationShouldTerminate() {
  quitting = true;
  if (!isServerRunning()) return TerminateReply::now;

  server->terminate();
  platform_.backgroundQueue.post([process = server, platform = platform_] {
    for (int wait = 0; wait < maxExitWaits; ++wait) {
      if (process->isRunning()) platform.clock.sleep(exitWaitDuration);
    }
    if (process->isRunning()) process->kill();
    platform.mainQueue.post([platform] { platform.application.replyToShouldTerminate(); });
  });
  return TerminateReply::later;
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() { return true; }

}  // namespace orvel
