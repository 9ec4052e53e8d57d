#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "server/shell_runner.h"

namespace orvel {

namespace {

// 4 seconds in total.
constexpr int maxPortChecks = 40;
constexpr std::chrono::milliseconds portCheckInterval{100};

/// Returns the lines that are not empty.
std::vector<std::string> linesOf(const std::string &output) {
  std::vector<std::string> lines;
  std::string::size_type begin = 0;
  while (begin <= output.size()) {
    const auto end = std::min(output.find('\n', begin), output.size());
    if (end > begin) lines.push_back(output.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

}  // namespace

void AppDelegate::killStaleServer() {
  auto &processes = platform_.processes;
  // -t prints only process IDs, -i selects the port.
  const std::string listenersCommand =
      "lsof -ti tcp:" + std::to_string(settings_.LOCAL_PORT) + " -sTCP:LISTEN";

  bool killed = false;
  for (const std::string &pid : linesOf(sh(processes, listenersCommand))) {
    const std::string commandLine = sh(processes, "ps -o command= -p " + pid);
    // Other programs, and servers of another data root, keep running.
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
