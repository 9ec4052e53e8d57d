#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// Starts the program of a request with exactly this environment and without a PATH
/// lookup. Sets the child's process ID and returns zero, or returns an errno value.
/// Any thread; with endsWithParent, the thread must live as long as the child.
int spawn(const LaunchRequest &request, const std::map<std::string, std::string> &environment,
          pid_t &child);

}  // namespace orvel
