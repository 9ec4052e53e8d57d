#include "platform/macos/http/sysctl_tcp_listeners.h"

#include <arpa/inet.h>
#include <sys/socketvar.h>
#include <sys/sysctl.h>
#include <sys/types.h>
#include <unistd.h>

// These headers use types of the ones above without including them.
#include <netinet/in_pcb.h>
#include <netinet/tcp_fsm.h>
#include <netinet/tcp_var.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

namespace orvel {

namespace {

/// Returns the list of TCP sockets, or nullopt when the system does not return one: mayReceiveKey,
/// which calls onPort(), then trusts any program on the port. Returns the empty text when sockets
/// are created faster than the list can be read: mayReceiveKey then trusts none.
std::optional<std::string> readSocketList() {
  constexpr const char *name = "net.inet.tcp.pcblist64";
  constexpr int maxAttempts = 5;
  std::string list;
  for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
    std::size_t size = 0;
    if (::sysctlbyname(name, nullptr, &size, nullptr, 0) != 0) return std::nullopt;
    // Room for sockets that are created before the second call, which fails with ENOMEM when the
    // list does not fit (sysctl(3)).
    size *= static_cast<std::size_t>(attempt) + 1;
    list.assign(size, '\0');
    if (::sysctlbyname(name, list.data(), &size, nullptr, 0) == 0) {
      list.resize(size);
      return list;
    }
    if (errno != ENOMEM) return std::nullopt;
  }
  return "";
}

std::string localAddress(const xinpcb64 &socket) {
  // A socket for both protocols, which has both flags, has an IPv6 address.
  const bool isIpv6 = (socket.inp_vflag & INP_IPV6) != 0;
  const in6_addr ipv6 = socket.inp_dependladdr.inp6_local;
  const in_addr ipv4 = socket.inp_dependladdr.inp46_local.ia46_addr4;
  const void *address = &ipv4;
  if (isIpv6) address = &ipv6;
  std::array<char, INET6_ADDRSTRLEN> text{};
  ::inet_ntop(isIpv6 ? AF_INET6 : AF_INET, address, text.data(), text.size());
  return text.data();
}

}  // namespace

std::optional<std::vector<TcpListener>> SysctlTcpListeners::onPort(int port) const {
  std::vector<TcpListener> listeners;
  const auto list = readSocketList();
  if (!list) return std::nullopt;
  // The list begins and ends with an xinpgen. Each entry begins with its size.
  std::size_t size = sizeof(xinpgen);
  for (std::size_t at = size; at + sizeof(xtcpcb64) <= list->size(); at += size) {
    xtcpcb64 entry{};
    std::memcpy(&entry, list->data() + at, sizeof entry);
    // Another version of macOS may have another layout.
    if (entry.xt_len < sizeof entry) return std::nullopt;
    size = entry.xt_len;
    const xinpcb64 &socket = entry.xt_inpcb;
    if (entry.t_state != TCPS_LISTEN || ntohs(socket.inp_lport) != port) continue;
    listeners.push_back(
        {.address = localAddress(socket), .isOwn = socket.xi_socket.so_uid == ::getuid()});
  }
  return listeners;
}

}  // namespace orvel
