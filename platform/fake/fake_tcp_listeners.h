#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/tcp_listeners.h"

namespace orvel {

/// A machine on which a program of the user listens on every port, except the ports for which a
/// test sets other listeners.
class FakeTcpListeners final : public TcpListeners {
 public:
  std::optional<std::vector<TcpListener>> onPort(int port) const override {
    const auto found = byPort.find(port);
    if (found != byPort.end()) return found->second;
    return std::vector<TcpListener>{{.address = "127.0.0.1", .isOwn = true}};
  }

  /// Nullopt simulates a system that does not report the listeners of the port.
  std::map<int, std::optional<std::vector<TcpListener>>> byPort;
};

}  // namespace orvel
