#pragma once

#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// Returns whether the dynamic loader of this process could start a program: it is an
/// executable file for the same machine and loader, and every library, symbol version
/// and symbol that it needs is present. Never executes the program itself. Any thread;
/// waits for a child process.
bool isLoadableProgram(ProcessLauncher &processes, const std::string &program);

}  // namespace orvel
