#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The application bundle and its information entries (Contents/Info.plist).
class Bundle {
 public:
  virtual ~Bundle() = default;

  /// Returns the bundle's folder, with symbolic links resolved. Any thread.
  virtual std::string path() const = 0;
  /// Returns whether Info.plist could be read when the application started. Any thread.
  virtual bool hasInfoDictionary() const = 0;
  /// Returns the value of a string entry. Returns nullopt when the entry is missing or
  /// not a string, or when Info.plist could not be read. Any thread.
  virtual std::optional<std::string> infoText(std::string_view key) const = 0;
  /// Returns the Team ID in the code signature of the running program. Returns nullopt
  /// without a signature, with an ad hoc one and on systems without code signatures. Any
  /// thread.
  virtual std::optional<std::string> teamIdentifier() const = 0;
  /// Returns whether another bundle has a valid code signature by the team. Any thread;
  /// blocks on the disk.
  virtual bool isSignedByTeam(const std::string &bundlePath, const std::string &team) const = 0;
};

}  // namespace orvel
