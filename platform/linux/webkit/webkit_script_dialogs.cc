#include "platform/linux/webkit/webkit_script_dialogs.h"

#include <memory>
#include <utility>

namespace orvel {

namespace {

/// Returns a reference that keeps a dialog open, and its page suspended, until it is released.
std::shared_ptr<WebKitScriptDialog> keepOpen(WebKitScriptDialog *dialog) {
  return {webkit_script_dialog_ref(dialog), [](WebKitScriptDialog *held) {
            webkit_script_dialog_close(held);
            webkit_script_dialog_unref(held);
          }};
}

}  // namespace

WebKitScriptDialogs::WebKitScriptDialogs(WebKitWebView *view, WebViewDelegate &delegate,
                                         MayLeave mayLeave)
    : delegate_(delegate),
      mayLeave_(std::move(mayLeave)),
      scriptDialog_(
          view, "script-dialog", this,
          +[](WebKitScriptDialogs *dialogs, WebKitScriptDialog *dialog) {
            dialogs->run(dialog);
            return gboolean{TRUE};
          }) {}

void WebKitScriptDialogs::run(WebKitScriptDialog *dialog) {
  const char *message = webkit_script_dialog_get_message(dialog);
  const std::string text = message != nullptr ? message : "";
  switch (webkit_script_dialog_get_dialog_type(dialog)) {
    case WEBKIT_SCRIPT_DIALOG_ALERT:
      return delegate_.runJavaScriptAlertPanel(
          text, [held = keepOpen(dialog)]() mutable { held.reset(); });
    case WEBKIT_SCRIPT_DIALOG_CONFIRM:
      return delegate_.runJavaScriptConfirmPanel(
          text, [held = keepOpen(dialog)](bool agreed) mutable {
            // Null if the delegate calls the completion twice.
            if (held) webkit_script_dialog_confirm_set_confirmed(held.get(), agreed);
            held.reset();
          });
    case WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM:
      return webkit_script_dialog_confirm_set_confirmed(dialog, mayLeave_(text));
    case WEBKIT_SCRIPT_DIALOG_PROMPT:
      // Without webkit_script_dialog_prompt_set_text, prompt() returns null.
      return;
  }
}

}  // namespace orvel
