#pragma once

#include <string_view>

namespace orvel {

/// What is called differently on each system. The command lines are for the
/// shell; each {word} in them stands for a path.
struct PlatformNames {
  /// Prints the command line of the process whose number comes after it.
  std::string_view processCommand;
  /// Where a server tells of the newest release, below its address.
  std::string_view manifest;
  /// Unpacks {archive} into {folder}, so that "Orvel OS.app" is there whole or not
  /// at all.
  std::string_view unpack;
  /// Takes the mark of a download off {bundle}; empty where there is none.
  std::string_view clearQuarantine;
  /// Starts {bundle} in the background once this process has gone, and returns
  /// at once.
  std::string_view relaunch;
};

inline constexpr PlatformNames macosNames{
    .processCommand = "ps -o command= -p ",
    .manifest = "download/mac.json",
    .unpack = "/usr/bin/ditto -x -k '{archive}' '{folder}'",
    .clearQuarantine = "/usr/bin/xattr -dr com.apple.quarantine '{bundle}'",
    .relaunch = "(sleep 1; /usr/bin/open -n '{bundle}') >/dev/null 2>&1 &",
};

// Without a language in its environment ps writes a "?" for each byte that is not
// ASCII. unzip unpacks what it can, takes ".." out of a name without a word, and asks
// at the terminal what to do about a full disk. The bundle comes to its place
// whole, at the very end, whatever may end the shell or an earlier one before
// that: when no name and no link leads out of the folder and the program is one
// that this machine can start. The process that asks for a relaunch is the
// shell's parent; one that has ended and was not yet waited for has no executable
// any more. zsh would give what runs in the background less of the processor.
inline constexpr PlatformNames linuxNames{
    .processCommand = "LC_ALL=C.UTF-8 ps -o command= -p ",
    .manifest = "download/linux.json",
    .unpack =
        "(part='{folder}'/deel$$; new=\"$part/Orvel OS.app\"; "
        "program=\"$new/Contents/Linux/orvel-os\"; "
        "! unzip -Z1 '{archive}' '*..*' && unzip -qo -P '' '{archive}' -d \"$part\" && "
        "links=$(find \"$part\" -lname '/*' -o -lname '*..*') && [ -z \"$links\" ] && "
        "[ -f \"$program\" ] && [ -x \"$program\" ] && "
        "cmp -s -i 18 -n 2 \"$program\" /proc/$PPID/exe && mv \"$new\" '{folder}') "
        "</dev/null >/dev/null",
    .clearQuarantine = "",
    .relaunch =
        "unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; "
        "exec setsid '{bundle}/Contents/Linux/orvel-os') </dev/null >/dev/null 2>&1 &",
};

}  // namespace orvel
