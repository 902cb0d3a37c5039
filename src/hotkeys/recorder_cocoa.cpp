#include "hotkeys/recorder_cocoa.h"

#include <utility>

#include "hotkeys/key_combo.h"

namespace tapeloop {
namespace {

struct Text {
  std::string_view key;
  std::string_view english;
};

constexpr Text builtIn[] = {
    {"record_shortcut", "Set Shortcut"},
    {"press_shortcut", "Press Shortcut"},
    {"keyboard_shortcut_used_by_menu_item",
     "This keyboard shortcut cannot be used because it already belongs to the menu item "
     "\u201c%@\u201d."},
    {"keyboard_shortcut_used_by_system",
     "This keyboard shortcut cannot be used because the desktop or another program already uses "
     "it."},
    {"keyboard_shortcuts_can_be_changed",
     "Most keyboard shortcuts of the desktop can be changed in its keyboard settings."}};

constexpr std::string_view placeOfArgument = "%@";

constexpr EventMask monitoredEvents =
    maskOf(EventType::leftMouseUp) | maskOf(EventType::rightMouseUp) | maskOf(EventType::keyDown);

// A click this close to the control counts as inside, in points.
constexpr double boundsMargin = 3;

bool isNear(Point point, const Rect& bounds) {
  const double x = point.x - bounds.origin.x;
  const double y = point.y - bounds.origin.y;
  return x >= -boundsMargin && x <= bounds.size.width + boundsMargin && y >= -boundsMargin &&
         y <= bounds.size.height + boundsMargin;
}

}  // namespace

std::string_view RecorderTexts::text(std::string_view key) const {
  if (const auto found = texts_.find(key); found != texts_.end()) return found->second;
  for (const auto& each : builtIn) {
    if (each.key == key) return each.english;
  }
  return {};
}

std::string RecorderTexts::format(std::string_view key, std::string_view argument) const {
  std::string formatted(text(key));
  if (const auto place = formatted.find(placeOfArgument); place != std::string::npos) {
    formatted.replace(place, placeOfArgument.size(), argument);
  }
  return formatted;
}

RecorderCocoa::RecorderCocoa(const RecorderServices& services, Name name, OnChange onChange)
    : placeholderString(std::string(services.texts.text("record_shortcut"))),
      services_(services),
      shortcutName_(std::move(name)),
      onChange_(std::move(onChange)) {
  showShortcut();
  observer_ = services_.notifications.addObserverForName(
      KeyboardShortcuts::didChange, [this](const Notification& notification) {
        const auto changed = notification.userInfo.find(KeyboardShortcuts::changedSlot);
        if (changed == notification.userInfo.end()) return;
        if (changed->second == shortcutName_.rawValue) showShortcut();
      });
  layoutChanged_ = services_.layouts.onChange([this] { showShortcut(); });
}

RecorderCocoa::~RecorderCocoa() {
  endRecording();
}

void RecorderCocoa::setShortcutName(Name name) {
  if (name == shortcutName_) return;
  shortcutName_ = std::move(name);
  showShortcut();
}

void RecorderCocoa::becomeFirstResponder() {
  if (isRecording.get()) return;
  placeholderString.set(std::string(services_.texts.text("press_shortcut")));
  showCancelButtonIfText();
  services_.shortcuts.beginPause();
  eventMonitor_ = services_.localInput.addLocalMonitorForEventsMatchingMask(
      monitoredEvents, [this](const InputEvent& event) { return handle(event); });
  keyboardWanted_ = services_.localInput.onKeyboardWanted([this] { giveUpKeyboard(); });
  restartTimeout();
  isRecording.set(true);
}

void RecorderCocoa::resignFirstResponder() {
  endRecording();
}

void RecorderCocoa::endRecording() {
  if (!isRecording.get()) return;
  if (eventMonitor_) services_.localInput.removeMonitor(*std::exchange(eventMonitor_, {}));
  keyboardWanted_.reset();
  timedOut_->invalidate();
  placeholderString.set(std::string(services_.texts.text("record_shortcut")));
  showCancelButtonIfText();
  services_.shortcuts.endPause();
  isRecording.set(false);
}

void RecorderCocoa::cancelButtonPressed() {
  if (!stringValue.get().empty()) {
    stringValue.set({});
    services_.shortcuts.setShortcut(shortcutName_, std::nullopt);
    if (onChange_) onChange_(std::nullopt);
  }
  showCancelButtonIfText();
  // So that the user can type another one at once.
  focusRequested_(true);
}

void RecorderCocoa::dismissAlert() {
  if (!alert.get()) return;
  alert.set(std::nullopt);
  focusRequested_(true);
}

EventPass RecorderCocoa::handle(const InputEvent& event) {
  if (event.type == EventType::keyDown) return handleKey(event);
  if (!bounds_ || !isNear(event.locationInWindow, bounds_())) {
    giveUpKeyboard();
    return EventPass::passOn;
  }
  return EventPass::swallow;
}

EventPass RecorderCocoa::handleKey(const InputEvent& event) {
  restartTimeout();
  // Only the modifiers that a shortcut can have.
  const std::uint64_t flags = modifierFlags(modifierBits(event.modifierFlags));
  const auto key = keyWithCode(event.keyCode);
  if (flags == 0 && key == Key::tab) {
    endRecording();
    return EventPass::passOn;
  }
  if (flags == 0 && key == Key::escape) {
    giveUpKeyboard();
    return EventPass::swallow;
  }
  if (flags == 0 && (key == Key::delete_ || key == Key::forwardDelete)) {
    cancelButtonPressed();
    return EventPass::swallow;
  }

  const auto shortcut = shortcutOf(event);
  // A hotkey needs exactly its modifiers, and these can't be among them: it would never be pressed.
  const bool canBeStruck =
      (event.modifierFlags & (modifier_flag::function | modifier_flag::unnamed)) == 0;
  const bool isBare = (flags & ~modifier_flag::shift) == 0 && !(key && isFunctionKey(*key));
  if (isBare || !canBeStruck || !shortcut) {
    services_.sound.NSBeep();
  } else if (const auto* item =
                 menuItemOwning(*shortcut, services_.mainMenu.mainMenu(), services_.layouts)) {
    refuse({services_.texts.format("keyboard_shortcut_used_by_menu_item", item->title), {}});
  } else if (isSystemShortcut(*shortcut, services_.hotKeys)) {
    refuse({std::string(services_.texts.text("keyboard_shortcut_used_by_system")),
            std::string(services_.texts.text("keyboard_shortcuts_can_be_changed"))});
  } else {
    accept(*shortcut);
  }
  return EventPass::swallow;
}

void RecorderCocoa::refuse(RecorderAlert refusal) {
  giveUpKeyboard();
  alert.set(std::move(refusal));
}

void RecorderCocoa::accept(const Shortcut& shortcut) {
  stringValue.set(displayText(shortcut, services_.layouts));
  showCancelButtonIfText();
  services_.shortcuts.setShortcut(shortcutName_, shortcut);
  if (onChange_) onChange_(shortcut);
  giveUpKeyboard();
}

void RecorderCocoa::giveUpKeyboard() {
  endRecording();
  focusRequested_(false);
}

void RecorderCocoa::restartTimeout() {
  if (timedOut_) timedOut_->invalidate();
  timedOut_ = services_.runLoop.scheduledTimerWithTimeInterval(
      timeout, TimerRepeats::no, [this](const TimerRef&) { giveUpKeyboard(); });
}

void RecorderCocoa::showShortcut() {
  const auto shortcut = services_.shortcuts.shortcut(shortcutName_);
  stringValue.set(shortcut ? displayText(*shortcut, services_.layouts) : std::string());
  showCancelButtonIfText();
}

void RecorderCocoa::showCancelButtonIfText() {
  showsCancelButton.set(!stringValue.get().empty());
}

}  // namespace tapeloop
