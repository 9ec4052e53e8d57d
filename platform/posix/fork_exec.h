#pragma once

#include <sys/types.h>

#include "platform/posix/spawn_plan.h"

#if defined(__linux__)

namespace orvel {

/// Starts a child that gets SIGTERM when the calling thread ends, and with it
/// when this process dies in whatever way (PR_SET_PDEATHSIG). Sets the child's
/// process number and returns zero, or returns the system's error number. Any
/// thread that lives as long as the child.
int forkExecWithParent(const SpawnPlan &plan, pid_t &child);

}  // namespace orvel

#endif
