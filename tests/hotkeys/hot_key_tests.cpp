#include <memory>

#include "hotkeys/hot_key.h"
#include "hotkeys/keyboard_shortcuts.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;

constexpr std::uint32_t jwhk = 0x4A57486B;
constexpr std::uint32_t jwks = 0x4A574B53;
const simulated::ScriptedHotKeyService::Combination escape{53, 0};

class HotKeyTest : public SimulatedTest {
 protected:
  OSStatus send(std::uint32_t kind, std::optional<EventHotKeyID> id) {
    const HotKeyEvent event{kind, id};
    return service.send(&event);
  }
  std::vector<EventHotKeyID> ids() {
    std::vector<EventHotKeyID> result;
    for (const auto& each : service.registrations) result.push_back(each.id);
    return result;
  }

  simulated::ScriptedHotKeyService& service = desktop.hotKeys;
  HotKeysController controller{service};
  int pressed = 0;
  int released = 0;
};

TEST_F(HotKeyTest, RegistrationsCountUpAndEndAlone) {
  auto first = HotKey::create(controller, KeyCombo(53, 0));
  auto second = HotKey::create(controller, KeyCombo(53, 0));
  EXPECT_EQ(ids(), (std::vector<EventHotKeyID>{{jwhk, 1}, {jwhk, 2}}));
  first.reset();
  EXPECT_EQ(ids(), (std::vector<EventHotKeyID>{{jwhk, 2}}));
  second->setIsPaused(false);
  EXPECT_EQ(ids().size(), 1u) << "registering twice is once";
  second->setIsPaused(true);
  second->setIsPaused(false);
  EXPECT_EQ(ids(), (std::vector<EventHotKeyID>{{jwhk, 3}}));
  EXPECT_EQ(send(kEventHotKeyPressed, EventHotKeyID{jwhk, 2}), eventNotHandledErr);
  EXPECT_EQ(service.installedTypes.size(), 1u) << "one handler for all";
}

TEST_F(HotKeyTest, OnlyWhatHasAHandlerConsumesItsEvents) {
  const auto hotKey = HotKey::create(controller, KeyCombo(53, 0), {}, [this] { ++released; });
  const EventHotKeyID id{jwhk, 1};
  EXPECT_EQ(send(kEventHotKeyPressed, id), eventNotHandledErr);
  EXPECT_EQ(send(kEventHotKeyReleased, id), noErr);
  EXPECT_EQ(released, 1);
  EXPECT_EQ(send(7, id), eventNotHandledErr);
  EXPECT_EQ(send(kEventHotKeyReleased, EventHotKeyID{jwks, 1}), eventNotHandledErr);
  EXPECT_EQ(send(kEventHotKeyReleased, EventHotKeyID{jwhk, 9}), eventNotHandledErr);
  EXPECT_EQ(send(kEventHotKeyReleased, std::nullopt), eventParameterNotFoundErr);
  EXPECT_EQ(service.send(nullptr), eventNotHandledErr);
  hotKey->setKeyUpHandler({});
  EXPECT_EQ(send(kEventHotKeyReleased, id), eventNotHandledErr);
}

TEST_F(HotKeyTest, AKeyIsTakenOnlyWhileThereIsAHandler) {
  const auto hotKey = HotKey::create(controller, KeyCombo(53, 0));
  EXPECT_TRUE(service.tap(escape));
  hotKey->setKeyDownHandler([this] { ++pressed; });
  EXPECT_FALSE(service.tap(escape));
  hotKey->setClaim(HotKeyClaim::observe);
  EXPECT_TRUE(service.tap(escape));
  EXPECT_EQ(pressed, 2);
  hotKey->setClaim(HotKeyClaim::take);
  hotKey->setIsPaused(true);
  EXPECT_TRUE(service.tap(escape));
  hotKey->setIsPaused(false);
  EXPECT_FALSE(service.tap(escape));
  EXPECT_EQ(pressed, 3);
}

TEST_F(HotKeyTest, ATakenOneIsTriedAgainAfterAChange) {
  service.taken.insert(escape);
  const auto hotKey = HotKey::create(controller, KeyCombo(53, 0), [this] { ++pressed; });
  service.keyboardChanged();
  service.taken.clear();
  service.tap(escape);
  EXPECT_EQ(pressed, 0) << "nobody has tried again yet";
  service.keyboardChanged();
  EXPECT_FALSE(service.tap(escape));
  EXPECT_EQ(pressed, 1);
}

TEST_F(HotKeyTest, AHandlerMayDestroyItsHotKey) {
  std::shared_ptr<HotKey> hotKey;
  hotKey = HotKey::create(controller, KeyCombo(53, 0), [&] {
    ++pressed;
    hotKey.reset();
  });
  service.tap(escape);
  service.tap(escape);
  EXPECT_EQ(pressed, 1);
  EXPECT_TRUE(service.registrations.empty());
}

TEST_F(HotKeyTest, BothLayersLeaveEachOtherAlone) {
  const auto hotKey = HotKey::create(controller, KeyCombo(53, 0), [this] { ++pressed; });
  CarbonKeyboardShortcuts registrar(service);
  Shortcut seen;
  const Shortcut shortcut{53, 0};
  const auto note = [&seen](const Shortcut& each) { seen = each; };
  const auto nothing = [](const Shortcut&) {};
  for (const Shortcut& impossible : {Shortcut{-1, 0}, Shortcut{0, std::int64_t{1} << 32}}) {
    registrar.registerShortcut(impossible, nothing, nothing);
  }
  registrar.registerShortcut(shortcut, nothing, note);
  registrar.registerShortcut(shortcut, nothing, nothing);
  EXPECT_EQ(ids(), (std::vector<EventHotKeyID>{{jwhk, 1}, {jwks, 3}, {jwks, 4}}))
      << "attempts that fail count too";
  EXPECT_EQ(send(kEventHotKeyReleased, EventHotKeyID{jwks, 3}), noErr);
  EXPECT_EQ(seen, shortcut);
  seen = {};
  EXPECT_EQ(send(kEventHotKeyReleased, EventHotKeyID{jwhk, 3}), eventNotHandledErr);
  EXPECT_EQ(seen, Shortcut{});
  EXPECT_EQ(send(kEventHotKeyPressed, EventHotKeyID{jwhk, 1}), noErr);
  EXPECT_EQ(pressed, 1);
  EXPECT_EQ(service.installedTypes.size(), 2u) << "one handler for each layer";
  registrar.unregisterShortcut(shortcut);
  EXPECT_EQ(ids(), (std::vector<EventHotKeyID>{{jwhk, 1}}));
}

}  // namespace
}  // namespace tapeloop
