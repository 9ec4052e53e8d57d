#include "tests/fuzz/redirected_network.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>

namespace {

std::atomic<in_port_t> redirectedPort;

/// Returns the function of the C library that a function of this file replaces.
template <class Function>
Function *original(const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

void orvel::fuzz::redirectConnectionsTo(int port) { redirectedPort = static_cast<in_port_t>(port); }

// This function and the next one are visible, so that the shared libraries call them.
extern "C" __attribute__((visibility("default"))) int connect(int descriptor,
                                                              const sockaddr *address,
                                                              socklen_t size) {
  static auto *const originalConnect = original<decltype(connect)>("connect");
  const in_port_t port = htons(redirectedPort);
  if (address->sa_family == AF_INET) {
    sockaddr_in loopback{};
    loopback.sin_family = AF_INET;
    loopback.sin_port = port;
    loopback.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return originalConnect(descriptor, reinterpret_cast<const sockaddr *>(&loopback),
                           sizeof loopback);
  }
  if (address->sa_family == AF_INET6) {
    sockaddr_in6 loopback{};
    loopback.sin6_family = AF_INET6;
    loopback.sin6_port = port;
    ::inet_pton(AF_INET6, "::ffff:127.0.0.1", &loopback.sin6_addr);
    return originalConnect(descriptor, reinterpret_cast<const sockaddr *>(&loopback),
                           sizeof loopback);
  }
  return originalConnect(descriptor, address, size);
}

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char *name,
                                                                  const char *service,
                                                                  const addrinfo *hints,
                                                                  addrinfo **found) {
  static auto *const resolve = original<decltype(getaddrinfo)>("getaddrinfo");
  // The address below is IPv4.
  if (hints != nullptr && hints->ai_family == AF_INET6) return EAI_NONAME;
  // AI_ADDRCONFIG would fail on a machine without a network.
  addrinfo wanted = hints != nullptr ? *hints : addrinfo{};
  wanted.ai_flags &= ~AI_ADDRCONFIG;
  return resolve(name != nullptr ? "127.0.0.1" : nullptr, service, &wanted, found);
}
