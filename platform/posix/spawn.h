#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "platform/posix/spawn_plan.h"
#include "platform/process_launcher.h"

namespace orvel {

/// Starts the program of a request with exactly this environment and without a PATH
/// lookup. Sets the child's process ID and returns zero, or returns an errno value.
/// Any thread; with endsWithParent, the thread must live as long as the child.
int spawn(const LaunchRequest &request, const std::map<std::string, std::string> &environment,
          pid_t &child);

/// Starts a child with posix_spawn. Sets its process ID and returns zero, or returns an
/// errno value. Any thread.
int posixSpawn(const SpawnPlan &plan, pid_t &child);

/// Like `posixSpawn`. On Linux, also asks the kernel to send the child SIGTERM when the
/// calling thread ends (PR_SET_PDEATHSIG), which includes every way in which this process
/// may end. The calling thread must therefore live as long as the child. On macOS it only calls
/// `posixSpawn`, because macOS has no such signal. Each edition has its own definition.
int spawnEndingWithParent(const SpawnPlan &plan, pid_t &child);

}  // namespace orvel
