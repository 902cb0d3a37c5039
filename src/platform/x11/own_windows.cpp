#include "platform/x11/own_windows.h"

#include <algorithm>

#include <xcb/xcb.h>

#include "platform/x11/protocol.h"

namespace tapeloop::x11 {

OwnWindows::OwnWindows(Connection& connection)
    : connection_(connection),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })) {}

void OwnWindows::addClient(std::uint32_t base, std::uint32_t mask) {
  clients_.push_back({base, mask});
  adoptExisting();
}

bool OwnWindows::anyOnScreen() const {
  return std::any_of(frames_.begin(), frames_.end(),
                     [](const auto& known) { return known.second.mapped; });
}

bool OwnWindows::contains(std::uint32_t window) const {
  return std::any_of(clients_.begin(), clients_.end(), [window](const Client& client) {
    return (window & ~client.mask) == client.base;
  });
}

bool OwnWindows::isOnTopAt(int x, int y) const {
  const bool inFrame = std::any_of(frames_.begin(), frames_.end(), [x, y](const auto& known) {
    const Frame& frame = known.second;
    return frame.mapped && x >= frame.x && x < frame.x + frame.width && y >= frame.y &&
           y < frame.y + frame.height;
  });
  if (!inFrame) return false;
  auto* xcb = connection_.xcb();
  const std::uint32_t root = connection_.root();
  const auto reply = own(xcb_translate_coordinates_reply(
      xcb,
      xcb_translate_coordinates(xcb, root, root, static_cast<std::int16_t>(x),
                                static_cast<std::int16_t>(y)),
      nullptr));
  return reply && frames_.count(reply->child) != 0;
}

void OwnWindows::handle(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7f) {
    case XCB_CREATE_NOTIFY: {
      const auto& created = reinterpret_cast<const xcb_create_notify_event_t&>(event);
      if (!contains(created.window)) break;
      watchFocus(created.window);
      const int borders = 2 * created.border_width;
      frames_[created.window] = {
          created.window,           created.x, created.y, created.width + borders,
          created.height + borders, false};
      break;
    }
    case XCB_REPARENT_NOTIFY: {
      const auto& moved = reinterpret_cast<const xcb_reparent_notify_event_t&>(event);
      if (contains(moved.window)) adopt(moved.window);
      break;
    }
    case XCB_DESTROY_NOTIFY: {
      const auto window = reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
      frames_.erase(window);
      focused_.erase(window);
      break;
    }
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT: {
      const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
      // Those that tell where the pointer is while it decides; nobody has the keyboard then.
      if (focus.detail >= XCB_NOTIFY_DETAIL_POINTER) break;
      const bool in = (event.response_type & 0x7f) == XCB_FOCUS_IN;
      // From the window itself to one in it.
      if (!in && focus.detail == XCB_NOTIFY_DETAIL_INFERIOR) break;
      if (in) {
        focused_.insert(focus.event);
      } else {
        focused_.erase(focus.event);
      }
      break;
    }
    case XCB_CONFIGURE_NOTIFY: {
      const auto& changed = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
      const auto found = frames_.find(changed.window);
      if (found == frames_.end()) break;
      const int borders = 2 * changed.border_width;
      found->second.x = changed.x;
      found->second.y = changed.y;
      found->second.width = changed.width + borders;
      found->second.height = changed.height + borders;
      break;
    }
    case XCB_MAP_NOTIFY: {
      const auto found =
          frames_.find(reinterpret_cast<const xcb_map_notify_event_t&>(event).window);
      if (found != frames_.end()) found->second.mapped = true;
      break;
    }
    case XCB_UNMAP_NOTIFY: {
      const auto found =
          frames_.find(reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window);
      if (found != frames_.end()) found->second.mapped = false;
      break;
    }
    default:
      break;
  }
}

void OwnWindows::watchFocus(std::uint32_t window) {
  auto* xcb = connection_.xcb();
  // The events of the windows on the root window come through that one.
  const std::uint32_t mask = XCB_EVENT_MASK_FOCUS_CHANGE;
  xcb_change_window_attributes(xcb, window, XCB_CW_EVENT_MASK, &mask);
  const auto focus = own(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
  if (focus && focus->focus == window) focused_.insert(window);
}

// A window manager may put a window of ours into a frame, or take it out again, at any time.
void OwnWindows::adopt(std::uint32_t window) {
  std::erase_if(frames_, [window](const auto& known) { return known.second.client == window; });
  const std::uint32_t topLevel = topLevelOf(window);
  if (topLevel == 0) return;
  auto* xcb = connection_.xcb();
  const auto geometryCookie = xcb_get_geometry(xcb, topLevel);
  const auto attributesCookie = xcb_get_window_attributes(xcb, topLevel);
  const auto geometry = own(xcb_get_geometry_reply(xcb, geometryCookie, nullptr));
  const auto attributes = own(xcb_get_window_attributes_reply(xcb, attributesCookie, nullptr));
  if (!geometry || !attributes) return;
  const int borders = 2 * geometry->border_width;
  frames_[topLevel] = {window,
                       geometry->x,
                       geometry->y,
                       geometry->width + borders,
                       geometry->height + borders,
                       attributes->map_state != XCB_MAP_STATE_UNMAPPED};
}

void OwnWindows::adoptExisting() {
  auto* xcb = connection_.xcb();
  const auto tree =
      own(xcb_query_tree_reply(xcb, xcb_query_tree(xcb, connection_.root()), nullptr));
  if (!tree) return;
  const auto* children = xcb_query_tree_children(tree.get());
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    if (!contains(children[i])) continue;
    watchFocus(children[i]);
    adopt(children[i]);
  }
}

std::uint32_t OwnWindows::topLevelOf(std::uint32_t window) const {
  auto* xcb = connection_.xcb();
  while (true) {
    const auto tree = own(xcb_query_tree_reply(xcb, xcb_query_tree(xcb, window), nullptr));
    if (!tree || tree->parent == XCB_NONE) return 0;
    if (tree->parent == tree->root) return window;
    window = tree->parent;
  }
}

}  // namespace tapeloop::x11
