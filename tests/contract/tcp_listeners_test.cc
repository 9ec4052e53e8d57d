// The contract of the listening TCP sockets. A socket is "own" if this process's user created it.

#include <gmock/gmock.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "base/file_handle.h"
#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A TCP socket that is bound to an IP address and an unused port, and does not listen yet.
class BoundSocket {
 public:
  explicit BoundSocket(const std::string &address) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *parsed = nullptr;
    if (::getaddrinfo(address.c_str(), "0", &hints, &parsed) != 0) {
      throw std::logic_error("not an IP address: " + address);
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(parsed, ::freeaddrinfo);
    socket_ = std::make_unique<FileHandle>(::socket(parsed->ai_family, SOCK_STREAM, 0));
    if (::bind(descriptor(), parsed->ai_addr, parsed->ai_addrlen) != 0) {
      throw std::runtime_error("cannot bind a socket to " + address);
    }
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    std::array<char, NI_MAXSERV> port{};
    auto *boundAddress = reinterpret_cast<sockaddr *>(&bound);
    if (::getsockname(descriptor(), boundAddress, &size) != 0 ||
        ::getnameinfo(boundAddress, size, nullptr, 0, port.data(), port.size(), NI_NUMERICSERV) !=
            0) {
      throw std::runtime_error("cannot determine the port of a socket");
    }
    port_ = std::stoi(port.data());
  }

  void listen() const {
    if (::listen(descriptor(), 1) != 0) throw std::runtime_error("cannot listen");
  }
  int port() const { return port_; }

 private:
  int descriptor() const { return socket_->descriptor(); }

  std::unique_ptr<FileHandle> socket_;
  int port_ = 0;
};

class TcpListenersContract : public ContractTest {
 protected:
  std::vector<TcpListener> onPort(int port) const {
    return platform->interfaces().listeners.onPort(port).value();
  }
  /// Listens on an address. Expects that the socket is reported with one of the given addresses.
  void expectReported(const std::string &address, const std::set<std::string> &reported) const {
    const BoundSocket socket(address);
    socket.listen();
    const auto listeners = onPort(socket.port());
    ASSERT_EQ(listeners.size(), 1U) << address;
    EXPECT_TRUE(reported.contains(listeners[0].address)) << address << ": " << listeners[0].address;
    EXPECT_TRUE(listeners[0].isOwn) << address;
  }
};

TEST_P(TcpListenersContract, Ipv4SocketIsReportedWithAddress) {
  for (const std::string address : {"127.0.0.1", "0.0.0.0"}) expectReported(address, {address});
}

TEST_P(TcpListenersContract, Ipv6SocketIsReportedWithAddress) {
  try {
    const BoundSocket loopback("::1");
  } catch (const std::runtime_error &error) {
    GTEST_SKIP() << "this machine has no IPv6: " << error.what();
  }
  for (const std::string address : {"::1", "::"}) expectReported(address, {address});
  // A platform may report an IPv4-mapped address as IPv6 or as IPv4.
  expectReported("::ffff:127.0.0.1", {"::ffff:127.0.0.1", "127.0.0.1"});
}

TEST_P(TcpListenersContract, SocketIsReportedOnItsPortWhileItListens) {
  const BoundSocket other("127.0.0.1");
  other.listen();
  auto socket = std::make_unique<BoundSocket>("127.0.0.1");
  const int port = socket->port();
  EXPECT_THAT(onPort(port), IsEmpty());
  socket->listen();
  EXPECT_THAT(onPort(port), ElementsAre(TcpListener{.address = "127.0.0.1", .isOwn = true}));
  socket.reset();
  EXPECT_THAT(onPort(port), IsEmpty());
}

TEST_P(TcpListenersContract, SocketOfAnotherUserIsNotOwn) {
  constexpr uid_t nobody = 65534;
  if (::getuid() != 0) GTEST_SKIP() << "needs root, to create a socket as another user";
  // A socket belongs to the effective user of the process at its creation.
  ASSERT_EQ(::seteuid(nobody), 0);
  const auto socket = std::make_unique<BoundSocket>("127.0.0.1");
  ASSERT_EQ(::seteuid(0), 0);
  socket->listen();
  EXPECT_THAT(onPort(socket->port()),
              ElementsAre(TcpListener{.address = "127.0.0.1", .isOwn = false}));
}

INSTANTIATE_ON_DESKTOP_PLATFORMS(TcpListenersContract);

}  // namespace
}  // namespace orvel
