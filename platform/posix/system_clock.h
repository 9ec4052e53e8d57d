#pragma once

#include "platform/clock.h"

namespace orvel {

/// The system's clock.
class SystemClock final : public Clock {
 public:
  std::chrono::system_clock::time_point now() const override;
  void sleep(std::chrono::milliseconds duration) override;
};

}  // namespace orvel
