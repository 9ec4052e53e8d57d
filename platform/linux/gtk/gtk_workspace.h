#pragma once

#include <glib.h>

#include <deque>
#include <map>
#include <string>
#include <utility>

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
  ~GtkWorkspace() override;
  GtkWorkspace(const GtkWorkspace &) = delete;
  GtkWorkspace &operator=(const GtkWorkspace &) = delete;

  void open(const Url &url) override;
  void openFile(const std::string &path) override;

 private:
  void launchDefaultApplication(std::string uri);
  gboolean launchNext();

  const std::map<std::string, std::string> environment_;
  std::deque<std::string> waiting_;
  /// The source that opens them; 0 when there is none.
  guint launching_ = 0;
};

}  // namespace orvel
