#include "controller/stored_recordings.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

namespace tapeloop {

StoredRecordings::StoredRecordings(DefaultsStore& store)
    : store_(store), observation_(store.observe(key, [this] {
        if (isWriting_) return;
        isCurrent_ = false;
        writtenByOthers_();
      })) {}

const std::vector<RecordingHead>& StoredRecordings::list() {
  refresh();
  announce();
  return list_;
}

const std::vector<RecordingHead>& StoredRecordings::shown() {
  return isCurrent_ ? list_ : list();
}

std::string StoredRecordings::text() const {
  auto value = store_.objectForKey(key);
  auto* const text = value ? std::get_if<std::string>(&*value) : nullptr;
  return text ? std::move(*text) : "[]";
}

std::optional<Recording> StoredRecordings::recording(std::size_t row) {
  const auto head = headOf(row);
  if (!head) return std::nullopt;
  list();
  const auto position = find(row, *head);
  if (!position) return std::nullopt;
  const Place& place = places_[*position];
  if (isList_) {
    const auto text = store_.elementText(place.element, key);
    return text ? decodeRecording(*text) : std::nullopt;
  }
  return decodeRecording(std::string_view(text()).substr(place.offset, place.length));
}

StoredRecordings::Change StoredRecordings::append(const Recording& recording) {
  const auto text = encodeRecording(recording);
  if (!text) return {Outcome::notEncodable};
  return change([&](StoreWriter& writer) {
    ensureList(writer);
    add({recording.title, recording.uniqueID}, *text, writer);
    return true;
  });
}

StoredRecordings::Change StoredRecordings::rename(std::size_t row, const std::string& title) {
  const auto head = headOf(row);
  if (!head) return {};
  const auto renamed = encodeHead({title, head->uniqueID});
  if (!renamed) return {Outcome::notEncodable};
  return change([&](StoreWriter& writer) {
    const auto position = find(row, *head);
    if (!position) return false;
    ensureList(writer);
    list_[*position].title = title;
    writer.setHead(places_[*position].element, *renamed, key);
    return true;
  });
}

StoredRecordings::Change StoredRecordings::remove(std::size_t row) {
  const auto head = headOf(row);
  if (!head) return {};
  return change([&](StoreWriter& writer) {
    const auto position = find(row, *head);
    if (!position) return false;
    ensureList(writer);
    const auto distance = static_cast<std::ptrdiff_t>(*position);
    writer.remove(places_[*position].element, key);
    list_.erase(list_.begin() + distance);
    places_.erase(places_.begin() + distance);
    return true;
  });
}

std::optional<RecordingHead> StoredRecordings::headOf(std::size_t row) {
  const auto& heads = shown();
  if (row >= heads.size()) return std::nullopt;
  return heads[row];
}

std::optional<std::size_t> StoredRecordings::find(std::size_t row,
                                                  const RecordingHead& head) const {
  const auto isIt = [&head](const RecordingHead& other) { return other.uniqueID == head.uniqueID; };
  if (row < list_.size() && isIt(list_[row])) return row;
  const auto found = std::ranges::find_if(list_, isIt);
  if (found == list_.end()) return std::nullopt;
  return static_cast<std::size_t>(found - list_.begin());
}

StoredRecordings::Change StoredRecordings::change(const std::function<bool(StoreWriter&)>& edit) {
  bool isChanged = false;
  isWriting_ = true;
  const StoreStatus status = store_.transaction([&](StoreWriter& writer) {
    refresh();
    isChanged = edit(writer);
  });
  isWriting_ = false;
  if (status != StoreStatus::stored && isChanged) {
    // `edit` has changed `list_` already: it is read again.
    isCurrent_ = false;
    refresh();
  }
  announce();
  if (status != StoreStatus::stored) return {Outcome::refused, status};
  return {isChanged ? Outcome::stored : Outcome::needless};
}

void StoredRecordings::add(const RecordingHead& head, std::string_view text, StoreWriter& writer) {
  const std::string start = *encodeHead(head);
  list_.push_back(head);
  places_.push_back({writer.append(start, text.substr(start.size()), key)});
}

void StoredRecordings::ensureList(StoreWriter& writer) {
  if (isList_) return;
  if (isUnreadable_) keepAside(writer);
  const std::string whole = text();
  const auto heads = std::exchange(list_, {});
  const auto places = std::exchange(places_, {});
  writer.setEmptyList(key);
  for (std::size_t i = 0; i < heads.size(); ++i) {
    const auto record = std::string_view(whole).substr(places[i].offset, places[i].length);
    // A text that another program has formatted in its own way is encoded anew. That can't fail:
    // what was decoded can be encoded.
    if (places[i].isCanonical && record.starts_with(*encodeHead(heads[i]))) {
      add(heads[i], record, writer);
    } else if (const auto recording = decodeRecording(record)) {
      add(heads[i], *encodeRecording(*recording), writer);
    }
  }
  isList_ = true;
  isUnreadable_ = false;
}

void StoredRecordings::refresh() {
  // Asked before the list is read, so that a write in between makes it read again the next time.
  const std::uint64_t revision = store_.foreignRevision();
  if (isCurrent_ && revision == revision_) return;
  revision_ = revision;
  read();
}

void StoredRecordings::read() {
  std::vector<RecordingHead> heads;
  std::vector<Place> places;
  bool isReadable = true;
  const auto elements = store_.elementsForKey(key);
  if (elements) {
    for (const ListElement& element : *elements) {
      auto head = decodeHead(element.head);
      isReadable = isReadable && head;
      if (head) heads.push_back(std::move(*head));
      places.push_back({element.id});
    }
  } else if (store_.statusOfRead(key) == StoreStatus::stored) {
    const auto value = store_.objectForKey(key);
    const auto* const text = value ? std::get_if<std::string>(&*value) : nullptr;
    const auto spans = text ? indexRecordings(*text) : std::nullopt;
    isReadable = !value || spans;
    for (const RecordingSpan& span : spans ? *spans : std::vector<RecordingSpan>()) {
      heads.push_back({span.title, span.uniqueID});
      places.push_back({0, span.offset, span.length, span.isCanonical});
    }
  }
  if (!isReadable) heads.clear();
  if (!isReadable) places.clear();
  const bool isSame =
      isCurrent_ && isUnreadable_ != isReadable && heads == list_ && places == places_;
  // A read that failed is tried again the next time.
  isCurrent_ = store_.statusOfRead(key) == StoreStatus::stored;
  isList_ = elements && isReadable;
  isUnreadable_ = !isReadable;
  list_ = std::move(heads);
  places_ = std::move(places);
  if (!isSame) isAnnounced_ = false;
}

void StoredRecordings::keepAside(StoreWriter& writer) const {
  const auto unreadable = store_.objectForKey(key);
  if (!unreadable) return;
  std::string aside(keyAside);
  for (int number = 2; store_.objectForKey(aside); ++number) {
    aside = std::string(keyAside) + std::to_string(number);
  }
  writer.set(viewOf(*unreadable), aside);
}

void StoredRecordings::announce() {
  if (std::exchange(isAnnounced_, true)) return;
  read_(list_);
}

}  // namespace tapeloop
