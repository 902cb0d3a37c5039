#pragma once

#include <vector>

#include <QtCore/QMetaObject>

#include "platform/observable.h"

namespace tapeloop {

/// Passes changes of a value on as a signal of `model`, which holds the subscriptions.
template <typename Model, typename T>
void forward(std::vector<Subscription>& subscriptions, Observable<T>& value, Model* model,
             void (Model::*changed)()) {
  subscriptions.push_back(value.subscribe([model, changed] { (model->*changed)(); }));
}

/// The same when Qt's loop gets its turn: a modal window that opens while the release of a button
/// is still being handled takes the next click from that button.
template <typename Model, typename T>
void forwardLater(std::vector<Subscription>& subscriptions, Observable<T>& value, Model* model,
                  void (Model::*changed)()) {
  subscriptions.push_back(value.subscribe(
      [model, changed] { QMetaObject::invokeMethod(model, changed, Qt::QueuedConnection); }));
}

}  // namespace tapeloop
