#pragma once

#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// Returns whether the dynamic loader of this process could start a program: an
/// executable file for the same machine and the same loader, of which every
/// library, symbol version and symbol is there. The program itself is never
/// executed. Any thread; waits for a child process.
bool isLoadableProgram(ProcessLauncher &processes, const std::string &program);

}  // namespace orvel
