#pragma once

#include <string>

#include "tests/contract/posix_test_support.h"

namespace orvel::posix_test {

/// The bytes of a program that this machine can start. Whenever it is executed
/// it leaves a file "executed" beside itself. It calls `getpgid` of libc.so.6.
inline std::string releaseProgram() { return contentsOf(ORVELOS_RELEASE_PROGRAM); }

/// The same with every occurrence of a text replaced by one of the same length.
inline std::string releaseProgramWith(const std::string &text, const std::string &replacement) {
  std::string bytes = releaseProgram();
  for (auto at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
    bytes.replace(at, text.size(), replacement);
  }
  return bytes;
}

}  // namespace orvel::posix_test
