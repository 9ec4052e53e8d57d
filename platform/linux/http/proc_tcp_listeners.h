#pragma once

#include "platform/tcp_listeners.h"

namespace orvel {

/// The listening sockets in /proc/net/tcp and /proc/net/tcp6 (proc_pid_net(5)). Any thread.
class ProcTcpListeners final : public TcpListeners {
 public:
  std::optional<std::vector<TcpListener>> onPort(int port) const override;
};

}  // namespace orvel
