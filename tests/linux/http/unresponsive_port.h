#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>
#include <string>
#include <tuple>

#include "base/file_handle.h"

namespace orvel {

/// A port of 127.0.0.1 with which no connection is established, because the backlog of its
/// listener is full.
class UnresponsivePort {
 public:
  UnresponsivePort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *general = reinterpret_cast<sockaddr *>(&address);
    const int listener = listener_.descriptor();
    if (::bind(listener, general, size) != 0 || ::listen(listener, 0) != 0 ||
        ::getsockname(listener, general, &size) != 0) {
      throw std::runtime_error("no listener on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
    for (const auto &client : clients_) {
      // Fails with EINPROGRESS, because the socket does not block.
      std::ignore = ::connect(client.descriptor(), general, size);
    }
  }
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

 private:
  /// A non-blocking socket.
  struct Socket : FileHandle {
    Socket() : FileHandle(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
  };

  const Socket listener_;
  const std::array<Socket, 8> clients_{};
  int port_ = 0;
};

}  // namespace orvel
