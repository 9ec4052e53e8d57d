#include <chrono>
#include <sstream>
#include <string>

#include "app/app_delegate.h"
#include "server/shell_runner.h"

namespace orvel {

namespace {

// 4 seconds in total.
constexpr int maxPortChecks = 40;
constexpr std::chrono::milliseconds portCheckInterval{100};

}  // namespace

void AppDelegate::killStaleServer() {
  auto &processes = platform_.processes;
  // -t prints only process IDs, -i selects the port.
  const std::string listenersCommand =
      "lsof -ti tcp:" + std::to_string(settings_.LOCAL_PORT) + " -sTCP:LISTEN";

  bool killed = false;
  std::istringstream listeners(sh(processes, listenersCommand));
  for (std::string pid; std::getline(listeners, pid);) {
    if (pid.empty()) continue;
    // "command=" prints the command line without a heading.
    const std::string commandLine = sh(processes, "ps -o command= -p " + pid);
    // Other programs keep running. So do servers of another data root, unless its path contains
    // this one.
    if (commandLine.find("v3/server.mjs") == std::string::npos) continue;
    if (commandLine.find(settings_.ROOT) == std::string::npos) continue;
    sh(processes, "kill " + pid);
    killed = true;
  }
  if (!killed) return;

  for (int check = 0; check < maxPortChecks; ++check) {
    if (sh(processes, listenersCommand).empty()) return;
    platform_.clock.sleep(portCheckInterval);
  }
}

}  // namespace orvel
