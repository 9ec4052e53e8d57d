// What is kept between runs comes back as it was, and damage is seen.

#include <glib.h>

#include <memory>
#include <string>

#include "base/text.h"
#include "platform/linux/files/key_file_text.h"
#include "platform/linux/gtk/window_frame.h"
#include "tests/fuzz/property.h"

namespace {

using namespace orvel;

using KeyFile = std::unique_ptr<GKeyFile, void (*)(GKeyFile *)>;

KeyFile newKeyFile() { return {g_key_file_new(), g_key_file_unref}; }

/// A text as it stands in a file, and the text that is read from there.
void requireKept(const std::string &text) {
  const std::string value = keyFileValue(text);
  fuzz::require(textOfKeyFileValue(value) == text, "a text is kept");
  const KeyFile file = newKeyFile();
  g_key_file_set_value(file.get(), "Defaults", "osURL", value.c_str());
  gsize size = 0;
  const std::unique_ptr<char, void (*)(void *)> bytes(
      g_key_file_to_data(file.get(), &size, nullptr), g_free);
  const KeyFile again = newKeyFile();
  fuzz::require(g_key_file_load_from_data(again.get(), bytes.get(), size, G_KEY_FILE_NONE, nullptr),
                "a file that was written is a key file");
  const std::unique_ptr<char, void (*)(void *)> read(
      g_key_file_get_value(again.get(), "Defaults", "osURL", nullptr), g_free);
  fuzz::require(read && textOfKeyFileValue(read.get()) == text, "a text comes back from a file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string text(fuzz::bytesOf(data, size));
  requireKept(text);
  if (const auto read = textOfKeyFileValue(text)) requireKept(*read);

  if (const auto frame = parseFrame(text)) {
    fuzz::require(frame->width > 0 && frame->height > 0, "a frame has a size");
    fuzz::require(parseFrame(frameText(*frame)) == frame, "a frame is kept");
  }

  // The output of a command, of which a path is made.
  if (const auto trimmed = trimmedText(text)) {
    fuzz::require(trimmedText(*trimmed) == trimmed, "nothing is left to trim");
    fuzz::require(text.find(*trimmed) != std::string::npos, "trimming takes from the ends only");
    fuzz::require(trimmedText(" \n" + text + "\t\r\n") == trimmed, "white space is trimmed");
  }
  return 0;
}
