#include "app/app_delegate.h"
#include "server/shell_runner.h"

namespace orvel {

std::string AppDelegate::nodePath() {
  for (const char *candidate : {"/usr/local/bin/node", "/opt/homebrew/bin/node"}) {
    if (platform_.locations.isExecutableFile(candidate)) return candidate;
  }
  // An application that is started from the desktop may not inherit the PATH that the user's zsh
  // files set. `sh` runs zsh in spite of its name, so it can read them.
  std::string found = sh(platform_.processes,
                         "source ~/.zprofile >/dev/null 2>&1; source ~/.zshrc >/dev/null 2>&1; "
                         "command -v node");
  if (!found.empty()) return found;
  // The launch of this path fails, and the error page says why.
  return "/usr/local/bin/node";
}

}  // namespace orvel
