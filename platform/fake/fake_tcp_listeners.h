#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/tcp_listeners.h"

namespace orvel {

/// A machine on which a program of the user listens on every port, unless a test scripts the
/// listeners of the port.
class FakeTcpListeners final : public TcpListeners {
 public:
  std::optional<std::vector<TcpListener>> onPort(int port) const override {
    const auto found = scripted.find(port);
    if (found == scripted.end())
      return std::vector<TcpListener>{{.address = "127.0.0.1", .isOwn = true}};
    return found->second;
  }

  std::map<int, std::optional<std::vector<TcpListener>>> scripted;
};

}  // namespace orvel
