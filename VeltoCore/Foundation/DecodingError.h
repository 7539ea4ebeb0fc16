// DecodingError: why stored bytes are not the value that was asked for.
//
// Returned, never thrown: those who read stored values treat unreadable ones as absent.
#pragma once

#include <string>

namespace velto {

struct DecodingError {
    /// For developers; not shown to the user.
    std::string message;
    /// Where in the stored value, such as "[3].first.uid"; empty for the value as a whole.
    std::string path;
    friend bool operator==(const DecodingError&, const DecodingError&) = default;
};

} // namespace velto
