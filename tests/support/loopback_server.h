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

/// One connection of a client to a LoopbackServer. Bytes as they are: what a
/// test sends is the answer, what it reads is the request.
class LoopbackConnection {
 public:
  /// Takes the descriptor over.
  explicit LoopbackConnection(int descriptor) : descriptor_(descriptor) {}
  ~LoopbackConnection();
  LoopbackConnection(const LoopbackConnection &) = delete;
  LoopbackConnection &operator=(const LoopbackConnection &) = delete;

  /// The request up to and with the empty line; less when the client leaves.
  std::string readHead();
  /// False when the client has left.
  bool send(std::string_view bytes);
  /// The same, one byte at a time, with a pause after each.
  bool dribble(std::string_view bytes, std::chrono::milliseconds pause);
  /// Sends no more; the client sees the end of the stream.
  void finish();
  /// Drops the connection, so that the client sees an error (RST).
  void reset();
  /// Waits until the client has closed its side.
  void waitForClient();

 private:
  int descriptor_;
};

/// A server on a port of its own at 127.0.0.1. Each connection is answered on a
/// thread of its own.
class LoopbackServer {
 public:
  /// Given the head of the request, which it has not to read any more.
  using Handler = std::function<void(LoopbackConnection &, const std::string &head)>;

  explicit LoopbackServer(Handler handler);
  /// Waits for the handlers; connections that are open are shut down first.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer &) = delete;
  LoopbackServer &operator=(const LoopbackServer &) = delete;

  int port() const { return port_; }
  /// "http://127.0.0.1:" with the port and the path.
  std::string url(std::string_view path = "/") const;
  /// The heads of the requests, in the order in which they came.
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
  std::vector<int> open_;
  std::vector<std::thread> handlers_;
  std::thread acceptor_;
};

/// A port at 127.0.0.1 on which nobody listens.
int unusedPort();

/// The value of a field in a head, as its bytes stand after the colon and up to
/// the line break; "(absent)" when there is none.
std::string fieldIn(const std::string &head, std::string_view name);

/// A whole answer with a status line such as "200 OK" and the body's length.
std::string answer(std::string_view status, std::string_view body,
                   std::string_view furtherFields = "");

/// An answer that sends the client elsewhere.
std::string redirection(std::string_view location, std::string_view status = "302 Found");

}  // namespace orvel
