#pragma once

namespace orvel {

/// Excludes loopback addresses from the proxies of WebKit's network process, which inherits
/// this process's environment: adds them to the variables no_proxy and NO_PROXY. A system
/// setting that takes precedence over the environment has its own list of excluded addresses.
/// Call it while the process has one thread.
void bypassProxyForLoopback();

}  // namespace orvel
