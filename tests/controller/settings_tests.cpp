#include "controller/settings.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SettingsTest : public SimulatedTest {
 protected:
  void write(const char* key, const DefaultsValue& value) {
    EXPECT_EQ(desktop.defaults.setObjectForKey(value, key), StoreStatus::stored);
  }
  std::optional<DefaultsValue> stored(const char* key) {
    return desktop.defaults.objectForKey(key);
  }
  template <typename T>
  void expectDefaultAndStoring(Setting<T>& setting, const char* key,
                               const std::type_identity_t<T>& defaultValue,
                               const std::type_identity_t<T>& other) {
    SCOPED_TRACE(key);
    EXPECT_EQ(setting.get(), defaultValue);
    EXPECT_EQ(stored(key), std::nullopt) << "reading writes nothing";
    setting.set(other);
    EXPECT_EQ(stored(key), DefaultsValue(other));
  }
  /// Each notification of the setting appends its value to `seen`.
  template <typename T>
  void notifiedOf(Setting<T>& setting, std::vector<T>& seen) {
    subscription = setting.subscribe([&] { seen.push_back(setting.get()); });
  }

  Settings settings{desktop.defaults};
  Subscription subscription;
};

TEST_F(SettingsTest, HaveDefaultsAndKeysOfTheirOwn) {
  expectDefaultAndStoring(settings.startStopButtonText, "startStopButtonText", "Record", "a");
  expectDefaultAndStoring(settings.key, "key", true, false);
  expectDefaultAndStoring(settings.playbackSpeed, "playbackSpeed", 1, 3);
  expectDefaultAndStoring(settings.repeatPlayback, "repeatPlayback", false, true);
  expectDefaultAndStoring(settings.timesToRepeat, "timesToRepeat", 5, 0.5);
  expectDefaultAndStoring(settings.playCount, "playCount", 0, 7);
  expectDefaultAndStoring(settings.waitBeforeRepeating, "waitBeforeRepeating", false, true);
  expectDefaultAndStoring(settings.waittimenumber, "waittimenumber", 5, 60);
  expectDefaultAndStoring(settings.waittimeunit, "waittimeunit", "seconds", "hours");
  expectDefaultAndStoring(settings.isMiniturized, "isMiniturized", false, true);
  expectDefaultAndStoring(settings.hideDuringRecording, "hideDuringRecording", true, false);
  EXPECT_EQ(Settings(desktop.defaults).timesToRepeat.get(), 0.5);
}

TEST_F(SettingsTest, WriteOnlyWhatTheStoreLacks) {
  write("timesToRepeat", std::int64_t{5});
  EXPECT_EQ(settings.timesToRepeat.get(), 5.0);
  settings.timesToRepeat.set(5.0);
  EXPECT_EQ(stored("timesToRepeat"), DefaultsValue(5.0)) << "it had another type";
  settings.playCount.set(0);
  settings.playCount.set(0);
  EXPECT_EQ(desktop.defaults.writes("playCount"), 1u) << "an absent key is written, once";
}

TEST_F(SettingsTest, NotifyOfChangesFromEverySideOnce) {
  Settings other(desktop.defaults);
  std::vector<bool> seen;
  notifiedOf(settings.repeatPlayback, seen);
  EXPECT_FALSE(settings.repeatPlayback.get());
  other.repeatPlayback.set(true);
  settings.repeatPlayback.set(false);
  settings.repeatPlayback.set(false);
  EXPECT_EQ(other.repeatPlayback.get(), false);
  write("repeatPlayback", true);
  EXPECT_EQ(seen, (std::vector{true, false, true}));
}

TEST_F(SettingsTest, MayBeSetBySubscribers) {
  const auto limit = settings.waittimenumber.subscribe([&] {
    if (settings.waittimenumber.get() > 60) settings.waittimenumber.set(60);
  });
  settings.waittimenumber.set(100);
  EXPECT_EQ(settings.waittimenumber.get(), 60);
  EXPECT_EQ(stored("waittimenumber"), DefaultsValue(std::int64_t{60}));
}

TEST_F(SettingsTest, RefusedValuesHoldAndAreTriedAgain) {
  std::vector<double> seen;
  notifiedOf(settings.playbackSpeed, seen);
  for (const StoreStatus status :
       {StoreStatus::readOnly, StoreStatus::diskFull, StoreStatus::locked, StoreStatus::damaged,
        StoreStatus::unavailable}) {
    desktop.defaults.setStatus(status);
    settings.playbackSpeed.set(static_cast<double>(status) + 3);
    EXPECT_EQ(settings.playbackSpeed.get(), static_cast<double>(status) + 3);
  }
  EXPECT_EQ(seen.size(), 5u);
  EXPECT_EQ(stored("playbackSpeed"), std::nullopt);

  const double last = settings.playbackSpeed.get();
  desktop.defaults.setStatus(StoreStatus::stored);
  settings.playbackSpeed.set(last);
  EXPECT_EQ(stored("playbackSpeed"), DefaultsValue(last));
  EXPECT_EQ(seen.size(), 5u);
}

TEST_F(SettingsTest, UseWhatAnotherProcessHasWritten) {
  std::vector<std::int64_t> seen;
  notifiedOf(settings.playCount, seen);
  EXPECT_EQ(settings.playCount.get(), 0);
  EXPECT_EQ(settings.waittimenumber.get(), 5);
  desktop.defaults.writeElsewhere(std::int64_t{7}, "playCount");
  EXPECT_EQ(settings.playCount.get(), 7);
  EXPECT_THAT(seen, IsEmpty()) << "whoever asks is not interrupted";
  desktop.defaults.endTurn();
  EXPECT_THAT(seen, ElementsAre(7));

  desktop.defaults.writeElsewhere(std::int64_t{8}, "playCount");
  desktop.defaults.endTurn();
  EXPECT_THAT(seen, ElementsAre(7, 8)) << "also those that nobody asked for";
  desktop.defaults.writeElsewhere(std::int64_t{9}, "playCount");
  settings.playCount.set(8);
  EXPECT_EQ(stored("playCount"), DefaultsValue(std::int64_t{8}));
  desktop.defaults.endTurn();
  EXPECT_THAT(seen, ElementsAre(7, 8)) << "the 9 was never shown";
  const auto reads = desktop.defaults.reads("waittimenumber");
  for (int i = 0; i < 10; ++i) (void)settings.waittimenumber.get();
  EXPECT_EQ(desktop.defaults.reads("waittimenumber"), reads);
}

TEST_F(SettingsTest, ReadAgainWhatCouldNotBeRead) {
  write("waittimenumber", std::int64_t{30});
  write("playbackSpeed", 4.0);
  Settings fresh(desktop.defaults);  // which has read nothing yet
  std::vector<double> seen;
  notifiedOf(fresh.playbackSpeed, seen);
  desktop.defaults.setReadStatus(StoreStatus::unavailable);
  EXPECT_EQ(fresh.playbackSpeed.get(), 1.0);
  fresh.waittimenumber.set(20);
  EXPECT_EQ(fresh.waittimenumber.get(), 20);
  desktop.defaults.setReadStatus(StoreStatus::stored);
  EXPECT_EQ(fresh.playbackSpeed.get(), 4.0);
  desktop.defaults.endTurn();
  EXPECT_THAT(seen, ElementsAre(4.0));
  EXPECT_EQ(fresh.waittimenumber.get(), 20) << "what the user chose holds for this run";
  fresh.waittimenumber.set(10);
  EXPECT_EQ(stored("waittimenumber"), DefaultsValue(std::int64_t{10}));

  write("waittimenumber", std::int64_t{40});
  desktop.defaults.setReadStatus(StoreStatus::unavailable);
  desktop.defaults.writeElsewhere(true, "key");
  EXPECT_EQ(fresh.waittimenumber.get(), 40) << "rather what is known than the default";
}

}  // namespace
}  // namespace tapeloop
