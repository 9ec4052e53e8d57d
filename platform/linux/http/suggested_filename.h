#pragma once

#include <optional>
#include <string>

#include "base/url.h"

namespace orvel {

/// The fields of an answer that tell of its body as a file, as their bytes stand.
struct FileHead {
  std::optional<std::string> contentDisposition{};
  std::optional<std::string> mediaType{};
};

/// The name that a body would have as a file, in UTF-8 and without NUL: that of
/// the disposition, whatever its kind (RFC 6266; "filename*" goes before
/// "filename", and does not count when it cannot be decoded, RFC 8187), else
/// the last path component of the address, percent-decoded where that gives
/// text, else its host. A name without an extension, which no host has, gets the
/// usual one of the media type. Any thread.
std::optional<std::string> suggestedFilename(const FileHead &head, const Url &address);

}  // namespace orvel
