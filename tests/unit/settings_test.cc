#include "app/settings.h"

#include "app/entry.h"
#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class AppSettings : public testing::Test {
 protected:
  void SetUp() override { unsetenv("ORVEL_OS_ROOT"); }
  void TearDown() override { unsetenv("ORVEL_OS_ROOT"); }

  Settings read() { return readSettings(fake.locations, fake.bundle); }

  FakePlatform fake;
};

TEST_F(AppSettings, DefaultsComeFromHomeFolderAndBundle) {
  fake.bundle.texts["CFBundleShortVersionString"] = "2.10";
  const Settings settings = read();
  EXPECT_EQ(settings.HOME, "/Users/someone");
  EXPECT_EQ(settings.ROOT, "/Users/someone/orvel-os");
  EXPECT_EQ(settings.LOCAL_PORT, 4767);
  EXPECT_EQ(settings.LOCAL_URL, "http://127.0.0.1:4767/");
  EXPECT_EQ(settings.VERSIE, "2.10");
  fake.bundle.texts.erase("CFBundleShortVersionString");
  EXPECT_EQ(read().VERSIE, "0") << "without a version";
}

TEST_F(AppSettings, RootFromEnvironmentIsUnchanged) {
  for (const char *root : {"/tmp/x", "/tmp/x/", "relative/root", "~/os", " ", ""}) {
    setenv("ORVEL_OS_ROOT", root, 1);
    EXPECT_EQ(read().ROOT, root);
  }
}

TEST_F(AppSettings, AppKeyIsUnchangedAndMissingKeyIsEmpty) {
  fake.bundle.texts["ORVELOSKey"] = "  an app-key ";
  EXPECT_EQ(AppDelegate(read(), fake.interfaces()).appSleutel, "  an app-key ");
  fake.bundle.texts.erase("ORVELOSKey");
  EXPECT_EQ(AppDelegate(read(), fake.interfaces()).appSleutel, "");
}

TEST_F(AppSettings, NewDelegateHasNoWindowOrServer) {
  const AppDelegate delegate(read(), fake.interfaces());
  EXPECT_EQ(delegate.window, nullptr);
  EXPECT_EQ(delegate.web, nullptr);
  EXPECT_EQ(delegate.server, nullptr);
  EXPECT_FALSE(delegate.quitting);
}

TEST_F(AppSettings, DelegateIsSetBeforeEventLoop) {
  runApplication(fake.interfaces());
  auto calls = fake.record.take();
  // run() of the fake launches the application, which first installs the menu bar.
  calls.resize(4);
  EXPECT_THAT(calls, ElementsAre("application delegate", "application regular", "application run",
                                 "menu bar"));
}

}  // namespace
}  // namespace orvel
