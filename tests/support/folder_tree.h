#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "tests/support/posix_test_support.h"

namespace orvel::posix_test {

/// The contents of a folder by relative path: kind, mode bits, and text or link target.
/// The empty path is the folder itself.
using Tree = std::map<std::string, std::string>;

/// Returns the contents of a folder, or an empty tree when the folder does not exist.
Tree treeOf(const std::filesystem::path &folder);

/// Creates a folder laid out like an application bundle and returns its tree. It has empty,
/// large (filled with the first letter of the label), read-only and executable files, an empty
/// folder, and valid and dangling links. The label makes the contents differ from those of other
/// trees.
Tree makeTree(const std::filesystem::path &folder, const std::string &label);
/// Like `makeTree`, with few entries, for tests that repeat it often.
Tree makeSmallTree(const std::filesystem::path &folder, const std::string &label);

/// Returns the number of entries directly in a folder.
std::ptrdiff_t entryCount(const std::filesystem::path &folder);

/// Returns a folder on another file system than the temporary folder, or null when no
/// writable one exists.
std::unique_ptr<TemporaryFolder> folderOnAnotherFileSystem();

}  // namespace orvel::posix_test
