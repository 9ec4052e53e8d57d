#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace orvel {

/// The server's side of a connection, as a raw byte stream.
class LoopbackConnection {
 public:
  /// Takes ownership of the descriptor.
  explicit LoopbackConnection(int descriptor) : descriptor_(descriptor) {}
  ~LoopbackConnection();
  LoopbackConnection(const LoopbackConnection &) = delete;
  LoopbackConnection &operator=(const LoopbackConnection &) = delete;

  /// Reads the head of a request including the empty line, or less when the client disconnects.
  std::string readHead();
  /// Sends bytes. Returns false when the client has disconnected.
  bool send(std::string_view bytes);
  /// Sends one byte at a time with a pause after each. Returns false when the client has
  /// disconnected.
  bool sendSlowly(std::string_view bytes, std::chrono::milliseconds pause);
  /// Closes the sending direction; the client reads the end of the stream.
  void shutDownSending();
  /// Makes the destructor end the connection with a reset (RST) instead of an orderly close.
  void resetOnClose();
  /// Waits until the client has closed the connection.
  void waitForClose();

 private:
  int descriptor_;
};

/// An HTTP server on an unused port of 127.0.0.1. Each connection has a thread and serves one
/// request. It is closed when the handler returns.
class LoopbackServer {
 public:
  /// Handles a request on the connection's thread. The server has already read its head.
  using Handler = std::function<void(LoopbackConnection &, const std::string &head)>;

  explicit LoopbackServer(Handler handler);
  /// Shuts open connections down and waits for the handlers.
  ~LoopbackServer();

  int port() const { return port_; }
  /// Returns "http://127.0.0.1:" followed by the port and the path.
  std::string url(std::string_view path = "/") const;
  /// Returns the heads of the requests in the order of their arrival.
  std::vector<std::string> heads() const;

 private:
  void accept();
  void serve(int descriptor);

  const Handler handler_;
  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  bool closing_ = false;
  std::vector<std::string> heads_;
  /// The descriptors of open connections.
  std::vector<int> open_;
  std::vector<std::thread> handlers_;
  std::thread acceptor_;
};

/// Returns a handler that sends the same bytes to every request.
LoopbackServer::Handler respondWith(std::string bytes);
/// Returns a handler that sends the bytes and waits until the client closes the connection.
LoopbackServer::Handler stallAfter(std::string bytes);

/// Returns a URL with a port of 127.0.0.1 that refuses connections.
std::string refusedUrl(std::string_view path = "/");
/// Returns a URL with a port of 127.0.0.1 that neither accepts nor refuses connections, because
/// the backlog of its listener is full. Its sockets stay open until the process ends.
std::string unresponsiveUrl();

/// Returns the value of a field in a head: the bytes between the colon and the line
/// break, or "(absent)".
std::string headerField(const std::string &head, std::string_view name);

/// Returns a response with a status such as "200 OK", a Content-Length and additional header
/// fields, each of which ends with CRLF.
std::string response(std::string_view status, std::string_view body, std::string_view fields = "");
std::string okResponse(std::string_view body = "", std::string_view fields = "");
std::string redirectTo(std::string_view location, std::string_view status = "302 Found");

}  // namespace orvel
