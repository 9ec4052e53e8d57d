// Prints the widgets of all windows on the accessibility bus: a JSON array with an object for each
// widget, parents first. Extents are in pixels, relative to the window.

#include <atspi/atspi.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

template <typename Object>
using ObjectPointer = std::unique_ptr<Object, void (*)(void *)>;

/// Takes ownership of a reference to an object, which may be null.
template <typename Object>
ObjectPointer<Object> adopt(Object *object) {
  return {object, [](void *owned) {
            if (owned != nullptr) g_object_unref(owned);
          }};
}

/// Returns a text as a JSON string. Texts from D-Bus are valid UTF-8.
std::string quoted(const char *text) {
  std::string result = "\"";
  for (const char *at = text != nullptr ? text : ""; *at != '\0'; ++at) {
    const auto byte = static_cast<unsigned char>(*at);
    if (byte < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", byte);
      result += escape;
    } else {
      if (*at == '"' || *at == '\\') result += '\\';
      result += *at;
    }
  }
  return result + "\"";
}

/// Returns a text as a JSON string, and frees the text with g_free.
std::string quotedAndFreed(char *text) {
  std::string result = quoted(text);
  g_free(text);
  return result;
}

/// Returns the position and size of a widget, or null when it has no position.
std::unique_ptr<AtspiRect, void (*)(void *)> extentsOf(AtspiAccessible *accessible) {
  const auto component = adopt(atspi_accessible_get_component_iface(accessible));
  return {component ? atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_WINDOW, nullptr)
                    : nullptr,
          g_free};
}

/// Returns a rectangle as a JSON object, or "null".
std::string json(const AtspiRect *rect) {
  if (rect == nullptr) return "null";
  return "{\"x\":" + std::to_string(rect->x) + ",\"y\":" + std::to_string(rect->y) +
         ",\"width\":" + std::to_string(rect->width) +
         ",\"height\":" + std::to_string(rect->height) + "}";
}

/// Prints a widget as a JSON object after the separator, which becomes a comma for the next one.
void print(AtspiAccessible *accessible, const AtspiRect *extents, const char *&separator) {
  const auto states = adopt(atspi_accessible_get_state_set(accessible));
  const auto hasState = [&](AtspiStateType state) {
    return states && atspi_state_set_contains(states.get(), state) != FALSE ? "true" : "false";
  };
  std::printf(
      R"(%s{"role":%s,"name":%s,"description":%s,"focused":%s,"enabled":%s,"extents":%s})",
      separator, quotedAndFreed(atspi_accessible_get_role_name(accessible, nullptr)).c_str(),
      quotedAndFreed(atspi_accessible_get_name(accessible, nullptr)).c_str(),
      quotedAndFreed(atspi_accessible_get_description(accessible, nullptr)).c_str(),
      hasState(ATSPI_STATE_FOCUSED), hasState(ATSPI_STATE_SENSITIVE), json(extents).c_str());
  separator = ",\n";
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

/// Prints a widget and its children, except those without a size: the hidden pages of a GtkStack.
void printWithChildren(AtspiAccessible *accessible, const char *&separator) {
  const auto extents = extentsOf(accessible);
  if (extents && extents->width == 0 && extents->height == 0) return;
  print(accessible, extents.get(), separator);
  forEachChild(accessible, [&](AtspiAccessible *child) { printWithChildren(child, separator); });
}

}  // namespace

int main() {
  // 0 means initialised, 1 already initialised.
  if (atspi_init() > 1) return 1;
  const auto desktop = adopt(atspi_get_desktop(0));
  if (!desktop) return 1;
  const char *separator = "";
  std::printf("[");
  forEachChild(desktop.get(), [&](AtspiAccessible *application) {
    forEachChild(application,
                 [&](AtspiAccessible *window) { printWithChildren(window, separator); });
  });
  std::printf("]\n");
  return 0;
}
