#import "platform/macos/appkit/cocoa_panels.h"

#import <AppKit/AppKit.h>

#include <algorithm>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

NSAlert *makeAlert(const Alert &alert) {
  NSAlert *made = [[NSAlert alloc] init];
  made.messageText = toCocoa(alert.messageText);
  made.informativeText = toCocoa(alert.informativeText);
  for (const std::string &title : alert.buttons) [made addButtonWithTitle:toCocoa(title)];
  // AppKit does so by itself for the word "Cancel" only.
  if (alert.buttons.size() > 1) made.buttons.lastObject.keyEquivalent = @"\033";
  // A page that opens one alert after another must not hold the user.
  made.window.preventsApplicationTerminationWhenModal = NO;
  return made;
}

NSTextField *addField(NSAlert *alert, const AlertTextField &field) {
  // Made like this it scrolls instead of wrapping.
  NSTextField *made = [NSTextField textFieldWithString:toCocoa(field.text)];
  made.frame = NSMakeRect(0, 0, field.width, field.height);
  made.usesSingleLineMode = YES;
  // VoiceOver does not use the texts of an alert as the label of its accessory view.
  made.accessibilityLabel = alert.messageText;
  alert.accessoryView = made;
  [alert layout];
  alert.window.initialFirstResponder = made;
  return made;
}

std::optional<int> buttonOf(NSModalResponse response, std::size_t buttons) {
  const NSInteger place = response - NSAlertFirstButtonReturn;
  const auto count = static_cast<NSInteger>(std::max<std::size_t>(buttons, 1));
  if (place < 0 || place >= count) return std::nullopt;
  return static_cast<int>(place);
}

}  // namespace

void CocoaPanels::runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) {
  NSAlert *shown = makeAlert(alert);
  NSTextField *field = alert.textField ? addField(shown, *alert.textField) : nil;
  const NSModalResponse response = [shown runModal];
  if (bridge_.terminationProceeds) return;
  AlertAnswer answer;
  answer.button = buttonOf(response, alert.buttons.size());
  answer.text = fromCocoa(field.stringValue);
  completion(answer);
}

}  // namespace orvel
