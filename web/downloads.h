#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/web_view.h"

namespace orvel {

/// The value of the "Cookie" field for a request to a host: the cookies whose
/// domain, without full stops at its ends, the host ends with, in their order.
/// Looser than a browser: neither whole labels nor path, scheme and expiry
/// count. Leaves out a cookie that contains a control character other than a tab,
/// because the HTTP library or the server would reject the whole field (RFC 9110,
/// 5.5). Empty when no cookie matches, and for an empty host.
std::string cookieHeader(const std::vector<Cookie> &cookies, std::string_view host);

}  // namespace orvel
