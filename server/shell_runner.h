#pragma once

#include <string>
#include <string_view>

#include "platform/process_launcher.h"

namespace orvel {

/// Runs a command line in zsh (not in /bin/sh: nodePath reads zsh's configuration files, and the
/// relaunch on Linux sets an option of zsh) and returns its standard output without leading and
/// trailing white space. Returns the empty text on every failure, which includes output that is not
/// UTF-8. Ignores the exit status and standard error. Blocks until the command has ended, but not
/// for background jobs whose output is redirected. Any thread.
///
/// The output must fit into a pipe's buffer, because it is read after the command has
/// ended: a command that fills the pipe deadlocks.
std::string sh(ProcessLauncher &launcher, std::string_view commandLine);

}  // namespace orvel
