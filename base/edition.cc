#include "base/edition.h"

namespace orvel {

// "ditto -x -k" extracts a zip archive. "open -n" starts a new instance even while this one runs.
constexpr Edition macosEdition{
    .name = "mac",
    .manifestPath = "download/mac.json",
    .unpack = {.before = "/usr/bin/ditto -x -k ", .after = ""},
    .clearQuarantine = {.before = "/usr/bin/xattr -dr com.apple.quarantine ", .after = ""},
    .translocationFolder = "/AppTranslocation/",
    .removesOtherWorkingFolders = false,
    .relaunch = {.before = "(sleep 1; /usr/bin/open -n ", .after = ") >/dev/null 2>&1 &"},
};

// PPID is the application, which started the shell. The loop tests /proc/PID/exe
// because that link does not resolve for a zombie. setsid keeps the new instance out of the
// session and terminal of this one. Without "unsetopt bgnice", zsh lowers the priority of
// background jobs.
constexpr Edition linuxEdition{
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
