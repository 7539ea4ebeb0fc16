#include "Velto/Shell/ChangeAnnouncer.h"

namespace velto {

void ChangeAnnouncer::announce() {
    if (isPending_ || observers_.isEmpty()) return;
    isPending_ = true;
    actor_.post(lifetime_.whileAlive([this] {
        isPending_ = false; // what handlers change is announced again
        observers_.notify();
    }));
}

} // namespace velto
