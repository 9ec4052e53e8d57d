#pragma once

#include <glib.h>

#include <memory>

namespace orvel {

struct GlibFree {
  void operator()(char *text) const { g_free(text); }
};

/// A text from GLib that g_free frees, or null.
using GlibText = std::unique_ptr<char, GlibFree>;

}  // namespace orvel
