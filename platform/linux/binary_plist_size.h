#pragma once

#include <cstddef>
#include <string_view>

namespace orvel {

/// Whether the bytes begin as a binary property list does.
bool isBinaryPlist(std::string_view bytes);

/// Whether a binary property list is sound enough to be measured, is not nested
/// without bound and comes to no more nodes than the limit when every reference
/// is followed, long texts counting for more. Containers that refer to shared containers make a few
/// hundred bytes stand for billions of nodes, which libplist would all build; at
/// a key with a NUL in it libplist ends the process.
bool binaryPlistIsSmall(std::string_view bytes, std::size_t mostNodes);

}  // namespace orvel
