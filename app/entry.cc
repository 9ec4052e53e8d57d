#include "app/entry.h"

#include <memory>

#include "app/app_delegate.h"
#include "app/settings.h"

namespace orvel {

void runApplication(const Platform &platform) {
  const Settings settings = readSettings(platform.locations, platform.bundle);
  const auto delegate = std::make_shared<AppDelegate>(settings, platform);
  platform.application.setDelegate(*delegate);
  platform.application.setRegularActivationPolicy();
  platform.application.run();
}

}  // namespace orvel
