#pragma once

#include <webkit/webkit.h>

#include <functional>

namespace orvel {

/// Has the items of a page's context menu that download something call `ask`
/// with its address, instead of asking the server themselves.
void replaceDownloads(WebKitContextMenu *menu, WebKitHitTestResult *target,
                      const std::function<void(const char *address)> &ask);

}  // namespace orvel
