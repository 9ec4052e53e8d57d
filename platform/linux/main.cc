#include <csignal>
#include <cstdlib>

#include "app/entry.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/malloc_retention.h"
#include "platform/posix/utf8_locale.h"

int main() {
  // A write to a closed pipe must not kill the application.
  std::signal(SIGPIPE, SIG_IGN);
  orvel::ensureUtf8Locale();
  orvel::limitMallocRetention();
  orvel::LinuxPlatform platform(orvel::mainBundlePath());
  orvel::runApplication(platform.interfaces());
  // Exits without destroying `platform`, because other threads may still post to its queues.
  std::exit(0);
}
