#include "platform/linux/http/proc_tcp_listeners.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>

namespace orvel {

namespace {

/// TCP_LISTEN in the kernel's include/net/tcp_states.h.
constexpr const char *listeningState = "0A";

/// Converts an address from hexadecimal digits to the form of inet_ntop(3). The kernel prints
/// each 32-bit word of an address as a number in the byte order of the processor.
std::string addressFromHexadecimal(const std::string &digits) {
  constexpr std::size_t digitsInWord = 8;
  constexpr int hexadecimal = 16;
  in6_addr bytes{};
  for (std::size_t at = 0; at < digits.size() && at < 2 * sizeof bytes; at += digitsInWord) {
    const auto word = static_cast<std::uint32_t>(
        std::stoul(digits.substr(at, digitsInWord), nullptr, hexadecimal));
    std::memcpy(&bytes.s6_addr[at / 2], &word, sizeof word);
  }
  std::array<char, INET6_ADDRSTRLEN> text{};
  ::inet_ntop(digits.size() > digitsInWord ? AF_INET6 : AF_INET, &bytes, text.data(), text.size());
  return text.data();
}

/// Returns the port as the kernel prints it after an address.
std::string portSuffix(int port) {
  std::ostringstream suffix;
  suffix << ':' << std::hex << std::uppercase;
  suffix.width(4);
  suffix.fill('0');
  suffix << port;
  return suffix.str();
}

}  // namespace

std::optional<std::vector<TcpListener>> ProcTcpListeners::onPort(int port) const {
  std::vector<TcpListener> listeners;
  const std::string suffix = portSuffix(port);
  bool hasTable = false;
  for (const char *path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream table(path);
    if (!table.is_open()) {
      // The second file is missing on a system without IPv6. Any other error, such as EMFILE,
      // may hide a listener of another user. With an empty list, unlike nullopt, the caller sends
      // the app key, a secret, to no program on the port.
      if (errno != ENOENT) return std::vector<TcpListener>();
      continue;
    }
    hasTable = true;
    for (std::string line; std::getline(table, line);) {
      // Skips most lines before the slower parsing: those of sockets with other ports.
      if (line.find(suffix) == std::string::npos) continue;
      std::istringstream fields(line);
      std::string number, local, remote, state, queues, timer, retransmits;
      uid_t user = 0;
      fields >> number >> local >> remote >> state >> queues >> timer >> retransmits >> user;
      if (!fields || state != listeningState || !local.ends_with(suffix)) continue;
      listeners.push_back(
          {.address = addressFromHexadecimal(local.substr(0, local.size() - suffix.size())),
           .isOwn = user == ::getuid()});
    }
  }
  if (!hasTable) return std::nullopt;
  return listeners;
}

}  // namespace orvel
