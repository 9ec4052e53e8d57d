#pragma once

#include <webkit/webkit.h>

#include <functional>

namespace orvel {

/// Rebuilds a page's context menu before it is shown: its labels are Dutch in
/// every locale, and items that would open a second window or that have no label
/// of ours are dropped. Items that download call `download` with the address
/// instead of letting WebKit request it. `target` is what the menu was opened on.
/// Main thread only.
void rebuildContextMenu(WebKitContextMenu *menu, WebKitHitTestResult *target,
                        const std::function<void(const char *address)> &download);

}  // namespace orvel
