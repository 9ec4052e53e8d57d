#import "platform/macos/foundation/dispatch_background_queue.h"

#include <dispatch/dispatch.h>

namespace orvel {

void DispatchBackgroundQueue::post(std::function<void()> work) {
  dispatch_async(dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0), ^{
    work();
  });
}

}  // namespace orvel
