// Shrinking: of a sequence that fails, as little as fails still.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace velto {

/// A part of the sequence that fails, none of whose elements can be left out or replaced by what `simpler`
/// says of it. That a simpler one differs need not be so.
template <class T>
std::vector<T> shrunk(std::vector<T> sequence, const std::function<bool(const std::vector<T>&)>& fails,
                      const std::function<std::vector<T>(const T&)>& simpler) {
    const auto leaveOut = [&](std::size_t count) {
        bool isShorter = false;
        for (std::size_t from = 0; from < sequence.size();) {
            std::vector<T> part = sequence;
            const auto begin = part.begin() + static_cast<std::ptrdiff_t>(from);
            const auto left = part.size() - from;
            part.erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, left)));
            if (fails(part)) {
                sequence = std::move(part);
                isShorter = true;
            } else {
                from += count;
            }
        }
        return isShorter;
    };
    for (std::size_t count = sequence.size() / 2; count > 1; count /= 2)
        leaveOut(count);
    while (leaveOut(1)) {}
    for (std::size_t i = 0; i < sequence.size(); ++i) {
        for (std::size_t choice = 0; choice < simpler(sequence[i]).size(); ++choice) {
            std::vector<T> part = sequence;
            part[i] = simpler(sequence[i])[choice];
            if (fails(part)) sequence = std::move(part);
        }
    }
    return sequence;
}

} // namespace velto
