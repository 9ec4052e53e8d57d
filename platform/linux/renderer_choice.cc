#include "platform/linux/renderer_choice.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace orvel {

namespace {

bool hasUsableRenderNode(const std::filesystem::path &folder) {
  std::error_code error;
  for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
    if (!entry.path().filename().string().starts_with("renderD")) continue;
    if (::access(entry.path().c_str(), R_OK | W_OK) == 0) return true;
  }
  return false;
}

}  // namespace

RendererChoice chooseRenderer(const std::filesystem::path &renderNodes,
                              const std::filesystem::path &nvidiaDriver) {
  std::error_code error;
  return {.hasGraphicsCard = hasUsableRenderNode(renderNodes),
          .hasNvidiaDriver = std::filesystem::exists(nvidiaDriver, error)};
}

void applyRendererChoice(const RendererChoice &choice, unsigned gtkMinor) {
  constexpr int keepTheUsersOwn = 0;
  if (!choice.hasGraphicsCard) {
    ::setenv("GSK_RENDERER", "cairo", keepTheUsersOwn);
    // GTK looks for GL even when nothing is going to be drawn by it, and so loads
    // a whole compiler of shaders. The switch has moved; the other version would
    // complain of a word that it does not know.
    constexpr unsigned firstWithSwitchOfItsOwn = 16;
    const bool hasSwitch = gtkMinor >= firstWithSwitchOfItsOwn;
    ::setenv(hasSwitch ? "GDK_DISABLE" : "GDK_DEBUG", hasSwitch ? "gl" : "gl-disable",
             keepTheUsersOwn);
    // WebKit would look for it once more, to find the device by which processes
    // share buffers. It takes one that it is told without asking what it is.
    ::setenv("WEBKIT_WEB_RENDER_DEVICE_FILE", "/dev/null", keepTheUsersOwn);
  }
  if (!choice.hasGraphicsCard || choice.hasNvidiaDriver) {
    ::setenv("WEBKIT_DISABLE_DMABUF_RENDERER", "1", keepTheUsersOwn);
  }
}

}  // namespace orvel
