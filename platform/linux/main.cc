#include <malloc.h>

#include <csignal>
#include <cstdlib>

#include "app/entry.h"
#include "platform/linux/linux_platform.h"

int main() {
  // A terminal that goes away must not take us along and leave the server behind.
  std::signal(SIGPIPE, SIG_IGN);
  // Left to itself glibc raises this limit with each large body that comes and
  // goes, and then keeps the memory of the next ones.
  ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
  orvel::LinuxPlatform platform(orvel::mainBundlePath());
  orvel::runApplication(platform.ports());
  // Not by returning: other threads may still post to what would be destroyed.
  std::exit(0);
}
