#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace orvel {

enum class AlertKey { enter, escape };

/// A platform under contract, with the controls that the tests need. Main thread.
class ContractPlatform {
 public:
  virtual ~ContractPlatform() = default;

  virtual Platform interfaces() = 0;
  /// Runs the main loop until the condition holds. Returns false after the limit (virtual
  /// time on the fake platform).
  virtual bool runUntil(const std::function<bool()> &condition,
                        std::chrono::milliseconds limit = std::chrono::seconds(20)) = 0;
  /// Returns true on this platform's main thread. Any thread.
  virtual bool onMainThread() const = 0;

  /// Runs the application until it ends, then the checks. Must be the last statement of a
  /// test: on macOS the application ends its process, so both run in a child process that
  /// executes the test from the start.
  virtual void runApplication(const std::function<void()> &checks) {
    interfaces().application.run();
    checks();
  }

  /// Types the text into the text field of the open alert, if it has one, and presses the
  /// button, or closes the alert when there is no button.
  virtual void answerAlert(const AlertAnswer &answer) = 0;
  virtual void pressInAlert(AlertKey key) = 0;
  /// Returns what the default applications have received, in order: files as paths,
  /// everything else as URLs. Applications exist for http, mailto and text files.
  virtual std::vector<std::string> opened() = 0;
  /// Scripts the response to the next request of a URL, on a platform without a real
  /// server; has no effect on the others. An absent body stands for a body that fails.
  virtual void answerNext(const std::string & /*url*/, int /*status*/,
                          const std::optional<std::string> & /*body*/) {}
  /// Asks the running application to quit, as the session does.
  virtual void requestTermination() = 0;
};

/// A platform of this build, with its name.
struct PlatformUnderTest {
  std::string name;
  std::function<std::unique_ptr<ContractPlatform>()> make;
};

std::unique_ptr<ContractPlatform> makeFakeContractPlatform();
#if defined(__linux__)
std::unique_ptr<ContractPlatform> makeLinuxContractPlatform();
#elif defined(__APPLE__)
std::unique_ptr<ContractPlatform> makeMacosContractPlatform();
#endif

/// Returns every platform of this build.
std::vector<PlatformUnderTest> platformsUnderTest();
/// Returns the platforms that open real connections.
std::vector<PlatformUnderTest> realPlatformsUnderTest();

/// The base of the contract suites. Each test has a new platform.
class ContractTest : public testing::TestWithParam<PlatformUnderTest> {
 protected:
  MainQueue &queue() const { return platform->interfaces().mainQueue; }
  bool runUntil(const std::function<bool()> &condition) { return platform->runUntil(condition); }

  const std::unique_ptr<ContractPlatform> platform = GetParam().make();
};

inline std::string platformName(const testing::TestParamInfo<PlatformUnderTest> &platform) {
  return platform.param.name;
}

}  // namespace orvel

#define INSTANTIATE_ON_EVERY_PLATFORM(suite)                                              \
  INSTANTIATE_TEST_SUITE_P(EveryPlatform, suite, testing::ValuesIn(platformsUnderTest()), \
                           platformName)
