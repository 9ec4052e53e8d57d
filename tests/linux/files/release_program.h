#pragma once

#include <string>

#include "tests/support/posix_test_support.h"

namespace orvel::posix_test {

/// Returns the bytes of a stand-in for the program of a release (release_program/main.cc), which
/// this machine can start. When executed, it creates a file "executed" next to itself. It
/// needs `getpgid` of libc.so.6; tests replace these names by missing ones.
inline std::string releaseProgram() { return contentsOf(ORVELOS_RELEASE_PROGRAM); }

/// Returns the bytes of the program with every occurrence of a text replaced by another text, which
/// must have the same length.
inline std::string releaseProgramWith(const std::string &text, const std::string &replacement) {
  std::string bytes = releaseProgram();
  for (auto at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
    bytes.replace(at, text.size(), replacement);
  }
  return bytes;
}

}  // namespace orvel::posix_test
