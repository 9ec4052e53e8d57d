#include "app/settings.h"

#include <cstdlib>

namespace orvel {

Settings readSettings(const Locations &locations, const Bundle &bundle) {
  Settings settings;
  settings.HOME = locations.home();
  const char *root = std::getenv("ORVEL_OS_ROOT");
  settings.ROOT = root != nullptr ? std::string(root) : settings.HOME + "/orvel-os";
  settings.LOCAL_PORT = 4767;
  settings.LOCAL_URL = "http://127.0.0.1:" + std::to_string(settings.LOCAL_PORT) + "/";
  settings.VERSIE = bundle.infoText("CFBundleShortVersionString").value_or("0");
  return settings;
}

}  // namespace orvel
