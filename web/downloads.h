#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/file_move.h"
#include "platform/web_view.h"

namespace orvel {

/// Returns the value of the "Cookie" field for a request to a host, or the empty text
/// when no cookie matches or the host is empty. A cookie matches when its domain, without leading
/// and trailing full stops, is the end of the host. Unlike a browser, ignores label boundaries
/// ("a.test" matches "xa.test"), path, scheme and expiry. Keeps the order of the cookies. Leaves
/// out a cookie that contains a control character other than a tab, because the HTTP library or the
/// server would reject the whole field (RFC 9110, 5.5).
std::string cookieHeader(const std::vector<Cookie> &cookies, std::string_view host);

using MoveFunction = std::function<MoveResult(const std::string &from, const std::string &to)>;

/// Moves `file` into `folder` as `name` or, when that name is taken, under the first free
/// numbered name. Returns the path, which does not exist when the move failed. `move` is
/// `moveFile`, except in tests. Any thread; may block on the disk.
std::string moveToFreeName(const std::string &file, const std::string &folder,
                           const std::string &name, const MoveFunction &move);

}  // namespace orvel
