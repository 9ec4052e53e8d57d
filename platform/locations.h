#pragma once

#include <string>

namespace orvel {

/// The user's folders, as paths without a trailing "/", and what lies there.
class Locations {
 public:
  virtual ~Locations() = default;

  /// The current user's home folder. Any thread.
  virtual std::string home() const = 0;
  /// The user's Downloads folder, which need not exist. Any thread.
  virtual std::string downloads() const = 0;
  /// Whether a file that may be executed lies at the path. Any thread.
  virtual bool isExecutableFile(const std::string &path) const = 0;
};

}  // namespace orvel
