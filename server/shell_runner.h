#pragma once

#include <string>
#include <string_view>

#include "platform/process_launcher.h"

namespace orvel {

/// Runs a command line in zsh syntax and gives what it printed, without white
/// space and line breaks at both ends. The empty text stands for every
/// failure: no shell, output that is not UTF-8. The exit status and standard
/// error are not looked at. Blocks until the command has ended; jobs that it
/// leaves in the background with their output redirected are not waited for.
/// Any thread.
///
/// For commands that print little: one that fills the pipe blocks for ever.
std::string sh(ProcessLauncher &launcher, std::string_view commandLine);

}  // namespace orvel
