// Prints the widgets of all windows on the accessibility bus: a JSON array with an object for each
// widget, parents first. Extents are in pixels, relative to the window.

#include <atspi/atspi.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/gobject_pointer.h"

namespace {

using nlohmann::json;
using orvel::adopt;

/// Takes ownership of a text, and returns an empty one for null.
std::string takeText(char *text) {
  const orvel::GlibText owned(text);
  return owned ? owned.get() : "";
}

struct RectFree {
  void operator()(AtspiRect *rect) const { g_free(rect); }
};

/// Returns the position and size of a widget, or null when it has no position.
json extentsOf(AtspiAccessible *accessible) {
  const auto component = adopt(atspi_accessible_get_component_iface(accessible));
  if (!component) return nullptr;
  const std::unique_ptr<AtspiRect, RectFree> rect(
      atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_WINDOW, nullptr));
  if (!rect) return nullptr;
  return {{"x", rect->x}, {"y", rect->y}, {"width", rect->width}, {"height", rect->height}};
}

/// Calls a function with each child of an accessible.
template <typename Function>
void forEachChild(AtspiAccessible *accessible, const Function &function) {
  const int count = atspi_accessible_get_child_count(accessible, nullptr);
  for (int index = 0; index < count; ++index) {
    const auto child = adopt(atspi_accessible_get_child_at_index(accessible, index, nullptr));
    if (child) function(child.get());
  }
}

/// Appends a widget and its children. Skips a widget without a size, with its children: it is a
/// hidden page of a GtkStack.
void appendWithChildren(json &widgets, AtspiAccessible *accessible) {
  const json extents = extentsOf(accessible);
  if (!extents.is_null() && extents["width"] == 0 && extents["height"] == 0) return;
  const auto states = adopt(atspi_accessible_get_state_set(accessible));
  const auto hasState = [&](AtspiStateType state) {
    return states && atspi_state_set_contains(states.get(), state) != FALSE;
  };
  widgets.push_back(
      {{"role", takeText(atspi_accessible_get_role_name(accessible, nullptr))},
       {"name", takeText(atspi_accessible_get_name(accessible, nullptr))},
       {"description", takeText(atspi_accessible_get_description(accessible, nullptr))},
       {"focused", hasState(ATSPI_STATE_FOCUSED)},
       {"enabled", hasState(ATSPI_STATE_SENSITIVE)},
       {"extents", extents}});
  forEachChild(accessible, [&](AtspiAccessible *child) { appendWithChildren(widgets, child); });
}

}  // namespace

int main() {
  // 0 means initialised, 1 already initialised.
  if (atspi_init() > 1) return 1;
  const auto desktop = adopt(atspi_get_desktop(0));
  if (!desktop) return 1;
  json widgets = json::array();
  forEachChild(desktop.get(), [&](AtspiAccessible *application) {
    forEachChild(application,
                 [&](AtspiAccessible *window) { appendWithChildren(widgets, window); });
  });
  std::cout << widgets.dump() << '\n';
}
