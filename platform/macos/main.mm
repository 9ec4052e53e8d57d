#import "platform/macos/macos_platform.h"

#include <csignal>
#include <cstdlib>

#include "app/entry.h"
#include "platform/posix/utf8_locale.h"

int main() {
  // A write to a closed pipe must not kill the application and orphan the server.
  std::signal(SIGPIPE, SIG_IGN);
  orvel::ensureUtf8Locale();
  @autoreleasepool {
    orvel::MacosPlatform platform;
    orvel::runApplication(platform.interfaces());
    // Reached only if -[NSApplication run] returns: terminate: exits. A return from main would
    // destroy the platform while other threads may still post to it.
    std::exit(0);
  }
}
