#pragma once

#include <string_view>

#include "base/url.h"
#include "platform/tcp_listeners.h"

namespace orvel {

/// Returns whether a server address is on this machine: whether it begins with
/// "http://127.0.0.1:" or "http://localhost:". Case-sensitive. Any thread.
bool isLocalAddress(std::string_view address);

/// Returns whether the app key may be sent to a URL. Always true for a URL that is not local. A
/// local one may get the key only when a program of this user, and none of another user, listens on
/// the port: another user's program may listen there first and read the key. For "localhost" that
/// applies to IPv4 and IPv6, because a client may choose either. Every local URL may get the key
/// when the system does not report the listeners. Any thread.
bool mayReceiveKey(const Url &url, const TcpListeners &listeners);

/// Returns the text without leading and trailing spaces and tabs. Keeps line breaks.
std::string_view trimSpacesAndTabs(std::string_view text);

/// Returns whether a text is a valid address for the OS server: a URL with the scheme
/// "http" or "https" in lower case.
bool isServerAddress(std::string_view text);

}  // namespace orvel
