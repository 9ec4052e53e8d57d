#include <csignal>

#include "platform/fake/fake_platform.h"
#include "tests/contract/child_programs.h"
#include "tests/contract/contract_platform.h"

namespace orvel {

namespace {

class FakeContractPlatform final : public ContractPlatform {
 public:
  FakeContractPlatform() {
    using std::chrono::milliseconds;
    fake_.processes.script(child_programs::exitsWithThree,
                           {{.endsAfter = milliseconds(1), .status = 3}});
    fake_.processes.script(child_programs::killsItself,
                           {{.endsAfter = milliseconds(1), .status = SIGKILL}});
    // Left to the default, a command of the shell ends by itself.
    fake_.processes.script(child_programs::runsUntilAsked, {{.endsAfter = std::nullopt}});
    fake_.processes.script(child_programs::missingProgram,
                           {{.launchError = child_programs::missingProgramError()}});
    fake_.application.whileRunning = [this] {
      fake_.scheduler.runUntil([this] { return fake_.application.terminated; },
                               std::chrono::seconds(20));
    };
  }

  Platform ports() override { return fake_.ports(); }
  bool runUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit) override {
    return fake_.scheduler.runUntil(condition, limit);
  }
  bool onMainThread() const override { return fake_.scheduler.onMainThread(); }
  void answerAlert(const AlertAnswer &answer) override { fake_.panels.answer(answer); }
  void requestTermination() override { fake_.application.requestTermination(); }

 private:
  FakePlatform fake_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeFakeContractPlatform() {
  return std::make_unique<FakeContractPlatform>();
}

}  // namespace orvel
