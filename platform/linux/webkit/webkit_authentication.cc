#include "platform/linux/webkit/webkit_authentication.h"

#include <utility>

namespace orvel {

WebKitAuthentication::WebKitAuthentication(WebKitWebView *view)
    : view_(retain(view)), keys_(gtk_event_controller_key_new()) {
  connections_.emplace_back(
      view, "authenticate", this,
      +[](WebKitAuthentication *self, WebKitAuthenticationRequest *request) {
        self->dialogOpened(request);
        // WebKit's own handler opens the dialog.
        return gboolean{FALSE};
      });
  // Runs before the dialog's text fields, which are children of the view.
  gtk_event_controller_set_propagation_phase(keys_, GTK_PHASE_CAPTURE);
  connections_.emplace_back(
      keys_, "key-pressed", this, +[](WebKitAuthentication *self, guint key) {
        return gboolean{key == GDK_KEY_Escape && self->cancelDialog()};
      });
  gtk_widget_add_controller(GTK_WIDGET(view), keys_);
}

WebKitAuthentication::~WebKitAuthentication() {
  gtk_widget_remove_controller(GTK_WIDGET(view_.get()), keys_);
}

void WebKitAuthentication::dialogOpened(WebKitAuthenticationRequest *request) {
  requestConnections_.clear();
  request_ = retain(request);
  for (const char *signal : {"authenticated", "cancelled"}) {
    requestConnections_.emplace_back(
        request, signal, this, +[](WebKitAuthentication *self) { self->dialogClosed(); });
  }
}

void WebKitAuthentication::dialogClosed() {
  requestConnections_.clear();
  request_.reset();
}

bool WebKitAuthentication::cancelDialog() {
  if (!request_) return false;
  requestConnections_.clear();
  const auto request = std::move(request_);
  // Does the same as the dialog's cancel button: without a credential, the view shows the
  // server's 401 response. The "cancelled" signal closes the dialog.
  webkit_authentication_request_authenticate(request.get(), nullptr);
  g_signal_emit_by_name(request.get(), "cancelled");
  return true;
}

}  // namespace orvel
