#pragma once

#include "base/url.h"

namespace orvel {

/// Returns whether a redirect from `from` to `to` keeps the origin (scheme, host and port), or
/// goes from http to https on the same host, both at their default ports. Only such redirects get
/// the app key and the page's cookies. Any thread.
bool isSameOriginOrUpgrade(const Url &from, const Url &to);

}  // namespace orvel
