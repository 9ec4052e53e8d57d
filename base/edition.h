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
  /// The name in the message that a release's signature covers.
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
  /// Whether an installation removes the working folders of other versions. Not on macOS, which
  /// itself removes old files from the folder for temporary files.
  bool removesOtherWorkingFolders;
  /// Starts a bundle in the background after this process has ended. Returns at once.
  ShellCommand relaunch;
};

inline constexpr Edition macosEdition{
    .name = "mac",
    .manifestPath = "download/mac.json",
    .unpack = {.before = "/usr/bin/ditto -x -k ", .after = ""},
    .clearQuarantine = {.before = "/usr/bin/xattr -dr com.apple.quarantine ", .after = ""},
    .translocationFolder = "/AppTranslocation/",
    .removesOtherWorkingFolders = false,
    .relaunch = {.before = "(sleep 1; /usr/bin/open -n ", .after = ") >/dev/null 2>&1 &"},
};

// PPID is the application, which started the shell. The loop tests /proc/PID/exe
// because that link does not resolve for a zombie. Without "unsetopt bgnice", zsh
// lowers the priority of background jobs.
inline constexpr Edition linuxEdition{
    .name = "linux",
    .manifestPath = "download/linux.json",
    .unpack = {},
    .clearQuarantine = {},
    .translocationFolder = "",
    .removesOtherWorkingFolders = true,
    .relaunch = {.before = "unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; "
                           "exec setsid ",
                 .after = "/Contents/Linux/orvel-os) </dev/null >/dev/null 2>&1 &"},
};

}  // namespace orvel
