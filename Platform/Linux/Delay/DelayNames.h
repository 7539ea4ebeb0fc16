// DelayNames: what the program that delays and its owner agreed on: what its node and ports are called, by
// which they are linked and found when they were left behind, and what it says.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velto::DelayNames {

/// Object path of every such node: its mark, which the server's registry shows.
inline constexpr const char* mark = "velto.delay";

/// The names of the channels, and what the ports of each are called after.
inline constexpr const char* channels[] = {"FL", "FR"};

/// One for each aggregate.
inline std::string node(std::string_view aggregate) {
    return std::string(mark) + "." + std::string(aggregate);
}
inline std::string input(std::string_view channel) { return "in_" + std::string(channel); }
/// For the output at that place among those that the program was started with.
inline std::string output(std::size_t place, std::string_view channel) {
    return "out" + std::to_string(place) + "_" + std::string(channel);
}
/// Never plays anything: an active link from it keeps the output awake.
inline std::string keeper(std::size_t place) { return "keep" + std::to_string(place); }

/// The line that tells that it is well: when it has started, and whenever it is asked.
inline constexpr std::string_view well = "well";

} // namespace velto::DelayNames
