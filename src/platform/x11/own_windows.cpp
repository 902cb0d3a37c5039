#include "platform/x11/own_windows.h"

#include <algorithm>

#include <xcb/xcb.h>

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
  const std::uint32_t root = connection_.root();
  const auto reply = connection_.reply(
      xcb_translate_coordinates_reply,
      xcb_translate_coordinates(connection_.xcb(), root, root, static_cast<std::int16_t>(x),
                                static_cast<std::int16_t>(y)));
  return reply && frames_.count(reply->child) != 0;
}

void OwnWindows::handle(const xcb_generic_event_t& event) {
  switch (eventCode(event)) {
    case XCB_CREATE_NOTIFY: {
      const auto& created = as<xcb_create_notify_event_t>(event);
      if (!contains(created.window)) break;
      watchFocus(created.window);
      frames_[created.window] = {.client = created.window};
      frames_[created.window].place(created);
      break;
    }
    case XCB_REPARENT_NOTIFY: {
      const auto window = as<xcb_reparent_notify_event_t>(event).window;
      if (contains(window)) adopt(window);
      break;
    }
    case XCB_DESTROY_NOTIFY: {
      const auto window = as<xcb_destroy_notify_event_t>(event).window;
      frames_.erase(window);
      focused_.erase(window);
      break;
    }
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
      followFocus(as<xcb_focus_in_event_t>(event));
      break;
    case XCB_CONFIGURE_NOTIFY: {
      const auto& changed = as<xcb_configure_notify_event_t>(event);
      if (Frame* frame = find(changed.window)) frame->place(changed);
      break;
    }
    case XCB_MAP_NOTIFY:
      if (Frame* frame = find(as<xcb_map_notify_event_t>(event).window)) frame->mapped = true;
      break;
    case XCB_UNMAP_NOTIFY:
      if (Frame* frame = find(as<xcb_unmap_notify_event_t>(event).window)) frame->mapped = false;
      break;
    default:
      break;
  }
}

OwnWindows::Frame* OwnWindows::find(std::uint32_t window) {
  const auto found = frames_.find(window);
  return found == frames_.end() ? nullptr : &found->second;
}

void OwnWindows::followFocus(const xcb_focus_in_event_t& event) {
  // Details from NotifyPointer on mean that no window has the focus.
  if (event.detail >= XCB_NOTIFY_DETAIL_POINTER) return;
  if ((event.response_type & 0x7f) == XCB_FOCUS_IN) {
    focused_.insert(event.event);
  } else if (event.detail != XCB_NOTIFY_DETAIL_INFERIOR) {  // not from the window to its child
    focused_.erase(event.event);
  }
}

void OwnWindows::watchFocus(std::uint32_t window) {
  auto* xcb = connection_.xcb();
  // The other events of this window come through the mask of the root window.
  const std::uint32_t mask = XCB_EVENT_MASK_FOCUS_CHANGE;
  xcb_change_window_attributes(xcb, window, XCB_CW_EVENT_MASK, &mask);
  const auto focus = connection_.reply(xcb_get_input_focus_reply, xcb_get_input_focus(xcb));
  if (focus && focus->focus == window) focused_.insert(window);
}

// A window manager may put a window of ours into a frame, or take it out again, at any time.
void OwnWindows::adopt(std::uint32_t window) {
  std::erase_if(frames_, [window](const auto& known) { return known.second.client == window; });
  const std::uint32_t topLevel = topLevelOf(window);
  if (topLevel == 0) return;
  auto* xcb = connection_.xcb();
  const auto geometry = connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(xcb, topLevel));
  const auto attributes =
      connection_.reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(xcb, topLevel));
  if (!geometry || !attributes) return;
  Frame& frame = frames_[topLevel];
  frame = {.client = window, .mapped = attributes->map_state != XCB_MAP_STATE_UNMAPPED};
  frame.place(*geometry);
}

void OwnWindows::adoptExisting() {
  const auto tree = connection_.reply(xcb_query_tree_reply,
                                      xcb_query_tree(connection_.xcb(), connection_.root()));
  if (!tree) return;
  const auto* children = xcb_query_tree_children(tree.get());
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    if (!contains(children[i])) continue;
    watchFocus(children[i]);
    adopt(children[i]);
  }
}

// Zero if the window is gone.
std::uint32_t OwnWindows::topLevelOf(std::uint32_t window) const {
  while (true) {
    const auto tree =
        connection_.reply(xcb_query_tree_reply, xcb_query_tree(connection_.xcb(), window));
    if (!tree || tree->parent == XCB_NONE) return 0;
    if (tree->parent == tree->root) return window;
    window = tree->parent;
  }
}

}  // namespace tapeloop::x11
