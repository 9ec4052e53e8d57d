#pragma once

#include <string>

#include "base/url.h"

namespace orvel {

/// The user's default applications. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Opens a URL in the default application for its scheme and returns at once. Without
  /// effect when there is no such application or it cannot be started.
  virtual void open(const Url &url) = 0;
  /// Opens a file in the default application for its type, like `open`. Without effect
  /// when the file does not exist.
  virtual void openFile(const std::string &path) = 0;
};

}  // namespace orvel
