#include "platform/linux/renderer_choice.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace orvel {
namespace {

using std::filesystem::path;

constexpr const char *gtkRenderer = "GSK_RENDERER";
constexpr const char *gdkDebug = "GDK_DEBUG";
constexpr const char *gdkDisable = "GDK_DISABLE";
constexpr const char *sharedBuffersOff = "WEBKIT_DISABLE_DMABUF_RENDERER";
constexpr const char *renderDevice = "WEBKIT_WEB_RENDER_DEVICE_FILE";

class Drawings : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvel-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    for (const char *name : {gtkRenderer, gdkDebug, gdkDisable, sharedBuffersOff, renderDevice}) {
      ::unsetenv(name);
    }
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  path makeFile(const char *name) {
    std::ofstream(folder / name) << "x";
    return folder / name;
  }
  static std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "(unset)";
  }

  path folder;
};

TEST_F(Drawings, aRenderNodeIsAGraphicsCard) {
  EXPECT_FALSE(chooseDrawing(folder, folder / "none").withGraphicsCard);
  makeFile("card0");
  EXPECT_FALSE(chooseDrawing(folder, folder / "none").withGraphicsCard);
  makeFile("renderD128");
  EXPECT_TRUE(chooseDrawing(folder, folder / "none").withGraphicsCard);
}

TEST_F(Drawings, aMachineWithoutTheFolderHasNoCard) {
  EXPECT_EQ(chooseDrawing(folder / "none", folder / "none"), Drawing());
}

TEST_F(Drawings, nvidiasDriverTellsItself) {
  EXPECT_TRUE(chooseDrawing(folder, makeFile("version")).withNvidiaDriver);
}

TEST_F(Drawings, theProcessorDrawsWithCairo) {
  prepareDrawing({.withGraphicsCard = false}, 8);
  EXPECT_EQ(variable(gtkRenderer), "cairo");
}

TEST_F(Drawings, withoutACardWebKitLooksForNoDevice) {
  prepareDrawing({.withGraphicsCard = false}, 8);
  EXPECT_EQ(variable(sharedBuffersOff), "1");
  EXPECT_EQ(variable(renderDevice), "/dev/null");
}

TEST_F(Drawings, withoutACardGtkDoesNotLookForGl) {
  prepareDrawing({.withGraphicsCard = false}, 15);
  EXPECT_EQ(variable(gdkDebug), "gl-disable");
  EXPECT_EQ(variable(gdkDisable), "(unset)");
}

TEST_F(Drawings, aLaterGtkHasASwitchOfItsOwnForGl) {
  prepareDrawing({.withGraphicsCard = false}, 16);
  EXPECT_EQ(variable(gdkDebug), "(unset)");
  EXPECT_EQ(variable(gdkDisable), "gl");
}

TEST_F(Drawings, aCardDrawsAsGtkWouldHaveIt) {
  prepareDrawing({.withGraphicsCard = true}, 8);
  EXPECT_EQ(variable(gtkRenderer), "(unset)");
  EXPECT_EQ(variable(gdkDebug), "(unset)");
  EXPECT_EQ(variable(sharedBuffersOff), "(unset)");
  EXPECT_EQ(variable(renderDevice), "(unset)");
}

TEST_F(Drawings, nvidiasDriverSharesNoBuffers) {
  prepareDrawing({.withGraphicsCard = true, .withNvidiaDriver = true}, 8);
  EXPECT_EQ(variable(gtkRenderer), "(unset)");
  EXPECT_EQ(variable(sharedBuffersOff), "1");
  EXPECT_EQ(variable(renderDevice), "(unset)");
}

TEST_F(Drawings, whatTheUserHasSetStays) {
  ::setenv(gtkRenderer, "ngl", 1);
  ::setenv(gdkDebug, "events", 1);
  ::setenv(sharedBuffersOff, "0", 1);
  ::setenv(renderDevice, "/dev/dri/renderD129", 1);
  prepareDrawing({.withGraphicsCard = false, .withNvidiaDriver = true}, 8);
  EXPECT_EQ(variable(gtkRenderer), "ngl");
  EXPECT_EQ(variable(gdkDebug), "events");
  EXPECT_EQ(variable(sharedBuffersOff), "0");
  EXPECT_EQ(variable(renderDevice), "/dev/dri/renderD129");
}

}  // namespace
}  // namespace orvel
