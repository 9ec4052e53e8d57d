#pragma once

#include <optional>
#include <string>

namespace orvel {

/// Returns the SHA-256 hash of a file in lower-case hexadecimal digits, or nullopt when the
/// file cannot be read. Reads in blocks, so that memory does not depend on the file's size.
/// Any thread; blocks on the disk.
std::optional<std::string> sha256OfFile(const std::string &path);

}  // namespace orvel
