// Property: a server can suggest a file name, but not a folder.

#include <gio/gio.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/text.h"
#include "platform/linux/glib/glib_text.h"
#include "platform/linux/http/suggested_filename.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/temporary_folder.h"
#include "web/download_name.h"

namespace orvel::fuzz {

namespace {

constexpr std::size_t maxNameSize = 255;

/// Replaces the MIME database of GIO until the process ends, and returns true. No media type may
/// reach the two descriptions with the extension "escaped", which lie outside the folders of media
/// types.
bool replaceMimeDatabase() {
  static const TemporaryFolder temporary;
  const std::filesystem::path &root = temporary.path();
  const auto describe = [&](const std::string &path, const char *extension) {
    std::filesystem::create_directories((root / path).parent_path());
    std::ofstream(root / path) << "<mime-type><glob pattern='*." << extension << "'/></mime-type>";
  };
  describe("mime/text/csv.xml", "csv");
  describe("mime/application/pdf.xml", "pdf");
  describe("mime/secret.xml", "escaped");
  describe("secret.xml", "escaped");
  std::ofstream(root / "mime/aliases") << "text/x-csv text/csv\ntext/evil ../secret\n";
  const std::string folder = root / "mime";
  const std::array<const char *, 2> folders{folder.c_str(), nullptr};
  g_content_type_set_mime_dirs(folders.data());
  return true;
}

void requireName(std::string_view name) {
  require(!name.empty() && name != "." && name != "..", "a name is neither empty nor a folder");
  require(name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos,
          "a name is one path component");
  require(name.size() <= maxNameSize, "a name has at most 255 bytes");
}

std::string escaped(const std::string &name) {
  return GlibText(g_uri_escape_string(name.c_str(), nullptr, FALSE)).get();
}

/// Requires that the name is parsed from the parameters filename and filename* (RFC 6266, 4.1).
void requireParsed(const std::string &name, const Url &address) {
  const auto read = [&](const std::string &parameter) {
    return suggestedFilename({.contentDisposition = "attachment; " + parameter}, address);
  };
  require(read("filename*=UTF-8''" + escaped(name)) == name, "an extended name is read");
  if (name.find_first_of("\"\\%") == std::string::npos) {
    require(read("filename=\"" + name + "\"") == name, "a quoted name is read");
    require(read("filename=\"other\"; filename*=UTF-8''" + escaped(name)) == name,
            "an extended name has priority");
  }
}

}  // namespace

void testInput(std::string_view input) {
  const auto [disposition, mediaType, address] = linesOf<3>(input);
  // A header field never holds NUL.
  if (input.find('\0') != std::string_view::npos) return;
  const Url url = Url::parse(address).value_or(*Url::parse("https://os.test/api/bestand/1"));
  const FileNameFields fields{.contentDisposition = std::string(disposition),
                              .mediaType = std::string(mediaType)};
  [[maybe_unused]] static const bool isReplaced = replaceMimeDatabase();
  const auto suggested = suggestedFilename(fields, url);
  if (suggested) {
    require(!suggested->empty(), "a suggestion is not empty");
    require(trimmedText(*suggested).has_value(), "a suggestion is UTF-8");
    // The disposition or the address may contain "escaped", also percent-encoded.
    require(!suggested->ends_with(".escaped") || input.find("escaped") != std::string_view::npos ||
                suggested == suggestedFilename({fields.contentDisposition}, url),
            "no media type gives the extension of a description outside its folder");
  }

  const std::string name = downloadName(suggested, url);
  requireName(name);
  for (const int number : {2, 2'147'483'647}) {
    const std::string next = numberedName(name, number);
    requireName(next);
    require(next.find(" " + std::to_string(number)) != std::string::npos,
            "the number is part of the name");
  }
  require(numberedName(name, 2) != numberedName(name, 3), "names with different numbers differ");
  require(downloadName(name, url) == name, "a valid name is unchanged");
  // trimmedText() returns nullopt for invalid UTF-8, which filename*=UTF-8 cannot hold.
  if (trimmedText(name)) requireParsed(name, url);
}

}  // namespace orvel::fuzz
