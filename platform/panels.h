#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orvel {

/// A single-line text field in an alert. Sizes are in points.
struct AlertTextField {
  double width = 0;
  double height = 0;
  std::string text;

  bool operator==(const AlertTextField &) const = default;
};

/// An alert for the user. A plain value.
struct Alert {
  std::string messageText;
  std::string informativeText{};
  /// The titles. Return presses the first button, the default. Escape closes the
  /// alert or, on macOS, presses the last of several buttons. Empty for the platform's
  /// single standard button.
  std::vector<std::string> buttons{};
  std::optional<AlertTextField> textField{};

  bool operator==(const Alert &) const = default;
};

/// The user's answer to an alert.
struct AlertAnswer {
  /// The index of the pressed button in Alert::buttons, or 0 for the platform's standard
  /// button. Absent when the alert was closed without a button.
  std::optional<int> button;
  /// The final contents of the text field.
  std::string text;
};

/// Native application-modal alerts. Main thread only.
class Panels {
 public:
  virtual ~Panels() = default;

  /// Shows an alert. Calls the completion at most once, on the main thread, when the
  /// user has answered: inside this call where the platform runs a modal loop for the
  /// alert, else after it. Never calls it after TerminateReply::now or
  /// replyToShouldTerminate. Queued work and timers continue while the alert is open.
  virtual void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) = 0;
};

}  // namespace orvel
