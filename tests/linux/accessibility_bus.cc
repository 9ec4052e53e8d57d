#include "tests/linux/accessibility_bus.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
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

constexpr const char *accessibleInterface = "org.a11y.atspi.Accessible";

/// Some values of AtspiRole (atspi-constants.h). An alert has the role alert from GTK 4.10 on, and
/// the role dialog before.
enum class Role : std::uint32_t { alert = 2, dialog = 16, label = 29, pushButton = 43 };

/// An object on the accessibility bus. `owner` is the bus name of the application that has it. The
/// functions throw when a call over the bus fails.
class Accessible {
 public:
  Accessible(std::shared_ptr<GDBusConnection> bus, std::string owner, std::string path)
      : bus_(std::move(bus)), owner_(std::move(owner)), path_(std::move(path)) {}

  std::vector<Accessible> children() const {
    const Variant list = call(accessibleInterface, "GetChildren");
    std::vector<Accessible> found;
    for (gsize index = 0; index < g_variant_n_children(list.get()); ++index) {
      const char *owner = nullptr;
      const char *path = nullptr;
      g_variant_get_child(list.get(), index, "(&s&o)", &owner, &path);
      found.emplace_back(bus_, owner, path);
    }
    return found;
  }
  Role role() const {
    return Role{g_variant_get_uint32(call(accessibleInterface, "GetRole").get())};
  }
  std::string name() const {
    const Variant boxed = call("org.freedesktop.DBus.Properties", "Get",
                               g_variant_new("(ss)", accessibleInterface, "Name"));
    const Variant name(g_variant_get_variant(boxed.get()));
    return g_variant_get_string(name.get(), nullptr);
  }
  /// Performs the first action, which presses a button.
  void activate() const { call("org.a11y.atspi.Action", "DoAction", g_variant_new("(i)", 0)); }

 private:
  /// Calls a method and returns the only value of its reply.
  Variant call(const char *interface, const char *method, GVariant *arguments = nullptr) const {
    GError *error = nullptr;
    const Variant reply(g_dbus_connection_call_sync(bus_.get(), owner_.c_str(), path_.c_str(),
                                                    interface, method, arguments, nullptr,
                                                    G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error));
    if (reply) return Variant(g_variant_get_child_value(reply.get(), 0));
    const std::string message = error->message;
    g_error_free(error);
    throw std::runtime_error(std::string(method) + ": " + message);
  }

  std::shared_ptr<GDBusConnection> bus_;
  std::string owner_;
  std::string path_;
};

/// The labels and buttons of an alert, in their order on the bus.
struct AlertWidgets {
  std::vector<Accessible> labels;
  std::vector<Accessible> buttons;
};

/// Adds the labels and buttons below an object, without the labels of the buttons.
void addWidgetsBelow(const Accessible &parent, AlertWidgets &widgets) {
  for (const Accessible &child : parent.children()) {
    const Role role = child.role();
    if (role == Role::label) {
      widgets.labels.push_back(child);
    } else if (role == Role::pushButton) {
      widgets.buttons.push_back(child);
    } else {
      addWidgetsBelow(child, widgets);
    }
  }
}

/// Waits until an alert is open and returns its widgets. Throws when none opens.
AlertWidgets waitForAlert(const std::string &address) {
  const std::shared_ptr<GDBusConnection> bus = adopt(g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr));
  if (!bus) throw std::runtime_error("no connection to the accessibility bus");
  const Accessible desktop(bus, "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root");
  AlertWidgets widgets;
  // GTK registers the application asynchronously.
  const bool found = posix_test::eventually(
      [&] {
        for (const Accessible &application : desktop.children()) {
          for (const Accessible &window : application.children()) {
            if (window.role() != Role::alert && window.role() != Role::dialog) continue;
            addWidgetsBelow(window, widgets);
            return true;
          }
        }
        return false;
      },
      std::chrono::seconds(60));
  if (!found) throw std::runtime_error("no alert on the accessibility bus");
  return widgets;
}

}  // namespace

AccessibilityBus::AccessibilityBus() {
  // The bus starts the registry of accessible applications, which reads the first variable. GTK 4.8
  // needs a session bus, because the paths of its accessible objects begin with the path of the
  // application on that bus. The accessibility bus serves as both.
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
  // Closes the writing end in this process, so that reading ends if the daemon ends.
  request.standardOutput = {};
  // The daemon prints its address once it accepts connections.
  if (posix_test::readLine(*output->reading).empty()) {
    throw std::runtime_error("no accessibility bus: is at-spi2-core installed?");
  }
}

AccessibilityBus::~AccessibilityBus() { daemon_->terminate(); }

ShownAlert AccessibilityBus::readAlert() const {
  const auto [labels, buttons] = waitForAlert(address_);
  ShownAlert shown;
  shown.message = labels.at(0).name();
  // An alert without informative text has one label.
  if (labels.size() > 1) shown.information = labels[1].name();
  // The alert shows its first button last (gtk_panels.cc).
  std::transform(buttons.rbegin(), buttons.rend(), std::back_inserter(shown.buttons),
                 [](const auto &button) { return button.name(); });
  return shown;
}

void AccessibilityBus::pressButton(const std::string &caption) const {
  for (const Accessible &button : waitForAlert(address_).buttons) {
    if (button.name() == caption) return button.activate();
  }
  throw std::runtime_error("the alert has no button " + caption);
}

}  // namespace orvel
