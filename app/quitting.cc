#include <chrono>

#include "app/app_delegate.h"

namespace orvel {

namespace {

constexpr int maxWaits = 30;
constexpr std::chrono::milliseconds waitDuration{100};

}  // namespace

TerminateReply AppDelegate::applicationShouldTerminate() {
  quitting = true;
  if (!server) return TerminateReply::now;
  if (!server->isRunning()) return TerminateReply::now;

  server->terminate();
  platform_.backgroundQueue.post([task = server, platform = platform_] {
    for (int wait = 0; wait < maxWaits; ++wait) {
      if (task->isRunning()) platform.clock.sleep(waitDuration);
    }
    if (task->isRunning()) task->kill();
    platform.mainQueue.post([platform] { platform.application.replyToShouldTerminate(); });
  });
  return TerminateReply::later;
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() { return true; }

}  // namespace orvel
