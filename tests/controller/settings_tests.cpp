#include "controller/settings.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;

class SettingsTest : public SimulatedTest {
 protected:
  void write(const char* key, const DefaultsValue& value) {
    EXPECT_EQ(desktop.defaults.setObjectForKey(value, key), StoreStatus::stored);
  }
  std::optional<DefaultsValue> stored(const char* key) {
    return desktop.defaults.objectForKey(key);
  }
};

TEST_F(SettingsTest, AFreshStoreReadsAsTheDefaultsAndStaysEmpty) {
  const Settings settings(desktop.defaults);
  EXPECT_EQ(settings.startStopButtonText.get(), "Record");
  EXPECT_EQ(settings.key.get(), true);
  EXPECT_EQ(settings.playbackSpeed.get(), 1.0);
  EXPECT_EQ(settings.repeatPlayback.get(), false);
  EXPECT_EQ(settings.timesToRepeat.get(), 5.0);
  EXPECT_EQ(settings.playCount.get(), 0);
  EXPECT_EQ(settings.waitBeforeRepeating.get(), false);
  EXPECT_EQ(settings.waittimenumber.get(), 5);
  EXPECT_EQ(settings.waittimeunit.get(), "seconds");
  EXPECT_EQ(settings.isMiniturized.get(), false);
  EXPECT_EQ(settings.hideDuringRecording.get(), true);
  for (const char* key : {"startStopButtonText", "key", "playbackSpeed", "repeatPlayback",
                          "timesToRepeat", "playCount", "waitBeforeRepeating", "waittimenumber",
                          "waittimeunit", "isMiniturized", "hideDuringRecording"}) {
    EXPECT_EQ(stored(key), std::nullopt) << key;
  }
}

TEST_F(SettingsTest, EverySettingIsStoredUnderItsOwnKeyWithItsType) {
  Settings settings(desktop.defaults);
  settings.startStopButtonText.set("a");
  settings.key.set(false);
  settings.playbackSpeed.set(3);
  settings.repeatPlayback.set(true);
  settings.timesToRepeat.set(0.5);
  settings.playCount.set(7);
  settings.waitBeforeRepeating.set(true);
  settings.waittimenumber.set(60);
  settings.waittimeunit.set("hours");
  settings.isMiniturized.set(true);
  settings.hideDuringRecording.set(false);
  EXPECT_EQ(stored("startStopButtonText"), DefaultsValue("a"));
  EXPECT_EQ(stored("key"), DefaultsValue(false));
  EXPECT_EQ(stored("playbackSpeed"), DefaultsValue(3.0));
  EXPECT_EQ(stored("repeatPlayback"), DefaultsValue(true));
  EXPECT_EQ(stored("timesToRepeat"), DefaultsValue(0.5));
  EXPECT_EQ(stored("playCount"), DefaultsValue(std::int64_t{7}));
  EXPECT_EQ(stored("waitBeforeRepeating"), DefaultsValue(true));
  EXPECT_EQ(stored("waittimenumber"), DefaultsValue(std::int64_t{60}));
  EXPECT_EQ(stored("waittimeunit"), DefaultsValue("hours"));
  EXPECT_EQ(stored("isMiniturized"), DefaultsValue(true));
  EXPECT_EQ(stored("hideDuringRecording"), DefaultsValue(false));
  EXPECT_EQ(Settings(desktop.defaults).timesToRepeat.get(), 0.5);
}

TEST_F(SettingsTest, AValueOfAnotherTypeReadsAsTheDefaultAndIsReplaced) {
  write("timesToRepeat", std::int64_t{3});
  write("repeatPlayback", "true");
  Settings settings(desktop.defaults);
  EXPECT_EQ(settings.timesToRepeat.get(), 5.0);
  EXPECT_EQ(settings.repeatPlayback.get(), false);
  settings.timesToRepeat.set(5.0);
  EXPECT_EQ(stored("timesToRepeat"), DefaultsValue(5.0));
}

TEST_F(SettingsTest, OnlyWhatTheStoreDoesNotHoldIsWritten) {
  Settings settings(desktop.defaults);
  settings.playCount.set(0);
  EXPECT_EQ(stored("playCount"), DefaultsValue(std::int64_t{0})) << "an absent key is written";
  settings.playCount.set(0);
  EXPECT_EQ(desktop.defaults.writes("playCount"), 1u);
}

TEST_F(SettingsTest, SubscribersHearOfChangesFromEverySideOnce) {
  Settings sheet(desktop.defaults);
  Settings window(desktop.defaults);
  std::vector<bool> seen;
  const auto subscription =
      window.repeatPlayback.subscribe([&] { seen.push_back(window.repeatPlayback.get()); });
  EXPECT_FALSE(window.repeatPlayback.get());
  sheet.repeatPlayback.set(true);
  window.repeatPlayback.set(false);
  window.repeatPlayback.set(false);
  EXPECT_EQ(sheet.repeatPlayback.get(), false);
  write("repeatPlayback", true);
  EXPECT_EQ(seen, (std::vector{true, false, true}));
}

TEST_F(SettingsTest, ASubscriberMaySetTheValueAgain) {
  Settings settings(desktop.defaults);
  const auto subscription = settings.waittimenumber.subscribe([&] {
    if (settings.waittimenumber.get() > 60) settings.waittimenumber.set(60);
  });
  settings.waittimenumber.set(100);
  EXPECT_EQ(settings.waittimenumber.get(), 60);
  EXPECT_EQ(stored("waittimenumber"), DefaultsValue(std::int64_t{60}));
}

TEST_F(SettingsTest, AValueThatCannotBeStoredHoldsForThisRunAndIsTriedAgain) {
  Settings settings(desktop.defaults);
  int changes = 0;
  const auto subscription = settings.playbackSpeed.subscribe([&] { ++changes; });
  for (const StoreStatus status :
       {StoreStatus::readOnly, StoreStatus::diskFull, StoreStatus::locked, StoreStatus::damaged,
        StoreStatus::unavailable}) {
    desktop.defaults.setStatus(status);
    settings.playbackSpeed.set(static_cast<double>(status) + 3);
    EXPECT_EQ(settings.playbackSpeed.get(), static_cast<double>(status) + 3);
  }
  EXPECT_EQ(changes, 5);
  EXPECT_EQ(stored("playbackSpeed"), std::nullopt);

  const double last = settings.playbackSpeed.get();
  desktop.defaults.setStatus(StoreStatus::stored);
  settings.playbackSpeed.set(last);
  EXPECT_EQ(stored("playbackSpeed"), DefaultsValue(last));
  EXPECT_EQ(changes, 5);
}

}  // namespace
}  // namespace tapeloop
