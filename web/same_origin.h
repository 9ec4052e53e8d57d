#pragma once

#include "base/url.h"

namespace orvel {

/// Returns whether `to` has the origin of `from` (scheme, host and port) or upgrades
/// it from http to https on the same host, both at their default ports. Only such a
/// redirect gets the app key and the page's cookies. Any thread.
bool isSameOriginOrUpgrade(const Url &from, const Url &to);

}  // namespace orvel
