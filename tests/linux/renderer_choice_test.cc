#include "platform/linux/renderer_choice.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

constexpr const char *gtkRenderer = "GSK_RENDERER";
constexpr const char *gdkDebug = "GDK_DEBUG";
constexpr const char *gdkDisable = "GDK_DISABLE";
constexpr const char *sharedBuffersOff = "WEBKIT_DISABLE_DMABUF_RENDERER";
constexpr const char *renderDevice = "WEBKIT_WEB_RENDER_DEVICE_FILE";

class RendererChoices : public testing::Test {
 protected:
  void SetUp() override {
    for (const char *name : {gtkRenderer, gdkDebug, gdkDisable, sharedBuffersOff, renderDevice}) {
      ::unsetenv(name);
    }
  }

  static std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "(unset)";
  }

  const TemporaryFolder devices;
  const std::filesystem::path missing = devices.path() / "missing";
};

TEST_F(RendererChoices, RenderNodeIsGraphicsCard) {
  EXPECT_FALSE(chooseRenderer(devices.path(), missing).hasGraphicsCard);
  devices.file("card0", "");
  EXPECT_FALSE(chooseRenderer(devices.path(), missing).hasGraphicsCard);
  devices.file("renderD128", "");
  EXPECT_TRUE(chooseRenderer(devices.path(), missing).hasGraphicsCard);
}

TEST_F(RendererChoices, MissingDeviceFolderIsNoGraphicsCard) {
  EXPECT_EQ(chooseRenderer(missing, missing), RendererChoice());
}

TEST_F(RendererChoices, VersionFileIsNvidiaDriver) {
  EXPECT_TRUE(chooseRenderer(devices.path(), devices.file("version", "")).hasNvidiaDriver);
}

TEST_F(RendererChoices, WithoutGraphicsCardCairoDrawsWithoutDevice) {
  applyRendererChoice({.hasGraphicsCard = false}, 8);
  EXPECT_EQ(variable(gtkRenderer), "cairo");
  EXPECT_EQ(variable(sharedBuffersOff), "1");
  EXPECT_EQ(variable(renderDevice), "/dev/null");
}

TEST_F(RendererChoices, WithoutGraphicsCardGlIsDisabledByGdkDebugUpToGtk415) {
  applyRendererChoice({.hasGraphicsCard = false}, 15);
  EXPECT_EQ(variable(gdkDebug), "gl-disable");
  EXPECT_EQ(variable(gdkDisable), "(unset)");
}

TEST_F(RendererChoices, WithoutGraphicsCardGlIsDisabledByGdkDisableFromGtk416) {
  applyRendererChoice({.hasGraphicsCard = false}, 16);
  EXPECT_EQ(variable(gdkDebug), "(unset)");
  EXPECT_EQ(variable(gdkDisable), "gl");
}

TEST_F(RendererChoices, GraphicsCardLeavesDefaults) {
  applyRendererChoice({.hasGraphicsCard = true}, 8);
  for (const char *name : {gtkRenderer, gdkDebug, sharedBuffersOff, renderDevice}) {
    EXPECT_EQ(variable(name), "(unset)") << name;
  }
}

TEST_F(RendererChoices, NvidiaDriverDisablesSharedBuffers) {
  applyRendererChoice({.hasGraphicsCard = true, .hasNvidiaDriver = true}, 8);
  EXPECT_EQ(variable(gtkRenderer), "(unset)");
  EXPECT_EQ(variable(sharedBuffersOff), "1");
  EXPECT_EQ(variable(renderDevice), "(unset)");
}

TEST_F(RendererChoices, VariablesSetByUserAreKept) {
  const std::vector<std::pair<const char *, const char *>> settings{
      {gtkRenderer, "ngl"},
      {gdkDebug, "events"},
      {sharedBuffersOff, "0"},
      {renderDevice, "/dev/dri/renderD129"}};
  for (const auto &[name, value] : settings) ::setenv(name, value, 1);
  applyRendererChoice({.hasGraphicsCard = false, .hasNvidiaDriver = true}, 8);
  for (const auto &[name, value] : settings) EXPECT_EQ(variable(name), value);
}

}  // namespace
}  // namespace orvel
