#include <algorithm>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "platform/fake/fake_platform.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/child_programs.h"

namespace orvel {

namespace {

class FakeContractPlatform final : public ContractPlatform {
 public:
  FakeContractPlatform() {
    using std::chrono::milliseconds;
    fake_.processes.setScripts(child_programs::exitsWithStatusThree,
                               {{.exitsAfter = milliseconds(1), .status = 3}});
    fake_.processes.setScripts(child_programs::killsItselfWithSigkill,
                               {{.exitsAfter = milliseconds(1), .status = SIGKILL}});
    // Ends only by a signal. Without this script, the fake ends the command at once.
    fake_.processes.setScripts(child_programs::runsUntilTerminated, {{.exitsAfter = std::nullopt}});
    fake_.processes.setScripts(child_programs::missingProgram,
                               {{.launchError = child_programs::missingProgramError()}});
    fake_.application.onRun = [this] {
      // The limit, in virtual time, ends a test whose application does not terminate.
      fake_.scheduler.runUntil([this] { return fake_.application.terminated; },
                               std::chrono::seconds(20));
    };
  }

  Platform interfaces() override { return fake_.interfaces(); }
  bool runUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit) override {
    return fake_.scheduler.runUntil(condition, limit);
  }
  bool onMainThread() const override { return fake_.scheduler.onMainThread(); }
  ShownAlert shownAlert() override {
    const Alert &alert = lastAlert();
    ShownAlert shown{alert.messageText, alert.informativeText, alert.buttons, ""};
    // The fake's single standard button (see Alert::buttons).
    if (shown.buttons.empty()) shown.buttons.emplace_back("OK");
    shown.defaultButton = shown.buttons.front();
    return shown;
  }
  void typeInAlert(const std::string &text) override {
    if (!lastAlert().textField) throw std::logic_error("the alert has no text field");
    typedText_ = text;
  }
  void pressButton(const std::string &caption) override {
    const auto buttons = shownAlert().buttons;
    const auto button = std::ranges::find(buttons, caption);
    if (button == buttons.end()) throw std::logic_error("the alert has no button " + caption);
    answer(static_cast<int>(button - buttons.begin()));
  }
  void pressInAlert(AlertKey key) override {
    answer(key == AlertKey::enter ? std::optional(0) : std::nullopt);
  }
  void closeAlert() override { answer(std::nullopt); }
  std::vector<std::string> opened() override {
    // How the record's entries for the two functions of Workspace begin.
    constexpr std::string_view openUrlPrefix = "open ";
    constexpr std::string_view openFilePrefix = "open file ";
    std::vector<std::string> all;
    for (std::string entry : fake_.record.callsStartingWith(openUrlPrefix)) {
      entry.erase(0, (entry.starts_with(openFilePrefix) ? openFilePrefix : openUrlPrefix).size());
      // The fake records the call, but no application can receive a missing file.
      const bool isMissingFile = entry.starts_with('/') && !std::filesystem::exists(entry);
      if (!isMissingFile) all.push_back(entry);
    }
    return all;
  }
  void scriptResponse(const std::string &url, int status,
                      const std::optional<std::string> &body) override {
    fake_.http.setResponses(url, {{.statusCode = status, .body = body}});
  }
  void requestTermination() override { fake_.application.requestTermination(); }

 private:
  /// Returns the last alert. Throws when there was none, because the index wraps.
  const Alert &lastAlert() const { return fake_.panels.shown.at(fake_.panels.shown.size() - 1); }
  void answer(std::optional<int> button) {
    const auto &field = lastAlert().textField;
    fake_.panels.answer({button, typedText_.value_or(field ? field->text : "")});
    typedText_.reset();
  }

  FakePlatform fake_;
  std::optional<std::string> typedText_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeFakeContractPlatform() {
  return std::make_unique<FakeContractPlatform>();
}

}  // namespace orvel
