#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/simulated/hotkey_service.h"
#include "x11_fixture.h"

// What every hotkey service promises, tried on the simulated one and on a real X server.

using namespace tapeloop;
using namespace tapeloop::support;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr std::uint32_t keyX = 7;
constexpr std::uint32_t controlOption = controlKey | optionKey;

/// The keys of a person who holds Control and Alt, and another program.
class SimulatedKeys {
 public:
  HotKeyService& service() { return service_; }
  /// Whether the application that has the focus saw the key.
  bool press() { return service_.press({keyX, controlOption}); }
  void release() { service_.release({keyX, controlOption}); }
  void otherProgramTakes() { service_.taken.insert({keyX, controlOption}); }
  void otherProgramLetsGo() { service_.taken.clear(); }
  void changeKeyboard() { service_.keyboardChanged(); }

 private:
  simulated::ScriptedHotKeyService service_;
};

class X11Keys : public X11Test {
 public:
  HotKeyService& service() { return desktop.x.hotKeys; }
  bool press() {
    const auto before = timesSeen("x");
    for (const char* key : {"Control_L", "Alt_L", "x"}) user.pressKey(key);
    settleAll();
    return timesSeen("x") > before;
  }
  void release() {
    for (const char* key : {"x", "Alt_L", "Control_L"}) user.releaseKey(key);
    settleAll();
  }
  void otherProgramTakes() {
    other_ = std::make_unique<XConnection>(server.display());
    xcb_grab_key(*other_, 0, other_->root(), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1,
                 user.keycode("x"), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    other_->sync();
  }
  void otherProgramLetsGo() {
    xcb_ungrab_key(*other_, XCB_GRAB_ANY, other_->root(), XCB_MOD_MASK_ANY);
    other_->sync();
  }
  void changeKeyboard() { useLayout("de"); }

 private:
  void TestBody() override {}
  /// The other window, too, has been sent everything: a move of the pointer comes after the keys.
  void settleAll() {
    const std::size_t moves = window.count(XEventKind::motion);
    user.moveTo(++place_, 5);
    EXPECT_TRUE(turnUntil([&] { return window.count(XEventKind::motion) > moves; }));
    settle();
  }

  std::unique_ptr<XConnection> other_;
  int place_ = 10;
};

template <typename Keys>
class HotKeyServiceContract : public testing::Test {
 protected:
  static constexpr EventTypeSpec types[] = {{kEventClassKeyboard, kEventHotKeyPressed},
                                            {kEventClassKeyboard, kEventHotKeyReleased}};

  HotKeyServiceContract() {
    std::optional<EventHandlerRef> handler;
    service.InstallEventHandler(
        *service.GetEventDispatcherTarget(),
        [this](const HotKeyEvent* event) {
          events.emplace_back(event->directObject->id, event->kind == kEventHotKeyPressed);
          return noErr;
        },
        types, handler);
  }
  EventHotKeyRef add(std::uint32_t id, HotKeyClaim claim) {
    std::optional<EventHotKeyRef> hotKey;
    EXPECT_EQ(service.RegisterEventHotKey(keyX, controlOption, {1, id},
                                          *service.GetEventDispatcherTarget(), 0, claim, hotKey),
              noErr);
    return hotKey.value();
  }
  auto take() { return std::exchange(events, {}); }
  bool tap() {
    const bool seen = keys.press();
    keys.release();
    return seen;
  }
  /// Taps; how many presses and releases that makes. The application never sees the key.
  std::size_t takenTap() {
    EXPECT_FALSE(tap());
    return take().size();
  }

  Keys keys;
  HotKeyService& service = keys.service();
  std::vector<std::pair<std::uint32_t, bool>> events;  // identifier, whether it went down
};

using Services = testing::Types<SimulatedKeys, X11Keys>;

struct ServiceNames {
  template <typename Keys>
  static std::string GetName(int) {
    return std::is_same_v<Keys, X11Keys> ? "X11" : "Simulated";
  }
};
TYPED_TEST_SUITE(HotKeyServiceContract, Services, ServiceNames);

}  // namespace

TYPED_TEST(HotKeyServiceContract, EachPressAndReleaseIsNotifiedOnce) {
  const std::pair down1(1U, true);
  const std::pair up1(1U, false);
  const std::pair down2(2U, true);
  const std::pair up2(2U, false);
  this->add(1, HotKeyClaim::observe);
  EXPECT_TRUE(this->keys.press());
  EXPECT_THAT(this->take(), ElementsAre(down1));
  const auto second = this->add(2, HotKeyClaim::take);
  this->keys.release();
  EXPECT_THAT(this->take(), ElementsAre(up1)) << "no release without its press";
  EXPECT_FALSE(this->tap());
  EXPECT_THAT(this->take(), ElementsAre(down1, down2, up1, up2));
  this->keys.press();
  EXPECT_EQ(this->service.UnregisterEventHotKey(second), noErr);
  EXPECT_EQ(this->service.UnregisterEventHotKey(second), eventHotKeyInvalidErr);
  this->keys.release();
  EXPECT_THAT(this->take(), ElementsAre(down1, down2, up1));
}

TYPED_TEST(HotKeyServiceContract, TheClaimDecidesWhetherTheKeyIsTaken) {
  const auto hotKey = this->add(1, HotKeyClaim::observe);
  EXPECT_TRUE(this->tap());
  for (const HotKeyClaim claim : {HotKeyClaim::take, HotKeyClaim::takeIfFree}) {
    this->service.setClaim(hotKey, claim);
    EXPECT_FALSE(this->tap());
  }
  this->service.setClaim(hotKey, HotKeyClaim::observe);
  EXPECT_TRUE(this->tap());
  EXPECT_EQ(this->take().size(), 8u);
}

TYPED_TEST(HotKeyServiceContract, WhatAnotherProgramHasIsDeadUntilItIsFree) {
  this->keys.otherProgramTakes();
  const auto hotKey = this->add(1, HotKeyClaim::take);
  EXPECT_EQ(this->takenTap(), 0u) << "refused when it was registered";
  this->service.setClaim(hotKey, HotKeyClaim::takeIfFree);
  EXPECT_EQ(this->takenTap(), 2u);
  this->service.setClaim(hotKey, HotKeyClaim::take);
  EXPECT_EQ(this->takenTap(), 0u) << "refused later";
  this->keys.otherProgramLetsGo();
  this->service.setClaim(hotKey, HotKeyClaim::take);
  EXPECT_EQ(this->takenTap(), 2u) << "the claim was set again";

  this->service.setClaim(hotKey, HotKeyClaim::observe);
  this->keys.otherProgramTakes();
  this->service.setClaim(hotKey, HotKeyClaim::take);
  this->keys.otherProgramLetsGo();
  this->keys.changeKeyboard();
  EXPECT_EQ(this->takenTap(), 2u) << "the keyboard changed";
}
