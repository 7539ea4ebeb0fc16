// QtLoop: lets Qt's event loop turn the main actor.
//
// Owned by the entry point; must die before both.
#pragma once

#include "Platform/Linux/LinuxMainActor.h"

#include <QObject>
#include <QSocketNotifier>

namespace velto {

class QtLoop final : public QObject {
  public:
    explicit QtLoop(LinuxMainActor& actor) : notifier_(actor.descriptor(), QSocketNotifier::Read) {
        connect(&notifier_, &QSocketNotifier::activated, this, [&actor] { actor.turnReady(); });
    }

  private:
    QSocketNotifier notifier_;
};

} // namespace velto
