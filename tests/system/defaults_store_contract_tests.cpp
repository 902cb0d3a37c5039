// What every defaults store promises, the simulated one like the real one.
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/defaults_store.h"
#include "platform/system/sqlite_defaults_store.h"
#include "support/temporary_folder.h"

namespace tapeloop {
namespace {

using namespace std::string_literals;

struct SqliteHarness {
  DefaultsStore& store() { return *opened.store; }
  support::TemporaryFolder folder;
  system::SqliteDefaultsStore::Opened opened =
      system::SqliteDefaultsStore::open(folder.path() / "defaults.sqlite3");
};

// Hands everything on to a store in memory while it is told of no fault.
struct SimulatedHarness {
  DefaultsStore& store() { return faultyStore; }
  simulated::FaultyDefaultsStore faultyStore;
};

template <typename Harness>
class DefaultsStoreContract : public testing::Test {
 protected:
  DefaultsStore& store() { return harness_.store(); }
  void set(const DefaultsValue& value, std::string_view key) {
    EXPECT_EQ(store().setObjectForKey(value, key), StoreStatus::stored);
  }

  Harness harness_;
};

using Harnesses = testing::Types<SqliteHarness, SimulatedHarness>;
TYPED_TEST_SUITE(DefaultsStoreContract, Harnesses);

TYPED_TEST(DefaultsStoreContract, ReturnsAValueWithItsTypeAndEveryByte) {
  using Integers = std::numeric_limits<std::int64_t>;
  using Reals = std::numeric_limits<double>;
  const auto readBack = [this](const DefaultsValue& value) {
    this->set(value, "key");
    return this->store().objectForKey("key");
  };
  for (const bool value : {false, true}) EXPECT_EQ(readBack(value), DefaultsValue(value));
  for (const std::int64_t value : {std::int64_t{1}, Integers::min(), Integers::max()}) {
    EXPECT_EQ(readBack(value), DefaultsValue(value));
  }
  for (const double value :
       {1.0, -0.0, 0.5, Reals::infinity(), Reals::denorm_min(), std::nan("0x123"), -std::nan("")}) {
    const auto read = readBack(value);
    ASSERT_TRUE(read && std::holds_alternative<double>(*read));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(std::get<double>(*read)),
              std::bit_cast<std::uint64_t>(value));
  }
  const std::string longText(std::size_t{20} << 20, 'x');
  for (const std::string& value :
       {"1"s, ""s, "a\0b\0"s, "\xff\xfe not UTF-8"s, "漢字 'quoted'; --"s, longText}) {
    EXPECT_TRUE(readBack(value) == DefaultsValue(value)) << value.size();
  }
}

TYPED_TEST(DefaultsStoreContract, TellsKeysApartByEveryByte) {
  const std::string keys[] = {"key", "KEY", "key\0"s, ""};
  for (const std::string& key : keys) this->set("at " + key, key);
  for (const std::string& key : keys) {
    EXPECT_EQ(this->store().objectForKey(key), DefaultsValue("at " + key));
  }
  EXPECT_FALSE(this->store().objectForKey("ke"));
}

TYPED_TEST(DefaultsStoreContract, TellsTheObserversOfAKeyAfterEachWrite) {
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

TYPED_TEST(DefaultsStoreContract, LetsAnObserverWriteAndEndItself) {
  Subscription subscription = this->store().observe("key", [&] {
    subscription.reset();
    this->set(std::int64_t{2}, "key");
  });
  this->set(std::int64_t{1}, "key");
  EXPECT_EQ(this->store().objectForKey("key"), DefaultsValue(std::int64_t{2}));
}

TYPED_TEST(DefaultsStoreContract, StoresTheWritesOfATransactionTogether) {
  this->set(std::string("old"), "first");
  std::vector<std::optional<DefaultsValue>> seen;
  const auto subscription = this->store().observe("first", [&] {
    seen.push_back(this->store().objectForKey("first"));
    seen.push_back(this->store().objectForKey("second"));
  });
  const std::string longText(std::size_t{1} << 20, 'x');
  EXPECT_EQ(this->store().transaction([&](StoreWriter& writer) {
    EXPECT_EQ(this->store().objectForKey("first"), DefaultsValue("old"));
    writer.set(std::string_view(longText), "first");
    writer.set(2.5, "second");
    EXPECT_TRUE(seen.empty()) << "observers would find half of it";
  }),
            StoreStatus::stored);
  EXPECT_TRUE((seen == std::vector<std::optional<DefaultsValue>>{longText, 2.5}));
  EXPECT_EQ(this->store().transaction([](StoreWriter&) {}), StoreStatus::stored);
}

TYPED_TEST(DefaultsStoreContract, KeepsAListElementByElement) {
  auto& store = this->store();
  const auto heads = [&] {
    std::vector<std::string> found;
    const auto elements = store.elementsForKey("list");
    for (const auto& element : elements.value_or(std::vector<ListElement>())) {
      found.push_back(element.head);
    }
    return found;
  };
  this->set(std::string("a text"), "list");
  EXPECT_FALSE(store.elementsForKey("list"));
  const std::string longRest = std::string(std::size_t{20} << 20, 'x') + "]";
  EXPECT_EQ(store.transaction([](StoreWriter& writer) { writer.setEmptyList("list"); }),
            StoreStatus::stored);
  EXPECT_EQ(store.objectForKey("list"), DefaultsValue("[]"));
  std::int64_t second = 0;
  EXPECT_EQ(store.transaction([&](StoreWriter& writer) {
    writer.append("1", "", "list");
    second = writer.append("[2", longRest, "list");
    writer.append("[3", "]", "list");
    writer.set(true, "other");
  }),
            StoreStatus::stored);
  EXPECT_THAT(heads(), testing::ElementsAre("1", "[2", "[3"));
  EXPECT_TRUE(store.elementText(second, "list") == "[2" + longRest);
  EXPECT_TRUE(store.objectForKey("list") == DefaultsValue("[1,[2" + longRest + ",[3]]"));
  EXPECT_EQ(store.transaction([&](StoreWriter& writer) {
    writer.setHead(second, "[4", "list");
    writer.remove(store.elementsForKey("list")->front().id, "list");
  }),
            StoreStatus::stored);
  EXPECT_THAT(heads(), testing::ElementsAre("[4", "[3"));
  EXPECT_EQ(store.transaction([&](StoreWriter& writer) { writer.remove(second, "list"); }),
            StoreStatus::stored);
  EXPECT_FALSE(store.elementText(second, "list"));
  EXPECT_EQ(store.objectForKey("list"), DefaultsValue("[[3]]"));

  this->set(std::string("a text"), "list");
  EXPECT_EQ(store.objectForKey("list"), DefaultsValue("a text"));
  EXPECT_EQ(store.transaction([](StoreWriter& writer) { writer.setEmptyList("list"); }),
            StoreStatus::stored);
  EXPECT_THAT(heads(), testing::IsEmpty()) << "what was there before is gone";
}

TYPED_TEST(DefaultsStoreContract, ItsOwnWritesAreNotForeign) {
  const auto revision = this->store().foreignRevision();
  this->set(true, "key");
  EXPECT_EQ(this->store().transaction([](StoreWriter& writer) { writer.set(false, "key"); }),
            StoreStatus::stored);
  EXPECT_EQ(this->store().foreignRevision(), revision);
}

}  // namespace
}  // namespace tapeloop
