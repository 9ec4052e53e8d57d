#pragma once

#include <string>

#include "platform/bundle.h"
#include "platform/locations.h"

namespace orvel {

/// What holds for the whole process: read once at entry, never changed.
struct Settings {
  /// The user's home folder, without a trailing "/".
  std::string HOME;
  /// The data root, where the OS server and its log live.
  std::string ROOT;
  /// The TCP port of the OS server on this machine.
  int LOCAL_PORT = 0;
  /// The address of the OS server on this machine, ending in "/".
  std::string LOCAL_URL;
  /// The application's own version.
  std::string VERSIE;
};

/// Reads the settings from the home folder, the environment variable
/// ORVEL_OS_ROOT (taken as it stands, even when empty) and the bundle.
Settings readSettings(const Locations &locations, const Bundle &bundle);

}  // namespace orvel
