#pragma once

#include <sys/types.h>

#include "platform/posix/spawn_plan.h"

#if defined(__linux__)

namespace orvel {

/// Starts a child that gets SIGTERM when the calling thread ends, which includes
/// every way in which this process may end (PR_SET_PDEATHSIG). Sets the child's
/// process ID and returns zero, or returns an errno value. The calling thread must
/// live as long as the child.
int forkExecWithParent(const SpawnPlan &plan, pid_t &child);

}  // namespace orvel

#endif
