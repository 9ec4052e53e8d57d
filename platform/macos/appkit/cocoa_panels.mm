#import "platform/macos/appkit/cocoa_panels.h"

#import <AppKit/AppKit.h>

#include <algorithm>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

/// Returns an alert with the texts and buttons, without its text field.
NSAlert *makeAlert(const Alert &alert) {
  NSAlert *cocoaAlert = [[NSAlert alloc] init];
  cocoaAlert.messageText = toCocoa(alert.messageText);
  cocoaAlert.informativeText = toCocoa(alert.informativeText);
  for (const std::string &title : alert.buttons) [cocoaAlert addButtonWithTitle:toCocoa(title)];
  // AppKit gives Escape only to a button titled "Cancel" (NSAlert.h).
  if (alert.buttons.size() > 1) cocoaAlert.buttons.lastObject.keyEquivalent = @"\033";
  // Otherwise AppKit refuses to quit while an alert is open, and a page that opens one alert
  // after another would prevent quitting.
  cocoaAlert.window.preventsApplicationTerminationWhenModal = NO;
  return cocoaAlert;
}

/// Adds the text field to an alert, with the keyboard focus.
NSTextField *addField(NSAlert *alert, const AlertTextField &field) {
  // textFieldWithString: makes a field that scrolls instead of wrapping.
  NSTextField *cocoaField = [NSTextField textFieldWithString:toCocoa(field.text)];
  cocoaField.frame = NSMakeRect(0, 0, field.width, field.height);
  cocoaField.usesSingleLineMode = YES;
  // VoiceOver does not use the texts of an alert as the label of its accessory view.
  cocoaField.accessibilityLabel = alert.messageText;
  alert.accessoryView = cocoaField;
  // Puts the field into the window, where it can become the first responder.
  [alert layout];
  alert.window.initialFirstResponder = cocoaField;
  return cocoaField;
}

/// Returns the index of the button that was pressed, or nullopt for any other response.
/// AppKit adds a button to an alert that has none.
std::optional<int> buttonOf(NSModalResponse response, std::size_t buttonCount) {
  const NSInteger index = response - NSAlertFirstButtonReturn;
  const auto count = static_cast<NSInteger>(std::max<std::size_t>(buttonCount, 1));
  if (index < 0 || index >= count) return std::nullopt;
  return static_cast<int>(index);
}

}  // namespace

void CocoaPanels::runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) {
  NSAlert *shown = makeAlert(alert);
  NSTextField *field = alert.textField ? addField(shown, *alert.textField) : nil;
  const NSModalResponse response = [shown runModal];
  // Quitting closes the alerts without an answer.
  if (bridge_.terminationProceeds) return;
  AlertAnswer answer;
  answer.button = buttonOf(response, alert.buttons.size());
  answer.text = fromCocoa(field.stringValue);
  completion(answer);
}

}  // namespace orvel
