#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/workspace.h"

namespace orvel {

/// Default applications by GIO, which look up the user's own choice. They get
/// the environment in which the user started this application, and what the
/// desktop needs to give their window the focus.
class GtkWorkspace final : public Workspace {
 public:
  /// The variables of the session, by name.
  explicit GtkWorkspace(std::map<std::string, std::string> environment);

  void open(const Url &url) override;
  void openFile(const std::string &path) override;

 private:
  struct Launches;
  void launchDefaultApplication(std::string uri);

  const std::shared_ptr<Launches> launches_;
};

}  // namespace orvel
