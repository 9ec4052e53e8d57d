#include "platform/posix/spawn.h"

namespace orvel {

// macOS has no parent-death signal, so the child may outlive this process.
int spawnEndingWithParent(const SpawnPlan &plan, pid_t &child) { return posixSpawn(plan, child); }

}  // namespace orvel
