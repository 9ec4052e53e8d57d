#include "platform/linux/webkit/webkit_cookie_store.h"

#include <libsoup/soup.h>

#include <memory>
#include <utility>

#include "platform/linux/glib/async_callback.h"

namespace orvel {

namespace {

using Seconds = std::chrono::seconds;

struct CookieRelease {
  void operator()(SoupCookie *cookie) const { soup_cookie_free(cookie); }
};
using CookiePointer = std::unique_ptr<SoupCookie, CookieRelease>;

// libsoup's value for a cookie that ends with the session.
constexpr int sessionMaxAge = -1;

CookiePointer toSoup(const Cookie &cookie) {
  CookiePointer result(soup_cookie_new(cookie.name.c_str(), cookie.value.c_str(),
                                       cookie.domain.c_str(), cookie.path.c_str(), sessionMaxAge));
  soup_cookie_set_secure(result.get(), cookie.secure);
  if (cookie.expires) {
    const auto seconds = std::chrono::floor<Seconds>(cookie.expires->time_since_epoch());
    GDateTime *expires = g_date_time_new_from_unix_utc(seconds.count());
    soup_cookie_set_expires(result.get(), expires);
    g_date_time_unref(expires);
  }
  return result;
}

std::string textOrEmpty(const char *value) { return value != nullptr ? value : ""; }

Cookie fromSoup(SoupCookie *cookie) {
  Cookie result;
  result.name = textOrEmpty(soup_cookie_get_name(cookie));
  result.value = textOrEmpty(soup_cookie_get_value(cookie));
  result.domain = textOrEmpty(soup_cookie_get_domain(cookie));
  result.path = textOrEmpty(soup_cookie_get_path(cookie));
  result.secure = soup_cookie_get_secure(cookie) != FALSE;
  if (GDateTime *expires = soup_cookie_get_expires(cookie)) {
    result.expires = std::chrono::system_clock::time_point(Seconds(g_date_time_to_unix(expires)));
  }
  return result;
}

std::vector<Cookie> finishGetAllCookies(WebKitCookieManager *manager, GAsyncResult *result) {
  GList *list = webkit_cookie_manager_get_all_cookies_finish(manager, result, nullptr);
  std::vector<Cookie> cookies;
  for (const GList *link = list; link != nullptr; link = link->next) {
    const CookiePointer cookie(static_cast<SoupCookie *>(link->data));
    cookies.push_back(fromSoup(cookie.get()));
  }
  g_list_free(list);
  return cookies;
}

}  // namespace

void WebKitCookieStore::set(const Cookie &cookie, std::function<void()> completion) {
  webkit_cookie_manager_add_cookie(manager_.get(), toSoup(cookie).get(), nullptr, callAsyncFunction,
                                   asyncFunctionData([completion = std::move(completion)](
                                                         GObject *manager, GAsyncResult *result) {
                                     webkit_cookie_manager_add_cookie_finish(
                                         WEBKIT_COOKIE_MANAGER(manager), result, nullptr);
                                     completion();
                                   }));
}

void WebKitCookieStore::all(std::function<void(std::vector<Cookie>)> completion) {
  webkit_cookie_manager_get_all_cookies(
      manager_.get(), nullptr, callAsyncFunction,
      asyncFunctionData(
          [completion = std::move(completion)](GObject *manager, GAsyncResult *result) {
            completion(finishGetAllCookies(WEBKIT_COOKIE_MANAGER(manager), result));
          }));
}

}  // namespace orvel
