#include "app/app_delegate.h"

#include <string_view>
#include <utility>

#include "app/authorize_view.h"

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
  // What this desktop's other programs quit with.
  application.items.back().keyEquivalentModifierMasks.push_back(modifier_flag::control);
  return {"My App", {{{}, MenuAction::none, {}, std::move(application)}}};
}

}  // namespace

AppDelegate::AppDelegate(const Desktop& desktop, Settings& settings)
    : desktop_(desktop), settings_(settings) {}

void AppDelegate::applicationDidFinishLaunching() {
  // A run that was killed while it captured leaves its caption in the store.
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

// Makes the desktop notice that this program posts input, so that it can ask for the permission.
void AppDelegate::clickAtPointer() {
  const auto pointer = desktop_.screens.mouseLocation();
  const auto screens = desktop_.screens.screens();
  if (!pointer || screens.empty()) return;
  const Point place{pointer->x, screens.front().frame.size.height - pointer->y};
  EventSynthesis& synthesis = desktop_.eventSynthesis;
  // A press whose release can't be made does not stay down.
  const auto session = synthesis.beginPosting();
  for (const EventType type : {EventType::leftMouseDown, EventType::leftMouseUp}) {
    const auto event = synthesis.CGEventCreateMouseEvent(type, place, MouseButton::left);
    if (!event) return;
    synthesis.CGEventPost(TapLocation::hid, *event);
  }
}

}  // namespace tapeloop
