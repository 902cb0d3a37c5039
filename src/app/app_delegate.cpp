#include "app/app_delegate.h"

#include <string_view>
#include <utility>

namespace tapeloop {
namespace {

constexpr std::string_view mainWindowTitle = "Tapeloop";
constexpr Rect authorizationFrame{{0, 0}, {480, 300}};
constexpr StyleMask authorizationStyle = style_mask::titled | style_mask::closable |
                                         style_mask::miniaturizable | style_mask::resizable |
                                         style_mask::fullSizeContentView;

Menu mainMenu() {
  Menu application;
  application.items = {
      {"About Tapeloop", MenuAction::orderFrontStandardAboutPanel, {}, {}},
      MenuItem::separatorItem(),
      {"Quit Tapeloop", MenuAction::terminate, "q", {}},
  };
  // Control+Q, as in other programs of X11 desktops.
  application.items.back().keyEquivalentModifierMasks.push_back(modifier_flag::control);
  return {"My App", {{{}, MenuAction::none, {}, std::move(application)}}};
}

}  // namespace

AppDelegate::AppDelegate(const Desktop& desktop, Settings& settings)
    : desktop_(desktop), settings_(settings) {}

void AppDelegate::applicationDidFinishLaunching() {
  // The caption is in the store: after a kill during a capture it still reads "Stop Recording".
  settings_.startStopButtonText.set("Record");
  desktop_.mainMenu.setMainMenu(mainMenu());
  if (desktop_.permission.AXIsProcessTrusted()) return;
  openAuthorizationWindow();
  clickAtPointer();
}

void AppDelegate::applicationWillUpdate() {
  for (const auto& window : desktop_.windows.windows()) {
    if (window->title() != mainWindowTitle) continue;
    window->setStandardWindowButtonHidden(WindowButton::zoom, true);
    window->setMovableByWindowBackground(true);
  }
}

void AppDelegate::openAuthorizationWindow() {
  Awindow_ = desktop_.windows.createWindow(authorizationFrame, authorizationStyle,
                                           BackingType::buffered, DeferCreation::no);
  if (!Awindow_) return;
  Awindow_->setReleasedWhenClosed(false);
  Awindow_->center();
  Awindow_->setTitlebarAppearsTransparent(true);
  Awindow_->setFrameAutosaveName("Main Window");
  Awindow_->setContentView({std::make_shared<AuthorizeView>(desktop_.workspace, desktop_.trace)});
  Awindow_->makeKeyAndOrderFront();
  Awindow_->setLevel(WindowLevel::floating);
  Awindow_->setMovableByWindowBackground(true);
  Awindow_->setStandardWindowButtonHidden(WindowButton::miniaturize, true);
  Awindow_->setStandardWindowButtonHidden(WindowButton::zoom, true);
}

// Makes a desktop that asks the user for permission to post input ask now.
void AppDelegate::clickAtPointer() {
  const auto pointer = desktop_.screens.mouseLocation();
  const auto screens = desktop_.screens.screens();
  if (!pointer || screens.empty()) return;
  const Point place{pointer->x, screens.front().frame.size.height - pointer->y};
  EventSynthesis& synthesis = desktop_.eventSynthesis;
  // Its end releases the button if the release can't be made.
  const auto session = synthesis.beginPosting();
  for (const EventType type : {EventType::leftMouseDown, EventType::leftMouseUp}) {
    const auto event = synthesis.CGEventCreateMouseEvent(type, place, MouseButton::left);
    if (!event) return;
    synthesis.CGEventPost(TapLocation::hid, *event);
  }
}

}  // namespace tapeloop
