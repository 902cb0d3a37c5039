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

/// The saved recordings as the defaults store holds them, as one text. It is read when it is first
/// asked for, and again only after somebody else has written. One that can't be read counts as
/// empty and stays stored: before another list takes its place it is kept aside under a key of its
/// own. Main thread only.
class StoredRecordings {
 public:
  static constexpr std::string_view key = "recordingList";
  /// Followed by a number from the second one on.
  static constexpr std::string_view keyAside = "recordingListUnreadable";

  enum class Edit : std::uint8_t {
    made,
    needless,     ///< There is nothing to be changed.
    notEncodable  ///< JSON can't carry it. The list is as it was.
  };
  struct Outcome {
    Edit edit = Edit::needless;
    StoreStatus status = StoreStatus::stored;
    [[nodiscard]] bool isStored() const {
      return edit == Edit::made && status == StoreStatus::stored;
    }
  };

  /// An entry as it was when the list was last read, wherever it has got to meanwhile.
  struct Entry {
    std::size_t position = 0;
    Uuid uniqueID;
  };

  /// `store` outlives this.
  explicit StoredRecordings(DefaultsStore& store);

  /// As it is stored now. The reference holds until the next call.
  const RecordingList& list();
  /// Nothing if there was no such row.
  [[nodiscard]] std::optional<Entry> entryAt(std::size_t position);
  /// Where the entry is now. Its place counts first, since entries may share an identity.
  [[nodiscard]] static std::optional<std::size_t> find(const Entry& entry,
                                                       const RecordingList& list);

  /// Applies `edit` to the list as it is stored, and stores the result; nobody else writes in
  /// between. What could not be stored is as if it had not been tried.
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
  /// Tells of a reading, once.
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
