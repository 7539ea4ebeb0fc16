// ModelAdapter: what all adapters of view models share.
//
// An adapter belongs to the user interface and forwards, nothing else: every property is a reading of its
// view model, and all of them share one signal. Views compare before they draw, so that reading a few dozen
// values at each change costs microseconds.
#pragma once

#include "VeltoCore/Observation/Observable.h"

#include <QObject>

#include <utility>

namespace velto {

class ModelAdapter : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  Q_SIGNALS:
    void changed();

  protected:
    /// The view model's changes from now on.
    template <class Model>
    void follow(Model& model) {
        subscription_ = model.observe([this] {
            updateLists();
            Q_EMIT changed();
        });
        updateLists();
    }
    virtual void updateLists() {}

  private:
    Subscription subscription_;
};

} // namespace velto
