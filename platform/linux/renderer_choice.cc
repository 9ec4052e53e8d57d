#include "platform/linux/renderer_choice.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace orvel {

namespace {

/// Returns whether a folder of device files has a render node that this user may open.
bool hasUsableRenderNode(const std::filesystem::path &folder) {
  std::error_code error;
  for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
    if (!entry.path().filename().string().starts_with("renderD")) continue;
    if (::access(entry.path().c_str(), R_OK | W_OK) == 0) return true;
  }
  return false;
}

}  // namespace

GraphicsHardware detectGraphicsHardware(const std::filesystem::path &deviceFolder,
                                        const std::filesystem::path &nvidiaVersionFile) {
  std::error_code error;
  return {.hasUsableGpu = hasUsableRenderNode(deviceFolder),
          .hasNvidiaDriver = std::filesystem::exists(nvidiaVersionFile, error)};
}

void selectRenderers(const GraphicsHardware &hardware, unsigned gtkMinor) {
  constexpr int keepExisting = 0;
  if (!hardware.hasUsableGpu) {
    ::setenv("GSK_RENDERER", "cairo", keepExisting);
    // GTK initialises GL even for the cairo renderer, and so loads Mesa's shader compiler.
    // GTK 4.16 replaced GDK_DEBUG=gl-disable with GDK_DISABLE=gl, and warns about the old value.
    constexpr unsigned firstMinorWithGdkDisable = 16;
    const bool hasGdkDisable = gtkMinor >= firstMinorWithGdkDisable;
    ::setenv(hasGdkDisable ? "GDK_DISABLE" : "GDK_DEBUG", hasGdkDisable ? "gl" : "gl-disable",
             keepExisting);
    // WebKit initialises GL too, to find the device for shared buffers, unless this variable
    // names one. /dev/null stands for no device.
    ::setenv("WEBKIT_WEB_RENDER_DEVICE_FILE", "/dev/null", keepExisting);
  }
  if (!hardware.hasUsableGpu || hardware.hasNvidiaDriver) {
    ::setenv("WEBKIT_DISABLE_DMABUF_RENDERER", "1", keepExisting);
  }
}

}  // namespace orvel
