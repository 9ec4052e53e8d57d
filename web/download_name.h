#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/url.h"

namespace orvel {

/// Returns the file name for a download: the name that the response suggests, else the
/// last path component of the requested URL, else its host, else "unknown". The result
/// is one path component of at most 255 bytes. Each "/" becomes "-". Names that no file
/// can have are skipped: "", ".", ".." and names that contain a NUL. Any thread.
std::string downloadName(const std::optional<std::string> &suggested, const Url &url);

/// Returns the name with a number after its stem: "data.csv" and 2 give "data 2.csv".
/// splitFileName determines where the extension begins. Truncates the stem, between two
/// characters, when the name would exceed 255 bytes. Any thread.
std::string numberedName(std::string_view name, int number);

}  // namespace orvel
