#pragma once

#include <map>
#include <string>

#include "platform/workspace.h"

namespace orvel {

/// Default applications by GIO, which look up the user's own choice. They get
/// the environment in which the user started this application, and what the
/// desktop needs to give their window the focus.
class GtkWorkspace final : public Workspace {
 public:
  /// The variables of the session, by name.
  explicit GtkWorkspace(std::map<std::string, std::string> environment)
      : environment_(std::move(environment)) {}

  void open(const Url &url) override;
  void openFile(const std::string &path) override;

 private:
  void launchDefaultApplication(const std::string &uri);

  const std::map<std::string, std::string> environment_;
};

}  // namespace orvel
