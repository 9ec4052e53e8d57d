#pragma once

#include <string_view>

namespace orvel {

/// A shell command. The paths are inserted between the two parts, in single quotes and
/// separated by spaces.
struct ShellCommand {
  std::string_view before;
  std::string_view after;

  bool isEmpty() const { return before.empty() && after.empty(); }
};

/// The names, shell commands and rules in which the editions for macOS and Linux differ.
struct Edition {
  /// The name of the edition in the message that a release's signature covers (`signedMessage`).
  std::string_view name;
  /// The path of the update manifest below the server's address.
  std::string_view manifestPath;
  /// Unpacks an archive (first path) into a folder (second path). Empty where
  /// `Platform::unpacker` is used instead.
  ShellCommand unpack;
  /// Removes the quarantine attribute of a downloaded bundle. Empty on systems without
  /// that attribute.
  ShellCommand clearQuarantine;
  /// The part of a bundle's path that shows that macOS runs the bundle from a read-only copy
  /// at a random path (App Translocation), because the user has not moved it since a browser
  /// downloaded it. Empty on systems without such copies.
  std::string_view translocationFolder;
  /// Whether an installation removes the temporary folders in which other versions were unpacked.
  /// Not on macOS, which itself removes old files from the folder for temporary files.
  bool removesOtherWorkingFolders;
  /// Starts a bundle in the background: on Linux after this process has ended, on macOS after
  /// one second. Returns at once.
  ShellCommand relaunch;
};

extern const Edition macosEdition;
extern const Edition linuxEdition;

}  // namespace orvel
