#pragma once

#include <webkit/webkit.h>

#include <optional>
#include <string>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/webkit/webkit_authentication.h"
#include "platform/linux/webkit/webkit_cookie_store.h"
#include "platform/linux/webkit/webkit_navigation.h"
#include "platform/linux/webkit/webkit_printing.h"
#include "platform/menu_bar.h"
#include "platform/web_view.h"
#include "platform/window.h"

namespace orvel {

/// Where a web view keeps what outlives the process, and how it draws.
struct WebViewEnvironment {
  /// Folders that need not exist.
  std::string dataFolder;
  std::string cacheFolder;
  bool accelerated = false;
};

/// A page shown by WebKitGTK, whose processes run in its sandbox.
class WebKitPageView final : public WebView {
 public:
  WebKitPageView(const WebViewConfiguration &configuration, const WebViewEnvironment &environment,
                 WebViewDelegate &delegate);
  ~WebKitPageView() override;
  WebKitPageView(const WebKitPageView &) = delete;
  WebKitPageView &operator=(const WebKitPageView &) = delete;

  /// WebKitGTK knows no time-out: the request's has no effect here.
  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override;
  CookieStore &cookieStore() override { return cookies_; }

  GtkWidget *widget() const { return GTK_WIDGET(view_.get()); }
  /// What shows wherever a page paints nothing, and before it paints at all;
  /// without effect for a view that draws a background of its own.
  void setColorBehind(const Color &color);

  /// Carries out an editing command of the menu bar in the focused web view, such as the
  /// inspector, else in the page. `focus` may be null.
  static void edit(MenuAction action, GtkWidget *focus, GtkWidget *page);

 private:
  void processTerminated(WebKitWebProcessTerminationReason reason);
  void loadChanged(WebKitLoadEvent event);
  void loadFailed(const GError *error);
  void endUnresponsiveProcess();

  const bool drawsBackground_;
  WebViewDelegate &delegate_;
  const GObjectPointer<WebKitNetworkSession> session_;
  const GObjectPointer<WebKitWebView> view_;
  const gulong loadFailed_;
  WebKitCookieStore cookies_;
  WebKitNavigation navigation_;
  WebKitPrinting printing_;
  WebKitAuthentication authentication_;
  /// The page that was given as text, while that is what is shown or on its way.
  std::string html_;
  bool isHtmlShown_ = false;
  /// What was to be loaded last, until it is there.
  std::optional<UrlRequest> awaited_;
};

}  // namespace orvel
