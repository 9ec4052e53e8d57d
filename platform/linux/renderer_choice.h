#pragma once

#include <filesystem>

namespace orvel {

/// How windows and pages are drawn on this machine.
struct RendererChoice {
  /// A graphics card can be reached. Without one, GL in software costs the
  /// first picture seconds and every page a hundred megabytes.
  bool hasGraphicsCard = false;
  /// The card runs on Nvidia's own driver, which shows blank pages when it has
  /// to share buffers between processes.
  bool hasNvidiaDriver = false;

  bool operator==(const RendererChoice &) const = default;
};

/// Looks at what the machine has. The paths are the kernel's; tests give
/// others.
RendererChoice chooseRenderer(
    const std::filesystem::path &renderNodes = "/dev/dri",
    const std::filesystem::path &nvidiaDriver = "/proc/driver/nvidia/version");

/// Sets the environment variables by which GTK and WebKit choose, as far as the
/// user has not set them. Before GTK starts and while there is one thread.
/// `gtkMinor` is the second number of GTK's version.
void applyRendererChoice(const RendererChoice &choice, unsigned gtkMinor);

}  // namespace orvel
