#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// Starts the program of a request with exactly this environment, and without
/// looking it up in PATH. Sets the child's process number and returns zero, or
/// returns the system's error number. Any thread; one that starts a child with
/// endsWithParent must live as long as that child.
int spawn(const LaunchRequest &request, const std::map<std::string, std::string> &environment,
          pid_t &child);

}  // namespace orvel
