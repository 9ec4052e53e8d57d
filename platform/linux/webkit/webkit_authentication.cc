#include "platform/linux/webkit/webkit_authentication.h"

#include <utility>

namespace orvel {

WebKitAuthentication::WebKitAuthentication(WebKitWebView *view)
    : view_(retain(view)), keys_(gtk_event_controller_key_new()) {
  g_signal_connect_swapped(
      view, "authenticate",
      G_CALLBACK(+[](WebKitAuthentication *self, WebKitAuthenticationRequest *request) {
        self->asked(request);
        // WebKit's own handler opens the dialog.
        return gboolean{FALSE};
      }),
      this);
  // Runs before the dialog's text fields, which are children of the view.
  gtk_event_controller_set_propagation_phase(keys_, GTK_PHASE_CAPTURE);
  g_signal_connect_swapped(keys_, "key-pressed",
                           G_CALLBACK(+[](WebKitAuthentication *self, guint key) {
                             return gboolean{key == GDK_KEY_Escape && self->cancel()};
                           }),
                           this);
  gtk_widget_add_controller(GTK_WIDGET(view), keys_);
}

WebKitAuthentication::~WebKitAuthentication() {
  forget();
  gtk_widget_remove_controller(GTK_WIDGET(view_.get()), keys_);
  g_signal_handlers_disconnect_by_data(view_.get(), this);
}

void WebKitAuthentication::asked(WebKitAuthenticationRequest *request) {
  forget();
  request_ = retain(request);
  const auto answered = G_CALLBACK(+[](WebKitAuthentication *self) { self->forget(); });
  g_signal_connect_swapped(request, "authenticated", answered, this);
  g_signal_connect_swapped(request, "cancelled", answered, this);
}

void WebKitAuthentication::forget() {
  if (request_) g_signal_handlers_disconnect_by_data(request_.get(), this);
  request_.reset();
}

bool WebKitAuthentication::cancel() {
  if (!request_) return false;
  const auto request = std::move(request_);
  g_signal_handlers_disconnect_by_data(request.get(), this);
  // Does the same as the dialog's cancel button: without a credential, the page gets the
  // server's 401 response. The "cancelled" signal closes the dialog.
  webkit_authentication_request_authenticate(request.get(), nullptr);
  g_signal_emit_by_name(request.get(), "cancelled");
  return true;
}

}  // namespace orvel
