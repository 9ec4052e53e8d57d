#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// Starts the program of a request with exactly this environment, and without
/// looking it up in PATH. Gives zero and the child's number, or the system's
/// error number. Any thread.
int spawn(const LaunchRequest &request, const std::map<std::string, std::string> &environment,
          pid_t &child);

}  // namespace orvel
