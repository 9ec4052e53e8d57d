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

/// Applies a choice in an environment, and returns which of the variables then have a value.
Environment environmentAfter(const RendererChoice &choice, unsigned gtkMinor,
                             const Environment &before = {}) {
  for (const char *name : variables) ::unsetenv(name);
  for (const auto &[name, value] : before) ::setenv(name.c_str(), value.c_str(), 1);
  applyRendererChoice(choice, gtkMinor);
  Environment after;
  for (const char *name : variables) {
    if (const char *value = std::getenv(name)) after.emplace(name, value);
  }
  return after;
}

TEST(ChooseRenderer, RenderNodeIsGraphicsCardAndVersionFileIsNvidiaDriver) {
  const TemporaryFolder devices;
  const auto missing = devices.path() / "missing";
  EXPECT_EQ(chooseRenderer(missing, missing), RendererChoice());
  EXPECT_FALSE(chooseRenderer(devices.path(), missing).hasGraphicsCard);
  devices.file("card0", "");
  EXPECT_FALSE(chooseRenderer(devices.path(), missing).hasGraphicsCard);
  devices.file("renderD128", "");
  EXPECT_TRUE(chooseRenderer(devices.path(), missing).hasGraphicsCard);
  EXPECT_TRUE(chooseRenderer(missing, devices.file("version", "")).hasNvidiaDriver);
}

TEST(ApplyRendererChoice, WithoutGraphicsCardNothingUsesGl) {
  Environment expected{{"GSK_RENDERER", "cairo"},
                       {"WEBKIT_DISABLE_DMABUF_RENDERER", "1"},
                       {"WEBKIT_WEB_RENDER_DEVICE_FILE", "/dev/null"},
                       {"GDK_DEBUG", "gl-disable"}};
  EXPECT_EQ(environmentAfter({.hasGraphicsCard = false}, 15), expected);
  expected.erase("GDK_DEBUG");
  expected.emplace("GDK_DISABLE", "gl");
  EXPECT_EQ(environmentAfter({.hasGraphicsCard = false}, 16), expected);
}

TEST(ApplyRendererChoice, WithGraphicsCardOnlyNvidiaDriverDisablesSharedBuffers) {
  EXPECT_EQ(environmentAfter({.hasGraphicsCard = true}, 16), Environment());
  EXPECT_EQ(environmentAfter({.hasGraphicsCard = true, .hasNvidiaDriver = true}, 16),
            (Environment{{"WEBKIT_DISABLE_DMABUF_RENDERER", "1"}}));
}

TEST(ApplyRendererChoice, VariablesSetByUserAreKept) {
  const Environment set{{"GSK_RENDERER", "ngl"},
                        {"GDK_DEBUG", "events"},
                        {"GDK_DISABLE", "vulkan"},
                        {"WEBKIT_DISABLE_DMABUF_RENDERER", "0"},
                        {"WEBKIT_WEB_RENDER_DEVICE_FILE", "/dev/dri/renderD129"}};
  for (const unsigned gtkMinor : {15U, 16U}) {
    EXPECT_EQ(environmentAfter({.hasGraphicsCard = false, .hasNvidiaDriver = true}, gtkMinor, set),
              set);
  }
}

}  // namespace
}  // namespace orvel
