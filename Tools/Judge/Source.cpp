#include "Tools/Judge/Source.h"

#include "Tools/Judge/UnusableInput.h"

#include <algorithm>

namespace velto::judge {

/// The remainder that is never negative.
static std::int64_t modulo(std::int64_t value, std::int64_t divisor) {
    const std::int64_t remainder = value % divisor;
    return remainder < 0 ? remainder + divisor : remainder;
}

Source::Source(std::vector<Frame> frames) : frames_(std::move(frames)) {
    if (frames_.empty() || levelOf(frames_) < silentLevel)
        throw UnusableInput("The source is silent, so nothing can be told by it.");
}

std::vector<Frame> Source::due(SampleRange range, std::int64_t lag) const {
    std::vector<Frame> result;
    result.reserve(static_cast<std::size_t>(range.count()));
    std::int64_t position = modulo(range.begin - lag, length());
    for (std::int64_t missing = range.count(); missing > 0;) {
        const std::int64_t count = std::min(missing, length() - position);
        result.insert(result.end(), frames_.begin() + position, frames_.begin() + position + count);
        missing -= count;
        position = 0;
    }
    return result;
}

std::int64_t Source::nearestLag(std::int64_t lag, std::int64_t expectedLag) const {
    const std::int64_t half = length() / 2;
    return expectedLag + modulo(lag - expectedLag + half, length()) - half;
}

} // namespace velto::judge
