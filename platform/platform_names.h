#pragma once

#include <string_view>

namespace orvel {

/// A command line for the shell: paths in single quotes, with a blank between
/// two, stand between these parts of it.
struct ShellCommand {
  std::string_view before;
  std::string_view after;

  bool isEmpty() const { return before.empty() && after.empty(); }
};

/// What is called differently on each system.
struct PlatformNames {
  /// Where a server tells of the newest release, below its address.
  std::string_view manifest;
  /// Unpacks the archive, the first path, into the folder, the second. Empty
  /// where `Platform::unpacker` does it.
  ShellCommand unpack;
  /// Takes the mark of a download off a bundle; empty where there is none.
  ShellCommand clearQuarantine;
  /// Starts a bundle in the background once this process has gone, and returns
  /// at once.
  ShellCommand relaunch;
};

inline constexpr PlatformNames macosNames{
    .manifest = "download/mac.json",
    .unpack = {.before = "/usr/bin/ditto -x -k ", .after = ""},
    .clearQuarantine = {.before = "/usr/bin/xattr -dr com.apple.quarantine ", .after = ""},
    .relaunch = {.before = "(sleep 1; /usr/bin/open -n ", .after = ") >/dev/null 2>&1 &"},
};

// The process that asks for a relaunch is the shell's parent; one that has ended
// and was not yet waited for has no executable any more. zsh would give what runs
// in the background less of the processor.
inline constexpr PlatformNames linuxNames{
    .manifest = "download/linux.json",
    .unpack = {},
    .clearQuarantine = {},
    .relaunch = {.before = "unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; "
                           "exec setsid ",
                 .after = "/Contents/Linux/orvel-os) </dev/null >/dev/null 2>&1 &"},
};

}  // namespace orvel
