#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orvel {

/// A single-line, editable field inside an alert; sizes in points.
struct AlertTextField {
  double width = 0;
  double height = 0;
  std::string text;

  bool operator==(const AlertTextField &) const = default;
};

/// A question or a message to the user. A plain value.
struct Alert {
  std::string messageText;
  std::string informativeText;
  /// The first is the default one, answered by Return. Escape takes the last of
  /// several, or closes the alert. None gives the platform's own single button.
  std::vector<std::string> buttons;
  std::optional<AlertTextField> textField;

  bool operator==(const Alert &) const = default;
};

/// How an alert ended.
struct AlertAnswer {
  /// The chosen button's place in Alert::buttons (0 for the platform's own
  /// button); nothing when the alert was closed in any other way.
  std::optional<int> button;
  /// What the text field held.
  std::string text;
};

/// Native alerts, modal for the whole application. Main thread only.
class Panels {
 public:
  virtual ~Panels() = default;

  /// Shows an alert. Calls the completion at most once, on the main thread, when the
  /// user has answered: inside this call where the platform runs a modal loop for the
  /// alert, else after it. Never calls it once the termination of the application
  /// proceeds. Queued work and timers continue while the alert is open.
  virtual void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) = 0;
};

}  // namespace orvel
