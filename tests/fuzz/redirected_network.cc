#include "tests/fuzz/scripted_server.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <thread>
#include <utility>

#include "tests/fuzz/fuzz_target.h"

namespace {

template <class Function>
Function *original(const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// LeakSanitizer stops all threads, which fails while a thread is ending.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options() {
  return "detect_leaks=0";
}

// Replaces the function of the C library.
extern "C" __attribute__((visibility("default"))) int connect(int descriptor,
                                                              const sockaddr *address,
                                                              socklen_t size) {
  static auto *const originalConnect = original<decltype(connect)>("connect");
  const auto port = htons(static_cast<in_port_t>(orvel::fuzz::ScriptedServer::instance().port()));
  if (address->sa_family == AF_INET) {
    sockaddr_in here{};
    here.sin_family = AF_INET;
    here.sin_port = port;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return originalConnect(descriptor, reinterpret_cast<const sockaddr *>(&here), sizeof here);
  }
  if (address->sa_family == AF_INET6) {
    sockaddr_in6 here{};
    here.sin6_family = AF_INET6;
    here.sin6_port = port;
    ::inet_pton(AF_INET6, "::ffff:127.0.0.1", &here.sin6_addr);
    return originalConnect(descriptor, reinterpret_cast<const sockaddr *>(&here), sizeof here);
  }
  return originalConnect(descriptor, address, size);
}

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char *name,
                                                                  const char *service,
                                                                  const addrinfo *hints,
                                                                  addrinfo **found) {
  static auto *const resolve = original<decltype(getaddrinfo)>("getaddrinfo");
  if (hints != nullptr && hints->ai_family == AF_INET6) return EAI_NONAME;
  // AI_ADDRCONFIG would fail on a machine without a network.
  addrinfo wanted = hints != nullptr ? *hints : addrinfo{};
  wanted.ai_flags &= ~AI_ADDRCONFIG;
  return resolve(name != nullptr ? "127.0.0.1" : nullptr, service, &wanted, found);
}

namespace orvel::fuzz {

namespace {

/// Reads up to and including the empty line, or less when the bytes are not HTTP.
std::string readHead(int descriptor) {
  std::string head;
  char byte = 0;
  while (!head.ends_with("\r\n\r\n") && ::recv(descriptor, &byte, 1, 0) == 1) {
    head += byte;
    if (std::isupper(static_cast<unsigned char>(head.front())) == 0) break;
  }
  return head;
}

void send(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

ScriptedServer &ScriptedServer::instance() {
  // Never destroyed, because its thread runs until the process ends.
  static auto *const server = new ScriptedServer;
  return *server;
}

ScriptedServer::ScriptedServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto *general = reinterpret_cast<sockaddr *>(&address);
  require(::bind(listener_, general, size) == 0 && ::listen(listener_, 64) == 0 &&
              ::getsockname(listener_, general, &size) == 0,
          "the server has a port");
  port_ = ntohs(address.sin_port);
  std::thread([this] { serve(); }).detach();
}

void ScriptedServer::respondWith(std::vector<std::string> responses) {
  const std::lock_guard lock(mutex_);
  responses_ = std::move(responses);
  next_ = 0;
  heads_.clear();
}

std::vector<std::string> ScriptedServer::heads() const {
  const std::lock_guard lock(mutex_);
  return heads_;
}

void ScriptedServer::serve() {
  for (;;) {
    const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) continue;
    std::string head = readHead(descriptor);
    std::string response;
    {
      const std::lock_guard lock(mutex_);
      if (next_ < responses_.size()) response = responses_[next_++];
      heads_.push_back(std::move(head));
    }
    send(descriptor, response);
    ::close(descriptor);
  }
}

}  // namespace orvel::fuzz
