#include "tests/support/loopback_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace orvel {

namespace {

sockaddr_in loopbackAddress(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int newSocket() {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
  if (descriptor >= 0) ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
}

/// Returns a socket that is bound to an unused port of 127.0.0.1, and the port.
std::pair<int, int> boundSocket() {
  const int descriptor = newSocket();
  sockaddr_in address = loopbackAddress(0);
  socklen_t size = sizeof address;
  auto *genericAddress = reinterpret_cast<sockaddr *>(&address);
  if (descriptor < 0 || ::bind(descriptor, genericAddress, size) != 0 ||
      ::getsockname(descriptor, genericAddress, &size) != 0) {
    throw std::runtime_error("no loopback socket");
  }
  return {descriptor, ntohs(address.sin_port)};
}

}  // namespace

LoopbackConnection::~LoopbackConnection() { ::close(descriptor_); }

std::string LoopbackConnection::readHead() {
  std::string head;
  char byte = 0;
  while (!head.ends_with("\r\n\r\n") && ::recv(descriptor_, &byte, 1, 0) == 1) head += byte;
  return head;
}

bool LoopbackConnection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool LoopbackConnection::sendSlowly(std::string_view bytes, std::chrono::milliseconds pause) {
  return std::all_of(bytes.begin(), bytes.end(), [&](const char &byte) {
    const bool sent = send({&byte, 1});
    std::this_thread::sleep_for(pause);
    return sent;
  });
}

void LoopbackConnection::shutDownSending() { ::shutdown(descriptor_, SHUT_WR); }

void LoopbackConnection::resetOnClose() {
  const linger immediately{.l_onoff = 1, .l_linger = 0};
  ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
}

void LoopbackConnection::waitForClose() {
  std::array<char, 4096> ignored;
  while (::recv(descriptor_, ignored.data(), ignored.size(), 0) > 0) {
  }
}

LoopbackServer::LoopbackServer(Handler handler) : handler_(std::move(handler)) {
  std::tie(listener_, port_) = boundSocket();
  // A long backlog, so that no client waits: the kernel drops connection requests beyond it, which
  // clients repeat only after a second.
  if (::listen(listener_, 1024) != 0) throw std::runtime_error("no loopback listener");
  acceptor_ = std::thread([this] { accept(); });
}

LoopbackServer::~LoopbackServer() {
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    for (const int descriptor : open_) ::shutdown(descriptor, SHUT_RDWR);
  }
  // On macOS, shutdown() of a listening socket does not end a blocking accept(), so a
  // connection ends it.
  const int client = newSocket();
  const sockaddr_in address = loopbackAddress(port_);
  [[maybe_unused]] const int connected =
      ::connect(client, reinterpret_cast<const sockaddr *>(&address), sizeof address);
  acceptor_.join();
  ::close(client);
  ::close(listener_);
  for (std::thread &handler : handlers_) handler.join();
}

std::string LoopbackServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

std::vector<std::string> LoopbackServer::heads() const {
  const std::lock_guard lock(mutex_);
  return heads_;
}

void LoopbackServer::accept() {
  for (;;) {
    const int descriptor = ::accept(listener_, nullptr, nullptr);
    if (descriptor < 0) return;
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    const std::lock_guard lock(mutex_);
    if (closing_) {
      ::close(descriptor);
      return;
    }
    open_.push_back(descriptor);
    handlers_.emplace_back([this, descriptor] { serve(descriptor); });
  }
}

void LoopbackServer::serve(int descriptor) {
  const auto connection = std::make_unique<LoopbackConnection>(descriptor);
  const std::string head = connection->readHead();
  if (!head.empty()) {
    {
      const std::lock_guard lock(mutex_);
      heads_.push_back(head);
    }
    handler_(*connection, head);
  }
  // Erased before `connection` closes the descriptor, because the kernel may reuse its number at
  // once.
  const std::lock_guard lock(mutex_);
  std::erase(open_, descriptor);
}

LoopbackServer::Handler respondWith(std::string bytes) {
  return [bytes = std::move(bytes)](LoopbackConnection &client, const std::string & /*head*/) {
    client.send(bytes);
  };
}

LoopbackServer::Handler stallAfter(std::string bytes) {
  return [bytes = std::move(bytes)](LoopbackConnection &client, const std::string & /*head*/) {
    client.send(bytes);
    client.waitForClose();
  };
}

std::string refusedUrl(std::string_view path) {
  const auto [descriptor, port] = boundSocket();
  ::close(descriptor);
  return "http://127.0.0.1:" + std::to_string(port) + std::string(path);
}

std::string unresponsiveUrl() {
  const auto [listener, port] = boundSocket();
  ::listen(listener, 0);
  const sockaddr_in address = loopbackAddress(port);
  // A kernel queues a few connections more than the backlog.
  for (int clients = 0; clients < 8; ++clients) {
    const int client = newSocket();
    ::fcntl(client, F_SETFL, O_NONBLOCK);
    // Fails with EINPROGRESS, because the socket does not block.
    std::ignore = ::connect(client, reinterpret_cast<const sockaddr *>(&address), sizeof address);
  }
  return "http://127.0.0.1:" + std::to_string(port) + "/";
}

std::string headerField(const std::string &head, std::string_view name) {
  const std::string start = "\r\n" + std::string(name) + ":";
  const auto at = head.find(start);
  if (at == std::string::npos) return "(absent)";
  const auto value = at + start.size();
  return head.substr(value, head.find("\r\n", value) - value);
}

std::string response(std::string_view status, std::string_view body, std::string_view fields) {
  return "HTTP/1.1 " + std::string(status) + "\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\n" + std::string(fields) + "\r\n" + std::string(body);
}

std::string okResponse(std::string_view body, std::string_view fields) {
  return response("200 OK", body, fields);
}

std::string redirectTo(std::string_view location, std::string_view status) {
  return response(status, "moved", "Location: " + std::string(location) + "\r\n");
}

}  // namespace orvel
