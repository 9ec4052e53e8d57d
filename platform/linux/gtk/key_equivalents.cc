#include "platform/linux/gtk/key_equivalents.h"

namespace orvel {

namespace {

bool isUpperCase(const std::string &letter) {
  return letter.size() == 1 && letter[0] >= 'A' && letter[0] <= 'Z';
}

}  // namespace

std::vector<std::string> accelerators(const MenuItem &item) {
  if (item.keyEquivalent.empty()) return {};
  std::string key = item.keyEquivalent;
  // As in Cocoa, an upper-case letter includes Shift.
  if (isUpperCase(key)) key = std::string("<Shift>") + static_cast<char>(key[0] - 'A' + 'a');

  std::vector<std::string> keys;
  // F11 is the usual key on Linux, and works on desktops that reserve Super.
  if (item.action == MenuAction::toggleFullScreen) keys.emplace_back("F11");
  if (item.withControl) {
    keys.push_back("<Control><Super>" + key);
  } else {
    keys.push_back("<Control>" + key);
    keys.push_back("<Super>" + key);
  }
  return keys;
}

}  // namespace orvel
