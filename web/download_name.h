#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/url.h"

namespace orvel {

/// The name under which a download is kept: the one that its response
/// suggests, else the last path component of the URL that was asked for, else
/// its host, else "unknown". Always one path component of at most 255 bytes:
/// every "/" becomes "-", and a name that no file can bear ("", ".", "..", one
/// with a NUL) is passed over.
std::string downloadName(const std::optional<std::string> &suggested, const Url &url);

/// Returns the name with a number after its stem: "data.csv" and 2 give "data 2.csv".
/// splitFileName determines where the extension begins. A stem is shortened, between
/// two characters, when the whole name would exceed 255 bytes.
std::string numberedName(std::string_view name, int number);

}  // namespace orvel
