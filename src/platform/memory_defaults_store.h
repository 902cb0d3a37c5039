#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// A store in memory, used when the store file can't be opened.
class MemoryDefaultsStore : public DefaultsStore {
 public:
  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
    if (const List* list = listUnder(key)) return textOf(*list);
    const auto known = values_.find(key);
    if (known == values_.end()) return std::nullopt;
    return std::get<DefaultsValue>(known->second);
  }

  [[nodiscard]] std::optional<std::vector<ListElement>> elementsForKey(
      std::string_view key) const override {
    const List* list = listUnder(key);
    if (!list) return std::nullopt;
    std::vector<ListElement> elements;
    for (const Element& element : *list) elements.push_back({element.id, element.head});
    return elements;
  }

  [[nodiscard]] std::optional<std::string> elementText(std::int64_t id,
                                                       std::string_view key) const override {
    const List* list = listUnder(key);
    if (!list) return std::nullopt;
    const auto element = std::ranges::find(*list, id, &Element::id);
    if (element == list->end()) return std::nullopt;
    return element->head + element->rest;
  }

  [[nodiscard]] StoreStatus statusOfRead(std::string_view) const override {
    return StoreStatus::stored;
  }

  [[nodiscard]] StoreStatus transaction(
      const std::function<void(StoreWriter& writer)>& body) override {
    Writer writer(*this);
    body(writer);
    if (writer.status != StoreStatus::stored) return writer.status;
    for (const auto& change : writer.changes) change();
    for (const std::string& key : writer.keys) callObservers(key);
    return StoreStatus::stored;
  }

  [[nodiscard]] std::uint64_t foreignRevision() const override { return 0; }

  Subscription observe(std::string_view key, std::function<void()> callback) override {
    return observers_[std::string(key)].connect(std::move(callback));
  }

  Subscription observeForeignWrites(std::function<void()> callback) override {
    return foreignWrites_.connect(std::move(callback));
  }

 protected:
  /// Called before each write. A status other than `stored` makes the transaction fail.
  virtual StoreStatus admit(std::string_view) { return StoreStatus::stored; }

  void callForeignWriteObservers() const { foreignWrites_(); }
  void put(DefaultsValue value, std::string_view key) {
    values_.insert_or_assign(std::string(key), std::move(value));
  }

 private:
  struct Element {
    std::int64_t id = 0;
    std::string head;
    std::string rest;
  };
  using List = std::vector<Element>;

  /// Collects the changes, which are made at the end of the transaction.
  struct Writer final : StoreWriter {
    explicit Writer(MemoryDefaultsStore& of) : store(of) {}

    void set(const DefaultsView& value, std::string_view key) override {
      then(key, [this, held = valueOf(value), name = std::string(key)] { store.put(held, name); });
    }
    void setEmptyList(std::string_view key) override {
      then(key, [this, name = std::string(key)] { store.values_[name] = List(); });
    }
    std::int64_t append(std::string_view head, std::string_view rest,
                        std::string_view key) override {
      Element element{++store.latestId_, std::string(head), std::string(rest)};
      const auto id = element.id;
      const bool isTaken = then(key, [this, element = std::move(element), name = std::string(key)] {
        store.listIn(name).push_back(element);
      });
      return isTaken ? id : 0;
    }
    void setHead(std::int64_t id, std::string_view head, std::string_view key) override {
      then(key, [this, id, text = std::string(head), name = std::string(key)] {
        List& list = store.listIn(name);
        std::ranges::find(list, id, &Element::id)->head = text;
      });
    }
    void remove(std::int64_t id, std::string_view key) override {
      then(key, [this, id, name = std::string(key)] {
        std::erase_if(store.listIn(name),
                      [id](const Element& element) { return element.id == id; });
      });
    }

    bool then(std::string_view key, std::function<void()> change) {
      if (status == StoreStatus::stored) status = store.admit(key);
      if (status != StoreStatus::stored) return false;
      changes.push_back(std::move(change));
      keys.emplace_back(key);
      return true;
    }

    MemoryDefaultsStore& store;
    StoreStatus status = StoreStatus::stored;
    std::vector<std::function<void()>> changes;
    std::vector<std::string> keys;
  };

  static DefaultsValue valueOf(const DefaultsView& view) {
    if (const auto* text = std::get_if<std::string_view>(&view)) return std::string(*text);
    if (const auto* real = std::get_if<double>(&view)) return *real;
    if (const auto* integer = std::get_if<std::int64_t>(&view)) return *integer;
    return std::get<bool>(view);
  }
  static std::string textOf(const List& list) {
    std::string text = "[";
    for (const Element& element : list) {
      if (text.size() > 1) text += ',';
      text.append(element.head).append(element.rest);
    }
    return text += ']';
  }

  List& listIn(const std::string& key) { return std::get<List>(values_[key]); }
  const List* listUnder(std::string_view key) const {
    const auto known = values_.find(key);
    return known == values_.end() ? nullptr : std::get_if<List>(&known->second);
  }
  void callObservers(std::string_view key) {
    if (const auto known = observers_.find(key); known != observers_.end()) known->second();
  }

  std::map<std::string, std::variant<DefaultsValue, List>, std::less<>> values_;
  std::int64_t latestId_ = 0;
  std::map<std::string, Signal<>, std::less<>> observers_;
  Signal<> foreignWrites_;
};

}  // namespace tapeloop
