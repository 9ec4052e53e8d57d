// A server can suggest a name, but no place.

#include <gio/gio.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/text.h"
#include "platform/linux/http/suggested_filename.h"
#include "tests/fuzz/property.h"
#include "web/download_name.h"

namespace {

using namespace orvel;

constexpr std::size_t longestName = 255;

/// Makes a database of media types the only one, with a description beside it
/// that no type may name.
bool makeTypes() {
  const std::unique_ptr<char, void (*)(void *)> made(g_dir_make_tmp("orvel-fuzz-XXXXXX", nullptr),
                                                     g_free);
  fuzz::require(made != nullptr, "there is a temporary folder");
  static const std::filesystem::path root = made.get();
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
  });
  const auto describe = [](const std::string &path, const char *extension) {
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
  fuzz::require(!name.empty() && name != "." && name != "..", "a file has a name");
  fuzz::require(name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos,
                "a name is one component");
  fuzz::require(name.size() <= longestName, "a name fits");
}

std::string escaped(const std::string &name) {
  const std::unique_ptr<char, void (*)(void *)> text(
      g_uri_escape_string(name.c_str(), nullptr, FALSE), g_free);
  return text.get();
}

/// The name as its two spellings (RFC 6266, 4.1), and what is read of them.
void requireRead(const std::string &name, const Url &address) {
  const auto read = [&](const std::string &parameter) {
    return suggestedFilename({.contentDisposition = "attachment; " + parameter}, address);
  };
  fuzz::require(read("filename*=UTF-8''" + escaped(name)) == name, "an extended name is read");
  if (name.find_first_of("\"\\%") == std::string::npos) {
    fuzz::require(read("filename=\"" + name + "\"") == name, "a quoted name is read");
    fuzz::require(read("filename=\"ander\"; filename*=UTF-8''" + escaped(name)) == name,
                  "an extended name goes first");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const auto [disposition, mediaType, address] = fuzz::linesOf<3>(fuzz::bytesOf(data, size));
  // A field never holds one.
  if (fuzz::bytesOf(data, size).find('\0') != std::string_view::npos) return 0;
  Url url = Url::parse(address).value_or(*Url::parse("https://os.test/api/bestand/1"));
  const FileHead head{.contentDisposition = std::string(disposition),
                      .mediaType = std::string(mediaType)};
  static const bool hasTypes = makeTypes();
  fuzz::require(hasTypes, "the types are known");
  const auto suggested = suggestedFilename(head, url);
  if (suggested) {
    fuzz::require(!suggested->empty(), "no name is no suggestion");
    fuzz::require(trimmedText(*suggested).has_value(), "a name is UTF-8");
    fuzz::require(!suggested->ends_with(".escaped") ||
                      fuzz::bytesOf(data, size).find("escaped") != std::string_view::npos ||
                      suggested == suggestedFilename({head.contentDisposition}, url),
                  "a media type leads nowhere else");
  }

  const std::string name = downloadName(suggested, url);
  requireName(name);
  for (const int number : {2, 2'147'483'647}) {
    const std::string next = numberedName(name, number);
    requireName(next);
    fuzz::require(next.find(" " + std::to_string(number)) != std::string::npos, "a number is seen");
  }
  fuzz::require(numberedName(name, 2) != numberedName(name, 3), "each number makes another name");
  fuzz::require(downloadName(name, url) == name, "a name that can be borne is kept");
  if (trimmedText(name)) requireRead(name, url);
  return 0;
}
