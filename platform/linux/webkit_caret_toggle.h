#pragma once

#include <webkit/webkit.h>

namespace orvel {

/// Stops F7 from hiding the cursor of the hidden GtkTextView in which WebKit composes
/// input. GTK 4.8 aborts at the next blink of a cursor that was hidden. The page still
/// receives the key. Main thread only.
void disableCaretToggle(WebKitWebView *view);

}  // namespace orvel
