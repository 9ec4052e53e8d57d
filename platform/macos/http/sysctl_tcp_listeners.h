#pragma once

#include "platform/tcp_listeners.h"

namespace orvel {

/// The listening sockets in the kernel's list of TCP sockets, which netstat(1) reads too: sysctl
/// net.inet.tcp.pcblist64. Unlike libproc, it includes the sockets of other users. Any thread.
class SysctlTcpListeners final : public TcpListeners {
 public:
  std::optional<std::vector<TcpListener>> onPort(int port) const override;
};

}  // namespace orvel
