#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvel {

/// A TCP socket that waits for connections. A plain value.
struct TcpListener {
  /// The local IP address in the form of inet_ntop(3), such as "127.0.0.1" or "::".
  std::string address;
  /// Whether this process's user created the socket.
  bool isOwn = false;

  bool operator==(const TcpListener &) const = default;
};

/// The TCP sockets of this machine that wait for connections.
class TcpListeners {
 public:
  virtual ~TcpListeners() = default;

  /// Returns the sockets of all users that listen on a port, or nullopt when the system does
  /// not report them. Any thread.
  virtual std::optional<std::vector<TcpListener>> onPort(int port) const = 0;
};

}  // namespace orvel
