#pragma once

#include <memory>
#include <string>

#include "tests/contract/contract_platform.h"
#include "tests/support/temporary_folder.h"

namespace orvel {

/// A private accessibility bus (AT-SPI), which GTK joins with the first widget of the process.
class AccessibilityBus {
 public:
  /// Starts the bus. Sets AT_SPI_BUS_ADDRESS and DBUS_SESSION_BUS_ADDRESS for the rest of the
  /// process.
  AccessibilityBus();
  ~AccessibilityBus();
  AccessibilityBus(const AccessibilityBus &) = delete;
  AccessibilityBus &operator=(const AccessibilityBus &) = delete;

  // The next two functions wait until an alert is open. GTK answers on the main thread, so call
  // them on another thread while the main thread runs its main loop.

  /// Returns the texts of the open alert. Leaves `defaultButton` empty.
  ShownAlert readAlert() const;
  /// Activates a button of the open alert.
  void pressButton(const std::string &caption) const;

 private:
  const TemporaryFolder folder_;
  const std::string address_ = "unix:path=" + (folder_.path() / "bus").string();
  std::shared_ptr<ChildProcess> daemon_;
};

}  // namespace orvel
