#include "tests/linux/accessibility_bus.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "tests/support/posix_test_support.h"

namespace orvel {

namespace {

struct VariantRelease {
  void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantRelease>;

/// Some values of AtspiRole (atspi-constants.h). From GTK 4.10 on, an alert has the role alert.
enum class Role : std::uint32_t { alert = 2, dialog = 16, label = 29, pushButton = 43 };

/// An object on the accessibility bus. Its calls throw when they fail.
class Accessible {
 public:
  Accessible(GDBusConnection *bus, std::string owner, std::string path)
      : bus_(bus), owner_(std::move(owner)), path_(std::move(path)) {}

  std::vector<Accessible> children() const {
    const Variant reply = call("org.a11y.atspi.Accessible", "GetChildren", nullptr);
    std::vector<Accessible> found;
    GVariantIter *each = nullptr;
    g_variant_get(reply.get(), "(a(so))", &each);
    const char *owner = nullptr;
    const char *path = nullptr;
    while (g_variant_iter_next(each, "(&s&o)", &owner, &path) != FALSE) {
      found.emplace_back(bus_, owner, path);
    }
    g_variant_iter_free(each);
    return found;
  }
  Role role() const {
    std::uint32_t role = 0;
    g_variant_get(call("org.a11y.atspi.Accessible", "GetRole", nullptr).get(), "(u)", &role);
    return Role{role};
  }
  std::string name() const {
    const Variant reply = call("org.freedesktop.DBus.Properties", "Get",
                               g_variant_new("(ss)", "org.a11y.atspi.Accessible", "Name"));
    GVariant *value = nullptr;
    g_variant_get(reply.get(), "(v)", &value);
    const Variant owned(value);
    return g_variant_get_string(value, nullptr);
  }
  void activate() const { call("org.a11y.atspi.Action", "DoAction", g_variant_new("(i)", 0)); }

 private:
  Variant call(const char *interface, const char *method, GVariant *arguments) const {
    GError *error = nullptr;
    Variant reply(g_dbus_connection_call_sync(bus_, owner_.c_str(), path_.c_str(), interface,
                                              method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
                                              -1, nullptr, &error));
    if (reply) return reply;
    const std::string message = error->message;
    g_error_free(error);
    throw std::runtime_error(std::string(method) + ": " + message);
  }

  GDBusConnection *bus_;
  std::string owner_;
  std::string path_;
};

struct Texts {
  std::vector<std::string> labels;
  std::vector<std::pair<std::string, Accessible>> buttons;
};

/// Adds the labels and buttons below an object, without the labels of the buttons.
void collect(const Accessible &parent, Texts &texts) {
  for (const Accessible &child : parent.children()) {
    const Role role = child.role();
    if (role == Role::label) {
      texts.labels.push_back(child.name());
    } else if (role == Role::pushButton) {
      texts.buttons.emplace_back(child.name(), child);
    } else {
      collect(child, texts);
    }
  }
}

/// Calls a function with the open alert.
void withAlert(const std::string &address,
               const std::function<void(const Accessible &)> &function) {
  const auto bus = adopt(g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr));
  const Accessible desktop(bus.get(), "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root");
  // GTK registers the application asynchronously.
  const bool found = posix_test::eventually(
      [&] {
        for (const Accessible &application : desktop.children()) {
          for (const Accessible &window : application.children()) {
            if (window.role() != Role::alert && window.role() != Role::dialog) continue;
            function(window);
            return true;
          }
        }
        return false;
      },
      std::chrono::seconds(60));
  if (!found) throw std::runtime_error("no alert on the accessibility bus");
}

}  // namespace

AccessibilityBus::AccessibilityBus() {
  // The registry, which the bus starts, reads the address too. GTK 4.8 derives the paths of its
  // accessibles from the path of the application on the session bus.
  for (const char *variable : {"AT_SPI_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
    ::setenv(variable, address_.c_str(), 1);
  }
  PosixProcessLauncher launcher(processEnvironment());
  auto output = Pipe::create();
  auto request = posix_test::program(
      "/usr/bin/env",
      {"dbus-daemon", "--config-file=/usr/share/defaults/at-spi2/accessibility.conf", "--nofork",
       "--print-address", "--address=" + address_});
  request.standardOutput = {StandardStream::Kind::handle, std::move(output->writing)};
  request.standardError.kind = StandardStream::Kind::null;
  request.endsWithParent = true;
  daemon_ = launcher.launch(request).process;
  request.standardOutput = {};
  // The daemon prints its address when it accepts connections.
  if (posix_test::readLine(*output->reading).empty()) {
    throw std::runtime_error("no accessibility bus: is at-spi2-core installed?");
  }
}

AccessibilityBus::~AccessibilityBus() { daemon_->terminate(); }

ShownAlert AccessibilityBus::readAlert() const {
  ShownAlert shown;
  withAlert(address_, [&](const Accessible &alert) {
    Texts texts;
    collect(alert, texts);
    // An alert without informative text has one label.
    texts.labels.resize(2);
    shown.message = texts.labels[0];
    shown.information = texts.labels[1];
    for (const auto &[caption, button] : texts.buttons) shown.buttons.push_back(caption);
  });
  // GTK shows the buttons from the last to the first.
  std::reverse(shown.buttons.begin(), shown.buttons.end());
  return shown;
}

void AccessibilityBus::pressButton(const std::string &caption) const {
  withAlert(address_, [&](const Accessible &alert) {
    Texts texts;
    collect(alert, texts);
    for (const auto &[name, button] : texts.buttons) {
      if (name != caption) continue;
      button.activate();
      return;
    }
    throw std::runtime_error("the alert has no button " + caption);
  });
}

}  // namespace orvel
