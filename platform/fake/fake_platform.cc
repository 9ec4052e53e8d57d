#include "platform/fake/fake_platform.h"

namespace orvel {

Platform FakePlatform::interfaces() {
  return {.application = application,
          .windows = windows,
          .menuBar = menuBar,
          .panels = panels,
          .workspace = workspace,
          .mainQueue = mainQueue,
          .backgroundQueue = backgroundQueue,
          .clock = clock,
          .processes = processes,
          .http = http,
          .bundle = bundle,
          .defaults = defaults,
          .locations = locations,
          .names = names,
          .unpacker = unpacker};
}

}  // namespace orvel
