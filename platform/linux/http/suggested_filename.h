#pragma once

#include <optional>
#include <string>

#include "base/url.h"

namespace orvel {

/// The header fields of a response that determine the file name, as raw bytes.
struct FileNameFields {
  std::optional<std::string> contentDisposition{};
  std::optional<std::string> mediaType{};
};

/// Returns the file name for the body of a response, in UTF-8 and without NUL. It is the
/// first of these that is not empty:
/// - The name in Content-Disposition, of any disposition type (RFC 6266). "filename*" has
///   precedence over "filename", unless it cannot be decoded (RFC 8187).
/// - The last path component of the address, percent-decoded if the result is UTF-8.
/// - The host of the address.
/// A name without an extension gets the usual extension of the media type. A host gets one as
/// well, although it contains full stops.
/// Returns nullopt when there is no name. Any thread.
std::optional<std::string> suggestedFilename(const FileNameFields &fields, const Url &address);

}  // namespace orvel
