#include "controller/content_view.h"

#include "controller/shortcut_slots.h"
#include "hotkeys/key_combo.h"

namespace tapeloop {
namespace {

CaptureSettings captureSettings(Settings& settings) {
  return {.startStopButtonText = settings.startStopButtonText,
          .key = settings.key,
          .hideDuringRecording = settings.hideDuringRecording,
          .isMiniturized = settings.isMiniturized};
}

PlaybackSettings playbackSettings(Settings& settings) {
  return {.playbackSpeed = settings.playbackSpeed,
          .repeatPlayback = settings.repeatPlayback,
          .timesToRepeat = settings.timesToRepeat,
          .playCount = settings.playCount,
          .waitBeforeRepeating = settings.waitBeforeRepeating,
          .waittimenumber = settings.waittimenumber,
          .waittimeunit = settings.waittimeunit};
}

PlaybackServices playbackServices(const Desktop& desktop) {
  return {.runLoop = desktop.runLoop,
          .clock = desktop.clock,
          .trace = desktop.trace,
          .eventSynthesis = desktop.eventSynthesis,
          .screens = desktop.screens,
          .windows = desktop.windows};
}

}  // namespace

ContentView::ContentView(const Desktop& desktop, Settings& settings)
    : desktop_(desktop),
      settings_(settings),
      informationButton_(desktop.workspace, desktop.trace),
      capture_(captureState_, captureSettings(settings), desktop.permission, desktop.inputMonitor,
               desktop.windows, desktop.runLoop, desktop.trace),
      playback_(captureState_, playbackState_, playbackSettings(settings),
                playbackServices(desktop)),
      repeat_(captureState_, playbackState_, playbackSettings(settings), playbackServices(desktop),
              playback_),
      library_(libraryState_, captureState_, playbackState_, desktop.defaults, desktop.runLoop,
               desktop.trace),
      hotKeysController_(desktop.hotKeys),
      hotKey_(HotKey::create(hotKeysController_, KeyCombo(Key::escape, 0))),
      keyboardShortcuts_(desktop.hotKeys, desktop.defaults, desktop.notifications) {
  // Other applications need Escape: it is grabbed only during playback. Playback stops even where
  // another program's grab has made ours fail.
  hotKey_->setClaim(HotKeyClaim::observe);
  playing_ = captureState_.isPlaying.subscribe([this] {
    hotKey_->setClaim(captureState_.isPlaying.get() ? HotKeyClaim::takeIfFree
                                                    : HotKeyClaim::observe);
  });
  playbackState_.loadedRecording.uniqueID = Uuid::random();
}

ContentView::~ContentView() = default;

void ContentView::onAppear() {
  if (const auto screen = desktop_.screens.mainScreen()) {
    playbackState_.widthScreen = screen->frame.size.width;
    captureState_.heightScreen = screen->frame.size.height;
  }
  captureState_.eventLog.clear();
  if (desktop_.permission.AXIsProcessTrusted()) desktop_.review.requestReview();
}

void ContentView::onToolbarAppear() {
  hotKey_->setKeyDownHandler([this] { escapeKeyPressed(); });
  keyboardShortcuts_.onKeyUp(recordShortcut, [this] { capture_.recordShortcutAction(); });
  keyboardShortcuts_.onKeyUp(playShortcut,
                             [this] { repeat_.startPlayback(PlayVariant::shortcut); });
}

void ContentView::recordButtonPressed() {
  capture_.recordAction();
}
void ContentView::playButtonPressed() {
  if (buttonsRespond()) repeat_.startPlayback(PlayVariant::button);
}

void ContentView::settingsButtonPressed() {
  if (!buttonsRespond()) return;
  desktop_.trace.writeLine("Settings Button Pressed.");
  showSheetView_.set(!showSheetView_.get());
}

void ContentView::saveButtonPressed() {
  if (buttonsRespond()) library_.saveRecording();
}
void ContentView::listButtonPressed() {
  if (buttonsRespond()) library_.toggleSidebar();
}
void ContentView::informationButtonPressed() {
  if (buttonsRespond()) informationButton_.press();
}
void ContentView::loadButtonPressed(std::size_t row) {
  if (buttonsRespond()) library_.loadSavedRecording(LoadVariant::button, row);
}
void ContentView::trashButtonPressed(std::size_t row) {
  if (buttonsRespond()) library_.deleteSavedRecording(row);
}

void ContentView::escapeKeyPressed() {
  playback_.stopPlayback();
}

void ContentView::dismissAuthAlert() {
  desktop_.trace.writeLine("Dismiss button pressed.");
  captureState_.showingAuthAlert.set(false);
}

void ContentView::dismissPlayAlert() {
  desktop_.trace.writeLine("Dismiss button pressed.");
  playbackState_.showingPlayAlert.set(false);
}

}  // namespace tapeloop
