#pragma once

#include <webkit/webkit.h>

namespace orvel {

/// Stops F7 from toggling the caret of the text view in which WebKit composes
/// input. GTK 4.8 aborts in the next blink of a caret that was switched off. The
/// page still receives the key. Main thread only.
void disableCaretToggle(WebKitWebView *view);

}  // namespace orvel
