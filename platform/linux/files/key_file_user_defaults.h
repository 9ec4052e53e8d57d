#pragma once

#include <map>
#include <mutex>
#include <string>

#include "platform/user_defaults.h"

namespace orvel {

/// User defaults in the group "Defaults" of a key file (the Desktop Entry
/// format). Every call reads the file afresh and every change is merged into it
/// under a lock, so that several processes may share it. A file that is no key
/// file counts as empty; the first change moves it aside, to the same name with
/// ".damaged" added.
class KeyFileUserDefaults final : public UserDefaults {
 public:
  /// The folder is made with the first change.
  explicit KeyFileUserDefaults(std::string path);

  std::optional<std::string> text(std::string_view key) const override;
  void setText(std::string_view key, std::string_view value) override;

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  const std::string path_;
  mutable std::mutex mutex_;
  /// What could not be written; joins the next change.
  Texts unsaved_;
};

}  // namespace orvel
