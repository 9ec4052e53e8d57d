#pragma once

#include <memory>
#include <string>

#include "tests/contract/contract_platform.h"
#include "tests/support/temporary_folder.h"

namespace orvel {

/// A private accessibility bus (AT-SPI). GTK joins it when the process creates its first widget.
class AccessibilityBus {
 public:
  /// Starts the bus. Sets AT_SPI_BUS_ADDRESS and DBUS_SESSION_BUS_ADDRESS for the rest of the
  /// process. Throws when the bus does not start.
  AccessibilityBus();
  ~AccessibilityBus();
  AccessibilityBus(const AccessibilityBus &) = delete;
  AccessibilityBus &operator=(const AccessibilityBus &) = delete;

  // The next two functions wait until an alert is open, and throw when none opens within a minute.
  // GTK answers on the main thread, so call them on another thread while the main loop runs.

  /// Returns the texts of the open alert. Leaves `defaultButton` empty, because GTK does not report
  /// the default button on the bus.
  ShownAlert readAlert() const;
  /// Activates a button of the open alert. Throws when the alert has no such button.
  void pressButton(const std::string &caption) const;

 private:
  const TemporaryFolder folder_;
  const std::string address_ = "unix:path=" + (folder_.path() / "bus").string();
  std::shared_ptr<ChildProcess> daemon_;
};

}  // namespace orvel
