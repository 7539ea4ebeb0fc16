// What all fuzz targets need. Each is a program of its own: the fuzzer calls it with text that it makes up,
// and reports what crashes, hangs, leaks or has undefined behaviour.
#pragma once

#include "VeltoCore/Foundation/Data.h"

#include <cstdlib>
#include <string_view>

namespace velto {

inline void require(bool holds) {
    if (!holds) std::abort();
}

/// What can be read can be written, and reads back as the same.
void requireReadsBack(const Data& data, auto decode, auto encode) {
    const auto value = decode(data);
    if (!value) return;
    const auto written = encode(*value);
    require(written.has_value() && decode(*written) == value);
}

/// Defined by each target.
void fuzz(std::string_view text);

} // namespace velto
