#include "platform/linux/http/media_type.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "platform/linux/files/file_bytes.h"
#include "platform/linux/glib/glib_text.h"

namespace orvel {

namespace {

/// The limit of a type's XML file, in bytes.
constexpr std::size_t maxFileSize = std::size_t{4} * 1024 * 1024;

// For these types the first extension in the database is not the usual one.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> preferredExtensions{{
    {"audio/ogg", "ogg"},
    {"text/calendar", "ics"},
    {"text/vcard", "vcf"},
    {"application/vnd.ms-powerpoint", "ppt"},
}};

/// The extensions with the highest weight so far.
struct Extensions {
  int weight = 0;
  /// In the order of the database.
  std::vector<std::string> all;

  /// Adds the extension of a pattern such as "*.txt", unless another one has a higher weight.
  /// Ignores a pattern of another form.
  void add(std::string_view pattern, int patternWeight) {
    if (!pattern.starts_with("*.") || patternWeight < weight) return;
    const std::string_view extension = pattern.substr(2);
    if (extension.empty() || extension.find_first_of("*?[/") != std::string_view::npos) return;
    if (patternWeight > weight) all.clear();
    weight = patternWeight;
    all.emplace_back(extension);
  }
};

/// Returns the type and subtype in lower case, or the empty text when they are malformed. The
/// result becomes part of a path, so it must not leave the folder of the database.
std::string essence(std::string_view mediaType) {
  std::string text(mediaType.substr(0, mediaType.find(';')));
  text.erase(0, text.find_first_not_of(" \t"));
  text.erase(text.find_last_not_of(" \t") + 1);
  std::transform(text.begin(), text.end(), text.begin(), g_ascii_tolower);
  const auto slash = text.find('/');
  const bool isType =
      slash != std::string::npos && slash > 0 && slash + 1 < text.size() && text.front() != '.' &&
      text[slash + 1] != '.' && text.find('/', slash + 1) == std::string::npos &&
      std::all_of(text.begin(), text.end(), [](char character) {
        return g_ascii_isalnum(character) ||
               std::string_view("/!#$&^_.+-").find(character) != std::string_view::npos;
      });
  return isType ? text : std::string();
}

/// Adds the glob patterns of a type's XML file to the extensions (Shared MIME-info Database,
/// section 2.2).
void addPatterns(const std::string &xml, Extensions &extensions) {
  const auto startElement = [](GMarkupParseContext *, const char *element, const char **attributes,
                               const char **values, gpointer found, GError **) {
    if (std::string_view(element) != "glob") return;
    std::string_view pattern;
    int weight = 50;  // The default of the database format.
    for (; *attributes != nullptr; ++attributes, ++values) {
      if (std::string_view(*attributes) == "pattern") pattern = *values;
      if (std::string_view(*attributes) == "weight") weight = std::atoi(*values);
    }
    static_cast<Extensions *>(found)->add(pattern, weight);
  };
  const GMarkupParser parser{startElement, nullptr, nullptr, nullptr, nullptr};
  const std::unique_ptr<GMarkupParseContext, void (*)(GMarkupParseContext *)> context(
      g_markup_parse_context_new(&parser, GMarkupParseFlags{}, &extensions, nullptr),
      g_markup_parse_context_free);
  g_markup_parse_context_parse(context.get(), xml.data(), static_cast<gssize>(xml.size()), nullptr);
}

/// Returns the media type of an alias, or the given type when it is not an alias. GIO resolves
/// aliases when it converts a media type to a content type, which on Linux is a media type too.
std::string unaliased(const std::string &type) {
  const GlibText known(g_content_type_from_mime_type(type.c_str()));
  // Checked again, because the result also becomes part of a path.
  return known ? essence(known.get()) : type;
}

}  // namespace

std::optional<std::string> usualExtension(std::string_view mediaType) {
  const std::string requested = essence(mediaType);
  if (requested.empty()) return std::nullopt;
  const std::string type = unaliased(requested);

  std::vector<std::string> folders;
  for (const char *const *folder = g_content_type_get_mime_dirs(); *folder != nullptr; ++folder) {
    folders.emplace_back(*folder);
  }
  // GIO lists the user's folder first. Reversed, so that among extensions of equal weight those of
  // the system come first.
  std::reverse(folders.begin(), folders.end());
  Extensions extensions;
  for (const std::string &folder : folders) {
    addPatterns(readFileBytes(folder + "/" + type + ".xml", maxFileSize).bytes, extensions);
  }
  const auto &all = extensions.all;
  for (const auto &[preferredType, extension] : preferredExtensions) {
    if (type != preferredType) continue;
    if (std::find(all.begin(), all.end(), extension) != all.end()) return std::string(extension);
  }
  return all.empty() ? std::nullopt : std::optional(all.front());
}

}  // namespace orvel
