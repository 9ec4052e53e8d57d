#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace orvel::fuzz {

/// A server that receives every connection of its process: it replaces connect() and
/// getaddrinfo(), so that every host name resolves and every address leads here. Requests
/// to other hosts can be inspected, and nothing leaves the machine.
class ScriptedServer {
 public:
  /// Returns the instance of the process, which is never destroyed.
  static ScriptedServer &instance();

  /// Scripts the next connections: each receives one of these responses and is closed. When
  /// none is left, connections are closed without a response.
  void respondWith(std::vector<std::string> responses);
  /// Returns the heads of the requests since then.
  std::vector<std::string> heads() const;
  int port() const { return port_; }

 private:
  ScriptedServer();
  [[noreturn]] void serve();

  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> responses_;
  std::size_t next_ = 0;
  std::vector<std::string> heads_;
};

}  // namespace orvel::fuzz
