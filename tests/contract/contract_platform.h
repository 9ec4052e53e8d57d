#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace orvel {

enum class AlertKey { enter, escape };

/// The texts of an alert, as a screen reader gets them.
struct ShownAlert {
  std::string message;
  std::string information;
  /// The captions in the order of Alert::buttons.
  std::vector<std::string> buttons;
  std::string defaultButton;

  bool operator==(const ShownAlert &) const = default;
};
/// Writes the texts, for failure messages.
std::ostream &operator<<(std::ostream &stream, const ShownAlert &alert);

/// A platform under test, with controls that act as the user and as the desktop session.
/// Main thread, except where noted.
class ContractPlatform {
 public:
  virtual ~ContractPlatform() = default;

  virtual Platform interfaces() = 0;
  /// Runs the main loop until the condition holds. Returns false when it does not hold
  /// within the limit (virtual time on the fake platform).
  virtual bool runUntil(const std::function<bool()> &condition,
                        std::chrono::milliseconds limit = std::chrono::minutes(1)) = 0;
  /// Returns true on this platform's main thread. Any thread.
  virtual bool onMainThread() const = 0;

  /// Runs the application until it ends, then the checks. Must be the last statement of a
  /// test: on macOS the application ends its process with exit(). There a child process
  /// therefore executes the test from the start, and an exit handler in it runs the checks.
  virtual void runApplication(const std::function<void()> &checks) {
    interfaces().application.run();
    checks();
  }

  // The next five functions act on the open alert. When none is open, those of desktop platforms
  // throw, and so do those of the fake that answer it.
  virtual ShownAlert shownAlert() = 0;
  /// Replaces the text of the text field.
  virtual void typeInAlert(const std::string &text) = 0;
  virtual void pressButton(const std::string &caption) = 0;
  virtual void pressInAlert(AlertKey key) = 0;
  /// Closes the alert without pressing a button.
  virtual void closeAlert() = 0;

  /// Returns what the default applications have received, in order: files as paths,
  /// everything else as URLs. Default applications are registered for http, mailto and
  /// text files.
  virtual std::vector<std::string> opened() = 0;
  /// Sets the response to all further requests for a URL on the fake platform. Has no effect on
  /// a platform that opens real connections. With a body of nullopt, the response fails after
  /// its head. The fake platform refuses a connection to a URL without a response.
  virtual void scriptResponse(const std::string & /*url*/, int /*status*/,
                              const std::optional<std::string> & /*body*/) {}
  /// Returns whether an alert is open. Desktop platforms only.
  virtual bool isAlertOpen() { return false; }
  /// Kills the process that runs the page of the only web view. Desktop platforms only.
  virtual void killPageProcess() {}
  /// Asks the running application to quit, as the desktop session does at its end.
  virtual void requestTermination() = 0;
};

/// The name of a platform of this build, and the function that creates the platform.
struct PlatformUnderTest {
  std::string name;
  std::function<std::unique_ptr<ContractPlatform>()> make;
};

std::unique_ptr<ContractPlatform> makeFakeContractPlatform();
#if defined(__linux__)
/// `shownAlert` and `pressButton` use AT-SPI. They work only with `isAccessible`, which starts an
/// accessibility bus.
std::unique_ptr<ContractPlatform> makeLinuxContractPlatform(bool isAccessible = false);
#elif defined(__APPLE__)
std::unique_ptr<ContractPlatform> makeMacosContractPlatform();
#endif

/// Returns every platform of this build.
std::vector<PlatformUnderTest> platformsUnderTest();
/// Returns every platform except the fake one, which opens no connections and shows no pages.
std::vector<PlatformUnderTest> desktopPlatformsUnderTest();

/// The base of the contract suites. Each test has a new platform.
class ContractTest : public testing::TestWithParam<PlatformUnderTest> {
 protected:
  MainQueue &queue() const { return platform->interfaces().mainQueue; }
  bool runUntil(const std::function<bool()> &condition) { return platform->runUntil(condition); }

  const std::unique_ptr<ContractPlatform> platform = GetParam().make();
};

/// Returns the platform's name, with which the names of its tests end.
inline std::string platformName(const testing::TestParamInfo<PlatformUnderTest> &platform) {
  return platform.param.name;
}

}  // namespace orvel

#define INSTANTIATE_ON_EVERY_PLATFORM(suite)                                              \
  INSTANTIATE_TEST_SUITE_P(EveryPlatform, suite, testing::ValuesIn(platformsUnderTest()), \
                           platformName)
#define INSTANTIATE_ON_DESKTOP_PLATFORMS(suite)                                                 \
  INSTANTIATE_TEST_SUITE_P(EveryDesktop, suite, testing::ValuesIn(desktopPlatformsUnderTest()), \
                           platformName)
