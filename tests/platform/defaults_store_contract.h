#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/defaults_store.h"

namespace tapeloop {

/// What every defaults store promises. `Harness` has `DefaultsStore& store()`, which is empty at
/// first.
template <typename Harness>
class DefaultsStoreContract : public testing::Test {
 protected:
  DefaultsStore& store() { return harness_.store(); }
  void set(const DefaultsValue& value, std::string_view key) {
    EXPECT_EQ(store().setObjectForKey(value, key), StoreStatus::stored);
  }

  Harness harness_;
};

TYPED_TEST_SUITE_P(DefaultsStoreContract);

TYPED_TEST_P(DefaultsStoreContract, ReplacesAValueAndReturnsItWithItsTypeAndEveryByte) {
  using namespace std::string_literals;
  using Integers = std::numeric_limits<std::int64_t>;
  using Reals = std::numeric_limits<double>;
  // Those of different types that are alike beside each other.
  const std::vector<DefaultsValue> values = {std::int64_t{0},
                                             false,
                                             true,
                                             std::int64_t{1},
                                             1.0,
                                             "1"s,
                                             ""s,
                                             0.5,
                                             Integers::min(),
                                             Integers::max(),
                                             Reals::infinity(),
                                             Reals::denorm_min(),
                                             "a\0b\0"s,
                                             "\xff\xfe not UTF-8"s,
                                             "漢字 'quoted'; --"s,
                                             std::string(std::size_t{20} << 20, 'x')};
  for (std::size_t i = 0; i < values.size(); ++i) {
    this->set(values[i], "key");
    EXPECT_TRUE(this->store().objectForKey("key") == values[i]) << i;
  }
  for (const double value : {-0.0, std::nan("0x123"), -std::nan("")}) {
    this->set(value, "key");
    const auto read = this->store().objectForKey("key");
    ASSERT_TRUE(read && std::holds_alternative<double>(*read));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(std::get<double>(*read)),
              std::bit_cast<std::uint64_t>(value));
  }
}

TYPED_TEST_P(DefaultsStoreContract, TellsKeysApartByEveryByte) {
  using namespace std::string_literals;
  const std::string keys[] = {"key", "KEY", "key\0"s, ""};
  for (const std::string& key : keys) this->set("at " + key, key);
  for (const std::string& key : keys) {
    EXPECT_EQ(this->store().objectForKey(key), DefaultsValue("at " + key));
  }
  EXPECT_FALSE(this->store().objectForKey("ke"));
}

TYPED_TEST_P(DefaultsStoreContract, TellsTheObserversOfAKeyAfterEachWrite) {
  std::vector<std::optional<DefaultsValue>> seen;
  auto subscription =
      this->store().observe("key", [&] { seen.push_back(this->store().objectForKey("key")); });
  this->set(std::int64_t{1}, "other");
  this->set(std::int64_t{2}, "key");
  this->set(std::int64_t{2}, "key");
  subscription.reset();
  this->set(std::int64_t{3}, "key");
  const DefaultsValue two = std::int64_t{2};
  EXPECT_THAT(seen, testing::ElementsAre(two, two));
}

TYPED_TEST_P(DefaultsStoreContract, LetsAnObserverWriteAndEndItself) {
  Subscription subscription = this->store().observe("key", [&] {
    subscription.reset();
    this->set(std::int64_t{2}, "key");
  });
  this->set(std::int64_t{1}, "key");
  EXPECT_EQ(this->store().objectForKey("key"), DefaultsValue(std::int64_t{2}));
}

TYPED_TEST_P(DefaultsStoreContract, StoresTheWritesOfATransactionTogether) {
  this->set(std::string("old"), "first");
  std::vector<std::optional<DefaultsValue>> seen;
  const auto subscription = this->store().observe("first", [&] {
    seen.push_back(this->store().objectForKey("first"));
    seen.push_back(this->store().objectForKey("second"));
  });
  const std::string longText(std::size_t{1} << 20, 'x');
  EXPECT_EQ(this->store().transaction([&](const DefaultsStore::Writer& write) {
    EXPECT_EQ(this->store().objectForKey("first"), DefaultsValue("old"));
    write(std::string_view(longText), "first");
    write(2.5, "second");
    EXPECT_TRUE(seen.empty()) << "observers would find half of it";
  }),
            StoreStatus::stored);
  EXPECT_TRUE((seen == std::vector<std::optional<DefaultsValue>>{longText, 2.5}));
  EXPECT_EQ(this->store().transaction([](const DefaultsStore::Writer&) {}), StoreStatus::stored);
}

TYPED_TEST_P(DefaultsStoreContract, ItsOwnWritesAreNotForeign) {
  const auto revision = this->store().foreignRevision();
  this->set(true, "key");
  EXPECT_EQ(
      this->store().transaction([](const DefaultsStore::Writer& write) { write(false, "key"); }),
      StoreStatus::stored);
  EXPECT_EQ(this->store().foreignRevision(), revision);
}

REGISTER_TYPED_TEST_SUITE_P(DefaultsStoreContract,
                            ReplacesAValueAndReturnsItWithItsTypeAndEveryByte,
                            TellsKeysApartByEveryByte, TellsTheObserversOfAKeyAfterEachWrite,
                            LetsAnObserverWriteAndEndItself, StoresTheWritesOfATransactionTogether,
                            ItsOwnWritesAreNotForeign);

}  // namespace tapeloop
