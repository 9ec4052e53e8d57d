#include "platform/linux/webkit/webkit_web_view.h"

#include <libsoup/soup.h>

#include "platform/linux/webkit/user_agent.h"

namespace orvel {

namespace {

GObjectPointer<WebKitNetworkSession> makeSession(bool persistent,
                                                 const WebViewEnvironment &environment) {
  if (!persistent) return adopt(webkit_network_session_new_ephemeral());
  auto session = adopt(
      webkit_network_session_new(environment.dataFolder.c_str(), environment.cacheFolder.c_str()));
  const std::string file = environment.dataFolder + "/cookies.sqlite";
  webkit_cookie_manager_set_persistent_storage(
      webkit_network_session_get_cookie_manager(session.get()), file.c_str(),
      WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);
  return session;
}

GObjectPointer<WebKitSettings> makeSettings(const WebViewConfiguration &configuration,
                                            bool accelerated) {
  auto settings = adopt(webkit_settings_new());
  appendToUserAgent(settings.get(), configuration.applicationNameForUserAgent);
  webkit_settings_set_enable_developer_extras(
      settings.get(), configuration.developerExtrasEnabled || configuration.inspectable);
  // As by default on macOS, a script may open a window without a click.
  webkit_settings_set_javascript_can_open_windows_automatically(settings.get(), TRUE);
  if (!accelerated) {
    webkit_settings_set_hardware_acceleration_policy(settings.get(),
                                                     WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
  }
  return settings;
}

GObjectPointer<WebKitWebView> makeView(WebKitNetworkSession *session, WebKitSettings *settings) {
  return retain(WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", session,
                                             "settings", settings, nullptr)));
}

/// Stops F7 from hiding the cursor of the hidden GtkTextView in which WebKit composes
/// input. GTK 4.8 aborts at the next blink of a cursor that was hidden. The page still
/// receives the key.
void disableCaretToggle(WebKitWebView *view) {
  for (GtkWidget *child = gtk_widget_get_first_child(GTK_WIDGET(view)); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (!GTK_IS_TEXT_VIEW(child)) continue;
    // GTK's own handler is G_SIGNAL_RUN_LAST, so stopping the emission skips it.
    g_signal_connect(child, "toggle-cursor-visible", G_CALLBACK(+[](GtkTextView *text) {
                       g_signal_stop_emission_by_name(text, "toggle-cursor-visible");
                     }),
                     nullptr);
  }
}

}  // namespace

WebKitPageView::WebKitPageView(const WebViewConfiguration &configuration,
                               const WebViewEnvironment &environment, WebViewDelegate &delegate)
    : drawsBackground_(configuration.drawsBackground),
      delegate_(delegate),
      session_(makeSession(configuration.persistentDataStore, environment)),
      view_(makeView(session_.get(), makeSettings(configuration, environment.accelerated).get())),
      // Connected before navigation_, whose handler stops the emission.
      loadFailed_(
          view_.get(), "load-failed", this,
          +[](WebKitPageView *page, WebKitLoadEvent, const char *, GError *error) {
            page->loadFailed(error);
            return gboolean{FALSE};
          }),
      cookies_(webkit_network_session_get_cookie_manager(session_.get())),
      navigation_(view_.get(), environment.cacheFolder, delegate),
      printing_(view_.get()),
      authentication_(view_.get()) {
  disableCaretToggle(view_.get());
  connections_.emplace_back(
      view_.get(), "web-process-terminated", this,
      +[](WebKitPageView *page, WebKitWebProcessTerminationReason reason) {
        page->processTerminated(reason);
      });
  connections_.emplace_back(
      view_.get(), "load-changed", this,
      +[](WebKitPageView *page, WebKitLoadEvent event) { page->loadChanged(event); });
  // Suppresses WebKit's error page, so the view keeps its page.
  g_signal_connect(view_.get(), "load-failed-with-tls-errors",
                   G_CALLBACK(+[] { return gboolean{TRUE}; }), nullptr);
  // Runs an empty script, which starts the web process now, because the process takes longer to
  // start than the window.
  webkit_web_view_evaluate_javascript(view_.get(), "", -1, nullptr, nullptr, nullptr, nullptr,
                                      nullptr);
}

WebKitPageView::~WebKitPageView() {
  // Disconnected before navigation_ is destroyed: its destructor answers pending decisions, which
  // may emit "load-failed".
  loadFailed_ = SignalConnection();
}

void WebKitPageView::load(const UrlRequest &request) {
  endUnresponsiveProcess();
  const auto webKitRequest = adopt(webkit_uri_request_new(request.url.absoluteString.c_str()));
  if (SoupMessageHeaders *headers = webkit_uri_request_get_http_headers(webKitRequest.get())) {
    for (const auto &[name, value] : request.headers) {
      soup_message_headers_replace(headers, name.c_str(), value.c_str());
    }
    if (request.cachePolicy == CachePolicy::reloadIgnoringLocalData) {
      soup_message_headers_replace(headers, "Cache-Control", "no-cache");
    }
  }
  webkit_web_view_load_request(view_.get(), webKitRequest.get());
  pendingRequest_ = request;
}

void WebKitPageView::loadHtml(std::string_view html) {
  endUnresponsiveProcess();
  webkit_web_view_load_html(view_.get(), std::string(html).c_str(), nullptr);
  html_ = html;
  isHtmlShown_ = false;
  pendingRequest_.reset();
}

void WebKitPageView::reload() {
  // A load may have been lost with a web process that terminated. Passes copies, because load and
  // loadHtml assign to pendingRequest_ and html_.
  if (pendingRequest_) return load(UrlRequest(*pendingRequest_));
  // webkit_web_view_reload would show an empty page instead of HTML without an address.
  if (!html_.empty()) return loadHtml(std::string(html_));
  webkit_web_view_reload(view_.get());
}

void WebKitPageView::setColorBehind(const Color &color) {
  if (drawsBackground_) return;
  const GdkRGBA rgba{static_cast<float>(color.red), static_cast<float>(color.green),
                     static_cast<float>(color.blue), static_cast<float>(color.alpha)};
  webkit_web_view_set_background_color(view_.get(), &rgba);
}

void WebKitPageView::processTerminated(WebKitWebProcessTerminationReason reason) {
  if (reason == WEBKIT_WEB_PROCESS_TERMINATED_BY_API) return;
  delegate_.webViewWebContentProcessDidTerminate();
}

void WebKitPageView::loadChanged(WebKitLoadEvent event) {
  if (event != WEBKIT_LOAD_COMMITTED) return;
  const char *address = webkit_web_view_get_uri(view_.get());
  // HTML without a base URL has this address.
  isHtmlShown_ = g_strcmp0(address, "about:blank") == 0;
  if (isHtmlShown_) return;
  html_.clear();
  pendingRequest_.reset();
}

void WebKitPageView::loadFailed(const GError *error) {
  if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED)) return;
  if (!pendingRequest_) return;
  pendingRequest_.reset();
  // The failed load had cancelled an earlier load of HTML, such as the application's error page.
  if (!html_.empty() && !isHtmlShown_) loadHtml(std::string(html_));
}

/// Ends the web process if it is unresponsive. It would not handle a load, so the user could not
/// reload the page.
void WebKitPageView::endUnresponsiveProcess() {
  if (!webkit_web_view_get_is_web_process_responsive(view_.get())) {
    webkit_web_view_terminate_web_process(view_.get());
  }
}

void WebKitPageView::edit(const char *command, GtkWidget *focus, GtkWidget *page) {
  // The inspector is a web view too.
  GtkWidget *target = focus != nullptr && WEBKIT_IS_WEB_VIEW(focus) ? focus : page;
  if (target == nullptr || !WEBKIT_IS_WEB_VIEW(target)) return;
  webkit_web_view_execute_editing_command(WEBKIT_WEB_VIEW(target), command);
}

}  // namespace orvel
