#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace orvel {

enum class AlertKey { enter, escape };

/// A platform under contract, and what a test needs to drive it.
class ContractPlatform {
 public:
  virtual ~ContractPlatform() = default;

  virtual Platform ports() = 0;
  /// Runs the main loop until the condition holds. False when it does not
  /// within the limit (virtual time on the fake, real time elsewhere).
  virtual bool runUntil(const std::function<bool()> &condition,
                        std::chrono::milliseconds limit = std::chrono::seconds(20)) = 0;
  /// Whether the calling thread is this platform's main thread.
  virtual bool onMainThread() const = 0;

  /// Runs the application to its end and the checks after that. Where the
  /// application takes the process along, this happens in a process of its own,
  /// which begins the test anew; nothing is left to do after this call.
  virtual void runApplication(const std::function<void()> &checks) {
    ports().application.run();
    checks();
  }

  /// Plays the user: types the text into the field of the alert that is in
  /// front, if it has one, and takes the button, or closes the alert without.
  virtual void answerAlert(const AlertAnswer &answer) = 0;
  /// Presses a key in the alert that is in front and was just shown.
  virtual void pressInAlert(AlertKey key) = 0;
  /// What default applications were given so far, oldest first: files as their
  /// paths, all else as URLs. There is one for http, mailto and text files.
  virtual std::vector<std::string> opened() = 0;
  /// Scripts the response to the next request of a URL, on a platform without a real
  /// server; has no effect on the others. An absent body stands for a body that fails.
  virtual void answerNext(const std::string & /*url*/, int /*status*/,
                          const std::optional<std::string> & /*body*/) {}
  /// Plays the session: asks the running application to end.
  virtual void requestTermination() = 0;
};

/// A platform that this build can run, by name.
struct PlatformUnderContract {
  std::string name;
  std::function<std::unique_ptr<ContractPlatform>()> make;
};

std::unique_ptr<ContractPlatform> makeFakeContractPlatform();
#if defined(__linux__)
std::unique_ptr<ContractPlatform> makeLinuxContractPlatform();
#elif defined(__APPLE__)
std::unique_ptr<ContractPlatform> makeMacosContractPlatform();
#endif

/// Every platform that this build can run; for testing::ValuesIn.
std::vector<PlatformUnderContract> platformsUnderContract();
/// Those of them that reach real servers.
std::vector<PlatformUnderContract> desktopsUnderContract();

}  // namespace orvel
