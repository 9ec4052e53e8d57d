#pragma once

#include "platform/background_queue.h"

namespace orvel {

/// The global concurrent dispatch queue with the default quality of service. Any thread.
class DispatchBackgroundQueue final : public BackgroundQueue {
 public:
  void post(std::function<void()> work) override;
};

}  // namespace orvel
