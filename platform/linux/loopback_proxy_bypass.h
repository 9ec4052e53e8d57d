#pragma once

namespace orvel {

/// Adds the loopback addresses to the variables no_proxy and NO_PROXY. WebKit's network process
/// inherits these and connects to the addresses without a proxy, unless the proxy settings of
/// the desktop take precedence over the environment. Call it while the process has one thread.
void bypassProxyForLoopback();

}  // namespace orvel
