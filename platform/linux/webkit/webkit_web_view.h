#pragma once

#include <webkit/webkit.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/webkit/webkit_authentication.h"
#include "platform/linux/webkit/webkit_cookie_store.h"
#include "platform/linux/webkit/webkit_navigation.h"
#include "platform/linux/webkit/webkit_printing.h"
#include "platform/web_view.h"
#include "platform/window.h"

namespace orvel {

/// The folders and the renderer of a web view.
struct WebViewEnvironment {
  /// The folder for cookies and website data; it need not exist.
  std::string dataFolder;
  /// The folder for caches and for the content filters of WebKitFrameProbe; it need not exist.
  std::string cacheFolder;
  /// Whether WebKit may render with the GPU.
  bool accelerated = false;
};

/// A web view of WebKitGTK, whose web processes run in WebKit's sandbox. Main thread only.
class WebKitPageView final : public WebView {
 public:
  WebKitPageView(const WebViewConfiguration &configuration, const WebViewEnvironment &environment,
                 WebViewDelegate &delegate);
  ~WebKitPageView() override;
  WebKitPageView(const WebKitPageView &) = delete;
  WebKitPageView &operator=(const WebKitPageView &) = delete;

  /// Ignores the request's timeout, because WebKitGTK has none.
  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override;
  CookieStore &cookieStore() override { return cookies_; }

  /// Returns the widget that shows the page.
  GtkWidget *widget() const { return GTK_WIDGET(view_.get()); }
  /// Sets the colour where the page paints nothing, and until the page paints. No effect when
  /// the configuration makes the view draw its own background.
  void setColorBehind(const Color &color);

  /// Carries out an editing command, by WebKit's name, in the focused web view, such as the
  /// inspector, else in the page. Both widgets may be null.
  static void edit(const char *command, GtkWidget *focus, GtkWidget *page);

 private:
  void processTerminated(WebKitWebProcessTerminationReason reason);
  void loadChanged(WebKitLoadEvent event);
  void loadFailed(const GError *error);
  void endUnresponsiveProcess();

  const bool drawsBackground_;
  WebViewDelegate &delegate_;
  const GObjectPointer<WebKitNetworkSession> session_;
  const GObjectPointer<WebKitWebView> view_;
  SignalConnection loadFailed_;
  WebKitCookieStore cookies_;
  WebKitNavigation navigation_;
  WebKitPrinting printing_;
  WebKitAuthentication authentication_;
  /// The HTML of the last `loadHtml`, while it is shown or loading; else empty.
  std::string html_;
  /// Whether the view shows that HTML.
  bool isHtmlShown_ = false;
  /// The last request, until its load is committed or fails.
  std::optional<UrlRequest> pendingRequest_;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
