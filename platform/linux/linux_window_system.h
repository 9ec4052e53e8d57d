#pragma once

#include <optional>
#include <utility>

#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/linux/webkit/webkit_web_view.h"
#include "platform/user_defaults.h"
#include "platform/window.h"

namespace orvel {

/// A factory of GTK windows that show WebKitGTK views. Main thread only.
class LinuxWindowSystem final : public WindowSystem {
 public:
  LinuxWindowSystem(GtkApplicationHost &application, GtkMenuBar &menuBar, UserDefaults &defaults,
                    WebViewEnvironment environment)
      : application_(application),
        menuBar_(menuBar),
        defaults_(defaults),
        environment_(std::move(environment)) {}

  std::optional<Rect> mainScreenVisibleFrame() const override;
  WebWindow create(const WindowConfiguration &window, const WebViewConfiguration &web,
                   WebViewDelegate &delegate) override;

 private:
  GtkApplicationHost &application_;
  GtkMenuBar &menuBar_;
  UserDefaults &defaults_;
  const WebViewEnvironment environment_;
};

}  // namespace orvel
