#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/input_event.h"
#include "platform/uuid.h"

namespace tapeloop {

/// The stored form of one captured sequence. Row i of the nine columns is the i-th event. In a
/// stored record the columns may differ in length: whoever reads row i checks i against each column
/// that is read.
struct Recording {
  std::string title;
  Uuid uniqueID;
  std::vector<std::string> typeArray;         ///< Event kinds: ".keyDown".
  std::vector<double> timestampArray;         ///< Seconds since system start-up.
  std::vector<double> locXArray;              ///< Points.
  std::vector<double> locYArray;              ///< Points, upwards.
  std::vector<double> scrollingDeltaXArray;   ///< 0 but for scroll events.
  std::vector<double> scrollingDeltaYArray;   ///< 0 but for scroll events.
  std::vector<std::uint16_t> charArray;       ///< Virtual key codes; 0 but for key events.
  std::vector<std::string> modifierArray;     ///< ".shift.command"; "" but for key events.
  std::vector<std::int64_t> clickCountArray;  ///< 0 but for button events.

  /// Adds a row; none for an event that is of no kind of `eventKinds`.
  void append(const InputEvent& event);
  friend bool operator==(const Recording&, const Recording&) = default;
};

template <typename T>
struct RecordingMember {
  std::string_view name;
  T Recording::*place;
};
// Clang before version 17 does not deduce this by itself.
template <typename T>
RecordingMember(std::string_view, T Recording::*) -> RecordingMember<T>;

/// The members of a record with their stored names, in the order in which they are stored.
inline constexpr std::tuple recordingMembers{
    RecordingMember{"title", &Recording::title},
    RecordingMember{"uniqueID", &Recording::uniqueID},
    RecordingMember{"typeArray", &Recording::typeArray},
    RecordingMember{"timestampArray", &Recording::timestampArray},
    RecordingMember{"locXArray", &Recording::locXArray},
    RecordingMember{"locYArray", &Recording::locYArray},
    RecordingMember{"scrollingDeltaXArray", &Recording::scrollingDeltaXArray},
    RecordingMember{"scrollingDeltaYArray", &Recording::scrollingDeltaYArray},
    RecordingMember{"charArray", &Recording::charArray},
    RecordingMember{"modifierArray", &Recording::modifierArray},
    RecordingMember{"clickCountArray", &Recording::clickCountArray},
};
/// Calls `visit` with the name of each member and the member.
template <typename Record, typename Visit>
void forEachMember(Record& recording, Visit visit) {
  std::apply([&](const auto&... member) { (visit(member.name, recording.*member.place), ...); },
             recordingMembers);
}

/// A record of `events`, titled "New Recording", with a new identity.
Recording makeRecording(const std::vector<InputEvent>& events);

}  // namespace tapeloop

/// Equal records hash alike.
template <>
struct std::hash<tapeloop::Recording> {
  std::size_t operator()(const tapeloop::Recording& recording) const noexcept;
};
