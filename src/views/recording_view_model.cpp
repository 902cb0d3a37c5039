#include "views/recording_view_model.h"

#include <utility>

namespace tapeloop {

RecordingViewModel::RecordingViewModel(std::shared_ptr<RecordingView> view)
    : view_(std::move(view)),
      subscription_(view_->circleOpacity().subscribe([this] { Q_EMIT circleOpacityChanged(); })) {}

}  // namespace tapeloop
