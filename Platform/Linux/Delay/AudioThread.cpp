#include "Platform/Linux/Delay/AudioThread.h"

#include "Platform/Linux/Delay/LoopSource.h"

#include <semaphore>

namespace velto {

void stopAudioThread(pw_context* context) {
    pw_data_loop* const thread = pw_context_get_data_loop(context);
    if (!pw_data_loop_get_thread(thread)) return;
    // Only the thread itself attends to an event, and then it does not miss that it is to stop.
    std::binary_semaphore runs(0);
    LoopSource event(pw_data_loop_get_loop(thread), LoopSource::Kind::event, [&runs] { runs.release(); });
    event.signal();
    runs.acquire();
    pw_data_loop_stop(thread);
}

} // namespace velto
