#pragma once

namespace orvel {

/// Excludes loopback addresses from the proxies of WebKit's network process, which inherits
/// this process's environment: adds them to the variables no_proxy and NO_PROXY. Has no effect
/// where the proxy settings of the desktop take precedence over the environment.
/// Call it while the process has one thread.
void bypassProxyForLoopback();

}  // namespace orvel
