#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "capture/recording_list.h"
#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// The list of saved recordings in the defaults store, which holds it as one text. The list is read
/// when it is first needed, and again only after another owner or process has written it. A text
/// that is no list counts as an empty list; before it is overwritten it is copied to a key of its
/// own.
class StoredRecordings {
 public:
  static constexpr std::string_view key = "recordingList";
  /// The key for an unreadable text. A number is appended from the second text on.
  static constexpr std::string_view keyAside = "recordingListUnreadable";

  enum class Edit : std::uint8_t {
    made,
    needless,     ///< The list needs no change.
    notEncodable  ///< JSON has no form for a value of it. The list is unchanged.
  };
  struct Outcome {
    Edit edit = Edit::needless;
    StoreStatus status = StoreStatus::stored;
    [[nodiscard]] bool isStored() const {
      return edit == Edit::made && status == StoreStatus::stored;
    }
  };

  /// Identifies an entry of the list as last read; another process may have moved it since.
  struct Entry {
    std::size_t position = 0;
    Uuid uniqueID;
  };

  explicit StoredRecordings(DefaultsStore& store);

  /// The list as it is stored now. The reference is valid until the next call.
  const RecordingList& list();
  /// Empty if the list as last read has no such row.
  [[nodiscard]] std::optional<Entry> entryAt(std::size_t position);
  /// Where the entry is now. Its old position is tried first, since several entries may have the
  /// same identity.
  [[nodiscard]] static std::optional<std::size_t> find(const Entry& entry,
                                                       const RecordingList& list);

  /// Applies `edit` to the list as it is stored, and stores the result in the same transaction. On
  /// failure the list is as before.
  Outcome change(const std::function<Edit(RecordingList&)>& edit);

  /// `callback` runs when the list was read from the store, with `list` holding what was read.
  Subscription onRead(std::function<void(const RecordingList& list)> callback) {
    return read_.connect(std::move(callback));
  }
  /// `callback` runs when another owner of the same store object has written the list.
  Subscription onWrittenByOthers(std::function<void()> callback) {
    return writtenByOthers_.connect(std::move(callback));
  }

 private:
  void refresh();
  void read();
  void keepAside(const DefaultsStore::Writer& write) const;
  /// Emits `read_` if the list was read since the last call.
  void announce();

  DefaultsStore& store_;
  RecordingList list_;
  bool isCurrent_ = false;     // `list_` is what the store held at `revision_`
  bool isUnreadable_ = false;  // what the store holds is no list
  bool isAnnounced_ = true;
  bool isWriting_ = false;
  std::uint64_t revision_ = 0;
  Signal<const RecordingList&> read_;
  Signal<> writtenByOthers_;
  Subscription observation_;
};

}  // namespace tapeloop
