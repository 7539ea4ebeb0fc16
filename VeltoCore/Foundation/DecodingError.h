// DecodingError: why stored bytes are not the value that was asked for.
//
// Returned, never thrown: those who read stored values treat unreadable ones as absent.
#pragma once

#include <string>

namespace velto {

struct DecodingError {
    /// For developers; not shown to the user.
    std::string message;
    friend bool operator==(const DecodingError&, const DecodingError&) = default;
};

} // namespace velto
