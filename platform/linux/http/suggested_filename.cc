#include "platform/linux/http/suggested_filename.h"

#include <libsoup/soup.h>

#include <memory>
#include <string_view>

#include "base/file_name.h"
#include "base/percent_encoding.h"
#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/utf8.h"
#include "platform/linux/http/media_type.h"

namespace orvel {

namespace {

/// Converts a text to UTF-8. A text that is not UTF-8 counts as ISO 8859-1.
std::string toUtf8(const std::string &bytes) {
  if (isUtf8(bytes)) return bytes;
  gsize size = 0;
  const GlibText text(g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8",
                                "ISO-8859-1", nullptr, &size, nullptr));
  return text ? std::string(text.get(), size) : std::string();
}

/// Returns the parameter "filename", or the decoded "filename*", which has precedence.
std::string filenameParameter(const std::string &disposition) {
  const std::unique_ptr<GHashTable, void (*)(GHashTable *)> parameters(
      soup_header_parse_semi_param_list(disposition.c_str()), soup_header_free_param_list);
  // libsoup stores the value of "filename*" under this name too.
  const void *name = g_hash_table_lookup(parameters.get(), "filename");
  return name != nullptr ? static_cast<const char *>(name) : "";
}

/// Returns the field with every extended parameter renamed, such as "filename*" to "filename-".
/// Like libsoup, allows any white space between the name and its "=".
std::string withoutExtendedParameters(std::string disposition) {
  for (auto at = disposition.find('*'); at != std::string::npos;
       at = disposition.find('*', at + 1)) {
    const auto next = disposition.find_first_not_of(" \t\r\n\v\f", at + 1);
    if (next != std::string::npos && disposition[next] == '=') disposition[at] = '-';
  }
  return disposition;
}

std::string nameFromDisposition(const std::string &field) {
  const std::string disposition = toUtf8(field);
  std::string name = filenameParameter(disposition);
  // libsoup does not validate the decoded bytes of "filename*".
  if (!isUtf8(name)) name = filenameParameter(withoutExtendedParameters(disposition));
  return name;
}

/// A file name and its origin.
struct Name {
  std::string name;
  /// Whether it is a host, whose full stops do not begin an extension.
  bool isHost = false;
};

Name nameFromAddress(const std::string &address) {
  const std::unique_ptr<GUri, void (*)(GUri *)> uri(
      g_uri_parse(address.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr),
      g_uri_unref);
  if (!uri) return {};
  std::string path = g_uri_get_path(uri.get());
  while (path.ends_with('/')) path.pop_back();
  if (path.empty()) {
    const char *host = g_uri_get_host(uri.get());
    return {.name = host != nullptr ? host : "", .isHost = true};
  }
  const std::string component = path.substr(path.rfind('/') + 1);
  const auto decoded = percentDecoded(component);
  const bool isText = decoded && isUtf8(*decoded) && decoded->find('\0') == std::string::npos;
  return {.name = isText ? *decoded : component};
}

/// Returns whether the last component has an extension: the server may send a path as the name.
bool hasExtension(std::string_view name) {
  return !splitFileName(name.substr(name.rfind('/') + 1)).extension.empty();
}

}  // namespace

std::optional<std::string> suggestedFilename(const FileNameFields &fields, const Url &address) {
  Name found;
  if (fields.contentDisposition) found.name = nameFromDisposition(*fields.contentDisposition);
  if (found.name.empty()) found = nameFromAddress(address.absoluteString);
  auto &[name, isHost] = found;
  if (name.empty()) return std::nullopt;
  const bool isDotOrDotDot = name == "." || name == "..";
  if (fields.mediaType && !isDotOrDotDot && (isHost || !hasExtension(name))) {
    if (const auto extension = usualExtension(*fields.mediaType)) name += "." + *extension;
  }
  return name;
}

}  // namespace orvel
