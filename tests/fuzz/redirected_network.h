#pragma once

namespace orvel::fuzz {

/// Makes every TCP connection of this process lead to a port of 127.0.0.1, and every host name
/// resolve, by replacing connect() and getaddrinfo(). Requests to other hosts can be inspected,
/// and nothing leaves the machine.
void redirectConnectionsTo(int port);

}  // namespace orvel::fuzz
