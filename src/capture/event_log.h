#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/input_event.h"

namespace tapeloop {

/// The events of the current capture, in order of delivery: the unsaved recording.
class EventLog {
 public:
  using Events = std::vector<InputEvent>;

  [[nodiscard]] bool empty() const { return events_->empty(); }
  [[nodiscard]] std::size_t size() const { return events_->size(); }
  [[nodiscard]] const InputEvent& front() const { return events_->front(); }
  [[nodiscard]] const InputEvent& back() const { return events_->back(); }
  [[nodiscard]] const InputEvent& operator[](std::size_t index) const { return (*events_)[index]; }
  [[nodiscard]] Events::const_iterator begin() const { return events_->begin(); }
  [[nodiscard]] Events::const_iterator end() const { return events_->end(); }

  /// The events themselves, kept by whoever still has to post them when the log is emptied.
  [[nodiscard]] std::shared_ptr<const Events> events() const { return events_; }

  void append(const InputEvent& event) { events_->push_back(event); }
  void clear() { events_ = std::make_shared<Events>(); }

 private:
  std::shared_ptr<Events> events_ = std::make_shared<Events>();
};

}  // namespace tapeloop
