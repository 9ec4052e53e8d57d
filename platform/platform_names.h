#pragma once

#include <string_view>

namespace orvel {

/// What is called differently on each system. The command lines are for the
/// shell; each {word} in them stands for a path.
struct PlatformNames {
  /// Where a server tells of the newest release, below its address.
  std::string_view manifest;
  /// Unpacks {archive} into {folder}. Nothing in the folder is to be used when
  /// a part of it could not be unpacked.
  std::string_view unpack;
  /// Takes the mark of a download off {bundle}; empty where there is none.
  std::string_view clearQuarantine;
  /// Starts {bundle} in the background once this process has gone, and returns
  /// at once.
  std::string_view relaunch;
};

inline constexpr PlatformNames macosNames{
    .manifest = "download/mac.json",
    .unpack = "/usr/bin/ditto -x -k '{archive}' '{folder}'",
    .clearQuarantine = "/usr/bin/xattr -dr com.apple.quarantine '{bundle}'",
    .relaunch = "(sleep 1; /usr/bin/open -n '{bundle}') >/dev/null 2>&1 &",
};

// unzip unpacks what it can, takes ".." out of a name without a word, and asks
// at the terminal what to do about a full disk. Whatever it finds fault with, a
// name or a link that leads out of the folder, or a bundle that could not be
// started here, must leave nothing behind. The process that asks for a relaunch
// is the shell's parent; one that has ended and was not yet waited for has no
// executable any more.
inline constexpr PlatformNames linuxNames{
    .manifest = "download/linux.json",
    .unpack =
        "(! unzip -Z1 '{archive}' '*..*' && unzip -qo -P '' '{archive}' -d '{folder}' && "
        "! find '{folder}' -lname '/*' -o -lname '*..*' | grep -q . && "
        "([ ! -e '{folder}/Orvel OS.app' ] || "
        "[ -x '{folder}/Orvel OS.app/Contents/Linux/orvel-os' ])) "
        "</dev/null >/dev/null || rm -rf '{folder}'",
    .clearQuarantine = "",
    .relaunch =
        "(while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; "
        "exec setsid '{bundle}/Contents/Linux/orvel-os') </dev/null >/dev/null 2>&1 &",
};

}  // namespace orvel
