#pragma once

#include <glib.h>

#include <deque>
#include <map>
#include <string>
#include <utility>

#include "platform/workspace.h"

namespace orvel {

/// Opens URLs and files with the user's default applications (GIO). The applications get the
/// environment with which this application was started, and a startup notification token,
/// with which the desktop gives their window the focus. Main thread only.
class GtkWorkspace final : public Workspace {
 public:
  /// `environment` has the variables for the applications, by name.
  explicit GtkWorkspace(std::map<std::string, std::string> environment)
      : environment_(std::move(environment)) {}
  ~GtkWorkspace() override;
  GtkWorkspace(const GtkWorkspace &) = delete;
  GtkWorkspace &operator=(const GtkWorkspace &) = delete;

  void open(const Url &url) override;
  void openFile(const std::string &path) override;

 private:
  /// Queues a launch. Each launch blocks the main thread for a fork, and a page can request
  /// thousands at once, so they start one by one with an interval. No launch waits for the
  /// one before it to finish.
  void queueLaunch(std::string uri);
  gboolean launchNext();

  const std::map<std::string, std::string> environment_;
  std::deque<std::string> queuedUris_;
  /// The source that launches the queued URIs, or zero when the queue is empty.
  guint launchTimer_ = 0;
};

}  // namespace orvel
