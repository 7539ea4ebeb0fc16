// answeredOr: a read of the hardware that may fail, but not for want of an answer.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <type_traits>
#include <utility>

namespace velto {

/// What the call reads; `otherwise` where it fails. Throws only when it gets no answer, which must not be
/// taken for anything.
template <class Read, class Value = std::invoke_result_t<Read>>
Value answeredOr(std::type_identity_t<Value> otherwise, Read read) {
    try {
        return read();
    } catch (const AudioManagerError& error) {
        if (error.isNoAnswer()) throw;
    } catch (...) { // the client has logged the failure
    }
    return otherwise;
}

} // namespace velto
