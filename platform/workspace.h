#pragma once

#include <string>

#include "base/url.h"

namespace orvel {

/// The user's default applications. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Has a URL opened by the default application for its scheme, and returns
  /// at once. Without effect when there is none or it cannot be started.
  virtual void open(const Url &url) = 0;
  /// The same for a file, by its type. Without effect when it does not exist.
  virtual void openFile(const std::string &path) = 0;
};

}  // namespace orvel
