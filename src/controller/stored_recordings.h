#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/recording_json.h"
#include "capture/recording_list.h"
#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// The list of saved recordings in the defaults store, with one element for each recording. Titles
/// and identities are read when they are first needed, and again only after another owner or
/// process has written; a recording itself is read when it is loaded.
///
/// Other programs and earlier versions store the list as one text. The first change makes elements
/// of it. A value that is no list counts as an empty list; before it is overwritten it is copied to
/// a key of its own.
class StoredRecordings {
 public:
  static constexpr std::string_view key = "recordingList";
  /// The key for an unreadable value. A number is appended from the second one on.
  static constexpr std::string_view keyAside = "recordingListUnreadable";

  enum class Outcome : std::uint8_t {
    stored,
    needless,      ///< The list has no such recording any more.
    notEncodable,  ///< JSON has no form for a value of it.
    refused        ///< The store has not written it.
  };
  struct Change {
    Outcome outcome = Outcome::needless;
    StoreStatus status = StoreStatus::stored;  ///< Why it was refused.
  };

  explicit StoredRecordings(DefaultsStore& store);

  /// The list as it is stored now. The reference is valid until the next call.
  const std::vector<RecordingHead>& list();
  /// The list as last read, which is what the rows show.
  const std::vector<RecordingHead>& shown();
  /// The text of the whole list, as it is stored now.
  [[nodiscard]] std::string text() const;

  // `row` counts in `shown`. If another process has changed the list since, the recording is found
  // by its identity; its old position is tried first, since several may have the same. After a
  // failure the list is as before.
  [[nodiscard]] std::optional<Recording> recording(std::size_t row);
  Change append(const Recording& recording);
  Change rename(std::size_t row, const std::string& title);
  Change remove(std::size_t row);

  /// `callback` runs when the list was read from the store.
  Subscription onRead(std::function<void(const std::vector<RecordingHead>& list)> callback) {
    return read_.connect(std::move(callback));
  }
  /// `callback` runs when another owner of the same store object has written the list.
  Subscription onWrittenByOthers(std::function<void()> callback) {
    return writtenByOthers_.connect(std::move(callback));
  }

 private:
  /// Where a recording's text is: in an element or, of a list that is one text, in a part of that.
  struct Place {
    std::int64_t element = 0;
    std::size_t offset = 0;
    std::size_t length = 0;
    bool isCanonical = false;  // as the encoder writes it
    bool operator==(const Place&) const = default;
  };

  [[nodiscard]] std::optional<RecordingHead> headOf(std::size_t row);
  [[nodiscard]] std::optional<std::size_t> find(std::size_t row, const RecordingHead& head) const;
  /// Runs `edit` in a transaction, on the list as it is stored then. It returns false if there is
  /// nothing to change.
  Change change(const std::function<bool(StoreWriter&)>& edit);
  void add(const RecordingHead& head, std::string_view text, StoreWriter& writer);
  /// Makes elements of a list that is one text.
  void ensureList(StoreWriter& writer);
  void refresh();
  void read();
  void keepAside(StoreWriter& writer) const;
  void announce();

  DefaultsStore& store_;
  std::vector<RecordingHead> list_;
  std::vector<Place> places_;  // of the records in `list_`
  bool isList_ = false;        // the store keeps them one by one
  bool isCurrent_ = false;     // `list_` is what the store held at `revision_`
  bool isUnreadable_ = false;  // what the store holds is no list
  bool isAnnounced_ = true;    // `read_` was emitted for what was read
  bool isWriting_ = false;
  std::uint64_t revision_ = 0;
  Signal<const std::vector<RecordingHead>&> read_;
  Signal<> writtenByOthers_;
  Subscription observation_;
};

}  // namespace tapeloop
