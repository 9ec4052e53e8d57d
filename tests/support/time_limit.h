#pragma once

#include <chrono>
#include <cstdlib>

namespace orvel {

/// Returns the limit of a wait, which is a guard against a hang, multiplied by the environment
/// variable ORVEL_TEST_TIMEOUT_FACTOR (default 1).
inline std::chrono::milliseconds timeLimit(std::chrono::milliseconds limit) {
  const char *factor = std::getenv("ORVEL_TEST_TIMEOUT_FACTOR");
  if (factor == nullptr) return limit;
  return std::chrono::duration_cast<std::chrono::milliseconds>(limit *
                                                               std::strtod(factor, nullptr));
}

}  // namespace orvel
