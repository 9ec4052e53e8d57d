#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <tuple>
#include <vector>

namespace orvel {

/// A port on which connections are neither accepted nor refused.
class DeafPort {
 public:
  DeafPort() {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    auto *general = reinterpret_cast<sockaddr *>(&address_);
    if (::bind(listener_, general, size) != 0 || ::listen(listener_, 0) != 0) return;
    ::getsockname(listener_, general, &size);
  }
  ~DeafPort() {
    for (const int client : clients_) ::close(client);
    ::close(listener_);
  }
  DeafPort(const DeafPort &) = delete;
  DeafPort &operator=(const DeafPort &) = delete;

  /// Fills the queue of connections, so that the next one has to wait.
  void fill() {
    for (int number = 0; number < 8; ++number) {
      const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
      // Left in progress: all that counts is its place in the queue.
      std::ignore = ::connect(client, reinterpret_cast<sockaddr *>(&address_), sizeof address_);
      clients_.push_back(client);
    }
  }
  std::string url() const {
    return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/";
  }

 private:
  int listener_ = -1;
  sockaddr_in address_{};
  std::vector<int> clients_;
};

}  // namespace orvel
