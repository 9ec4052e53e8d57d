#pragma once

#include "platform/background_queue.h"

namespace orvel {

/// The system's own concurrent queue of the default quality of service.
class DispatchBackgroundQueue final : public BackgroundQueue {
 public:
  void post(std::function<void()> work) override;
};

}  // namespace orvel
