#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <tuple>
#include <vector>

namespace orvel {

/// A port of 127.0.0.1 whose listener never accepts a connection.
class UnresponsivePort {
 public:
  UnresponsivePort() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    auto *general = reinterpret_cast<sockaddr *>(&address_);
    if (::bind(listener_, general, size) != 0 || ::listen(listener_, 0) != 0) return;
    ::getsockname(listener_, general, &size);
  }
  ~UnresponsivePort() {
    for (const int client : clients_) ::close(client);
    ::close(listener_);
  }
  UnresponsivePort(const UnresponsivePort &) = delete;
  UnresponsivePort &operator=(const UnresponsivePort &) = delete;

  /// Fills the backlog, so that the next client cannot even connect.
  void fillBacklog() {
    for (int number = 0; number < 8; ++number) {
      const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
      // EINPROGRESS is expected.
      std::ignore = ::connect(client, reinterpret_cast<sockaddr *>(&address_), sizeof address_);
      clients_.push_back(client);
    }
  }
  std::string url() const {
    return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/";
  }

 private:
  const int listener_;
  sockaddr_in address_{};
  std::vector<int> clients_;
};

}  // namespace orvel
