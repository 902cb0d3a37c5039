#include "controller/stored_recordings.h"

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

const RecordingList& StoredRecordings::list() {
  refresh();
  announce();
  return list_;
}

std::optional<StoredRecordings::Entry> StoredRecordings::entryAt(std::size_t position) {
  if (!isCurrent_) list();
  if (position >= list_.size()) return std::nullopt;
  return Entry{position, list_.uniqueID(position)};
}

std::optional<std::size_t> StoredRecordings::find(const Entry& entry, const RecordingList& list) {
  if (entry.position < list.size() && list.uniqueID(entry.position) == entry.uniqueID) {
    return entry.position;
  }
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list.uniqueID(i) == entry.uniqueID) return i;
  }
  return std::nullopt;
}

StoredRecordings::Outcome StoredRecordings::change(
    const std::function<Edit(RecordingList&)>& edit) {
  Outcome outcome;
  isWriting_ = true;
  outcome.status = store_.transaction([&](const DefaultsStore::Writer& write) {
    refresh();
    outcome.edit = edit(list_);
    if (outcome.edit != Edit::made) return;
    if (isUnreadable_) keepAside(write);
    write(std::string_view(list_.text()), key);
  });
  isWriting_ = false;
  if (outcome.isStored()) isUnreadable_ = false;
  // Undo by reading the store again: there is no copy of the list from before the change.
  if (outcome.edit == Edit::made && !outcome.isStored()) {
    isCurrent_ = false;
    refresh();
  }
  announce();
  return outcome;
}

void StoredRecordings::refresh() {
  // Taken before the reading: a write in between makes the next revision differ.
  const std::uint64_t revision = store_.foreignRevision();
  if (isCurrent_ && revision == revision_) return;
  revision_ = revision;
  read();
}

void StoredRecordings::read() {
  auto value = store_.objectForKey(key);
  auto* const text = value ? std::get_if<std::string>(&*value) : nullptr;
  // The other process may have written only other keys.
  const bool isSame = text && isCurrent_ && !isUnreadable_ && *text == list_.text();
  // After a failed reading the next use reads again.
  isCurrent_ = value || store_.statusOfRead(key) == StoreStatus::stored;
  if (isSame) return;
  auto list = text ? RecordingList::parse(std::move(*text)) : std::nullopt;
  isUnreadable_ = value && !list;
  list_ = list ? std::move(*list) : RecordingList();
  isAnnounced_ = false;
}

void StoredRecordings::keepAside(const DefaultsStore::Writer& write) const {
  const auto unreadable = store_.objectForKey(key);
  if (!unreadable) return;
  std::string aside(keyAside);
  for (int number = 2; store_.objectForKey(aside); ++number) {
    aside = std::string(keyAside) + std::to_string(number);
  }
  write(viewOf(*unreadable), aside);
}

void StoredRecordings::announce() {
  if (std::exchange(isAnnounced_, true)) return;
  read_(list_);
}

}  // namespace tapeloop
