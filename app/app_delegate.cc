#include "app/app_delegate.h"

namespace orvel {

AppDelegate::AppDelegate(const Settings &settings, const Platform &platform)
    : appSleutel(platform.bundle.infoText("ORVELOSKey").value_or("")),
      settings_(settings),
      platform_(platform) {}

}  // namespace orvel
