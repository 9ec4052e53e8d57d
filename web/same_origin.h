#pragma once

#include "platform/url.h"

namespace orvel {

/// Whether a URL has the origin of another (scheme, host and port) or is its
/// upgrade: from http to https of the same host, both at their default ports. The
/// app key and the page's cookies follow a redirect only there. Any thread.
bool isSameOriginOrUpgrade(const Url &from, const Url &to);

}  // namespace orvel
