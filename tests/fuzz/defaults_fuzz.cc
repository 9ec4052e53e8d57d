// Properties: texts and window frames in the settings file are read back unchanged, and trimming
// removes only white space at the ends of a text.

#include <glib.h>

#include <memory>
#include <string>

#include "base/text.h"
#include "platform/linux/files/key_file_text.h"
#include "platform/linux/glib/glib_text.h"
#include "platform/linux/gtk/window_frame.h"
#include "tests/fuzz/fuzz_target.h"

namespace orvel::fuzz {

namespace {

using KeyFile = std::unique_ptr<GKeyFile, void (*)(GKeyFile *)>;

KeyFile newKeyFile() { return {g_key_file_new(), g_key_file_unref}; }

/// Requires that a text that is written to a key file is read back.
void requireRoundTrip(const std::string &text) {
  const std::string value = keyFileValue(text);
  require(textOfKeyFileValue(value) == text, "decoding reverses encoding");
  const KeyFile file = newKeyFile();
  g_key_file_set_value(file.get(), "Defaults", "osURL", value.c_str());
  gsize size = 0;
  const GlibText bytes(g_key_file_to_data(file.get(), &size, nullptr));
  const KeyFile again = newKeyFile();
  require(g_key_file_load_from_data(again.get(), bytes.get(), size, G_KEY_FILE_NONE, nullptr),
          "GLib parses the written file");
  const GlibText read(g_key_file_get_value(again.get(), "Defaults", "osURL", nullptr));
  require(read && textOfKeyFileValue(read.get()) == text, "a text is read back from a key file");
}

}  // namespace

void testInput(std::string_view input) {
  const std::string text(input);
  requireRoundTrip(text);
  if (const auto read = textOfKeyFileValue(text)) requireRoundTrip(*read);

  if (const auto frame = parseFrame(text)) {
    require(frame->width > 0 && frame->height > 0, "a frame has a size");
    require(parseFrame(frameText(*frame)) == frame, "a frame is read back");
  }

  // The output of a shell command is trimmed before it is used as the path of Node.js.
  if (const auto trimmed = trimmedText(text)) {
    require(trimmedText(*trimmed) == trimmed, "trimming is idempotent");
    require(text.find(*trimmed) != std::string::npos, "trimming removes only from the ends");
    require(trimmedText(" \n" + text + "\t\r\n") == trimmed, "white space is trimmed");
  }
}

}  // namespace orvel::fuzz
