#include "platform/linux/renderer_choice.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

using Environment = std::map<std::string, std::string>;

constexpr const char *variables[] = {"GSK_RENDERER", "GDK_DEBUG", "GDK_DISABLE",
                                     "WEBKIT_DISABLE_DMABUF_RENDERER",
                                     "WEBKIT_WEB_RENDER_DEVICE_FILE"};

/// Sets exactly the variables of `before`, selects the renderers, and returns the variables that
/// are set afterwards.
Environment environmentAfter(const GraphicsHardware &hardware, unsigned gtkMinor,
                             const Environment &before = {}) {
  for (const char *name : variables) ::unsetenv(name);
  for (const auto &[name, value] : before) ::setenv(name.c_str(), value.c_str(), 1);
  selectRenderers(hardware, gtkMinor);
  Environment after;
  for (const char *name : variables) {
    if (const char *value = std::getenv(name)) after.emplace(name, value);
  }
  return after;
}

TEST(RendererChoice, RenderNodeMeansUsableGpuAndVersionFileMeansNvidiaDriver) {
  const TemporaryFolder devices;
  // The arguments of detectGraphicsHardware() stand for /dev/dri and /proc/driver/nvidia/version.
  const auto missing = devices.path() / "missing";
  EXPECT_EQ(detectGraphicsHardware(missing, missing), GraphicsHardware());
  EXPECT_FALSE(detectGraphicsHardware(devices.path(), missing).hasUsableGpu);
  // A device that only the display server may use.
  devices.file("card0", "");
  EXPECT_FALSE(detectGraphicsHardware(devices.path(), missing).hasUsableGpu);
  devices.file("renderD128", "");
  EXPECT_TRUE(detectGraphicsHardware(devices.path(), missing).hasUsableGpu);
  const std::string version = devices.file("version", "");
  EXPECT_TRUE(detectGraphicsHardware(missing, version).hasNvidiaDriver);
}

TEST(RendererChoice, WithoutUsableGpuNothingUsesGl) {
  // /dev/null stands for no device; without the variable WebKit would use GL to find one.
  Environment expected{{"GSK_RENDERER", "cairo"},
                       {"WEBKIT_DISABLE_DMABUF_RENDERER", "1"},
                       {"WEBKIT_WEB_RENDER_DEVICE_FILE", "/dev/null"},
                       {"GDK_DEBUG", "gl-disable"}};
  EXPECT_EQ(environmentAfter({.hasUsableGpu = false}, 15), expected);
  // GTK 4.16 introduced GDK_DISABLE.
  expected.erase("GDK_DEBUG");
  expected.emplace("GDK_DISABLE", "gl");
  EXPECT_EQ(environmentAfter({.hasUsableGpu = false}, 16), expected);
}

TEST(RendererChoice, WithUsableGpuOnlyNvidiaDriverDisablesSharedBuffers) {
  EXPECT_EQ(environmentAfter({.hasUsableGpu = true}, 16), Environment());
  EXPECT_EQ(environmentAfter({.hasUsableGpu = true, .hasNvidiaDriver = true}, 16),
            (Environment{{"WEBKIT_DISABLE_DMABUF_RENDERER", "1"}}));
}

TEST(RendererChoice, VariablesSetByUserAreKept) {
  const Environment set{{"GSK_RENDERER", "ngl"},
                        {"GDK_DEBUG", "events"},
                        {"GDK_DISABLE", "vulkan"},
                        {"WEBKIT_DISABLE_DMABUF_RENDERER", "0"},
                        {"WEBKIT_WEB_RENDER_DEVICE_FILE", "/dev/dri/renderD129"}};
  for (const unsigned gtkMinor : {15U, 16U}) {
    EXPECT_EQ(environmentAfter({.hasUsableGpu = false, .hasNvidiaDriver = true}, gtkMinor, set),
              set);
  }
}

}  // namespace
}  // namespace orvel
