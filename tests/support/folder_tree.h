#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "tests/support/posix_test_support.h"

namespace orvel::posix_test {

/// What lies below a folder, by relative path: kind, mode bits, and contents or
/// target. The folder itself is the entry of the empty path.
using Tree = std::map<std::string, std::string>;

/// Empty when there is no such folder.
Tree treeOf(const std::filesystem::path &folder);

/// Makes a folder like that of an application, with something of every kind,
/// of which every file says whose it is, and gives what it holds.
Tree makeTree(const std::filesystem::path &folder, const std::string &owner);
/// The same with little in it, for what has to be done over and over.
Tree makeSmallTree(const std::filesystem::path &folder, const std::string &owner);

/// A folder on another file system than the temporary one; null where there is
/// none that may be written to.
std::unique_ptr<TemporaryFolder> folderOnAnotherFileSystem();

}  // namespace orvel::posix_test
