#pragma once

#include <string>

#include "platform/bundle.h"
#include "platform/locations.h"

namespace orvel {

/// The settings of the process. Read once at entry and never changed.
struct Settings {
  /// The user's home folder, without a trailing "/".
  std::string HOME;
  /// The data root, the folder of the OS server and its log.
  std::string ROOT;
  /// The TCP port of the OS server on this machine.
  int LOCAL_PORT = 0;
  /// The address of the OS server on this machine, ending in "/".
  std::string LOCAL_URL;
  /// The version of this application, or "0" when Info.plist has none.
  std::string VERSIE;
};

/// Reads the settings from the home folder, the environment variable
/// ORVEL_OS_ROOT (used unchanged, even when empty) and the bundle.
Settings readSettings(const Locations &locations, const Bundle &bundle);

}  // namespace orvel
