#include "platform/posix/system_clock.h"

#include <thread>

namespace orvel {

std::chrono::system_clock::time_point SystemClock::now() const {
  return std::chrono::system_clock::now();
}

void SystemClock::sleep(std::chrono::milliseconds duration) {
  std::this_thread::sleep_for(duration);
}

}  // namespace orvel
