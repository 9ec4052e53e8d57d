#pragma once

#include <webkit/webkit.h>

#include <functional>

namespace orvel {

/// Rebuilds a page's context menu before it is shown. The labels are Dutch in every
/// locale. Items that would open a second window or that have no Dutch label are dropped.
/// Download items call `download` with the URL instead of letting WebKit request it.
/// `target` is the element that the menu was opened on. Main thread only.
void rebuildContextMenu(WebKitContextMenu *menu, WebKitHitTestResult *target,
                        const std::function<void(const char *address)> &download);

}  // namespace orvel
