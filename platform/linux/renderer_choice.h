#pragma once

#include <filesystem>

namespace orvel {

/// The properties of this machine that decide how GTK and WebKit render.
struct GraphicsHardware {
  /// Whether this process may use a GPU. Without one, GL runs in software, which delays
  /// the first frame by seconds and costs about 100 MB a page.
  bool hasUsableGpu = false;
  /// Whether Nvidia's proprietary driver is loaded. With it, WebKit shows blank pages when
  /// it shares DMA-BUF buffers between processes.
  bool hasNvidiaDriver = false;

  bool operator==(const GraphicsHardware &) const = default;
};

/// Inspects this machine. A GPU is usable when a render node (renderD*) in `deviceFolder` is
/// readable and writable. Nvidia's driver is loaded when `nvidiaVersionFile` exists. Tests pass
/// other paths. Any thread.
GraphicsHardware detectGraphicsHardware(
    const std::filesystem::path &deviceFolder = "/dev/dri",
    const std::filesystem::path &nvidiaVersionFile = "/proc/driver/nvidia/version");

/// Sets the environment variables that select the renderers of GTK and WebKit. Keeps the
/// variables that the user has set. Call it before GTK starts and while the process has one
/// thread. `gtkMinor` is the minor version of GTK 4.
void selectRenderers(const GraphicsHardware &hardware, unsigned gtkMinor);

}  // namespace orvel
