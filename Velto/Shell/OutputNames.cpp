#include "Velto/Shell/OutputNames.h"

#include <algorithm>
#include <string_view>
#include <tuple>

namespace velto {

namespace {

constexpr std::size_t longName = 24;  // bytes from which on a name is cut
constexpr std::size_t longStart = 16; // bytes of the beginning that stay

/// How much of both is the same, up to the end of a word.
std::size_t commonStart(std::string_view one, std::string_view other) {
    const auto end = std::ranges::mismatch(one, other).in1;
    const std::string_view same(one.begin(), end);
    return same.rfind(' ') + 1; // npos + 1 is 0
}

/// As many whole words as may stay, and one in any case.
std::string_view words(std::string_view start) {
    std::size_t length = start.rfind(' ', longStart);
    if (length == std::string_view::npos) length = start.find(' ');
    return start.substr(0, length);
}

} // namespace

OutputNames::OutputNames(const std::vector<AudioOutputDevice>& outputs) {
    for (const AudioOutputDevice& output : outputs)
        outputs_.push_back({output.name, output.transportType.displayName(), output.uid});
    std::ranges::sort(outputs_, {}, [](const Output& output) {
        return std::tie(output.name, output.transport, output.uid);
    });
    outputs_.erase(std::unique(outputs_.begin(), outputs_.end()), outputs_.end());
}

std::string OutputNames::shortened(const std::string& name) const {
    if (name.size() <= longName) return name;
    const auto alike = std::ranges::equal_range(outputs_, name, {}, &Output::name);
    std::size_t common = 0;
    if (alike.begin() != outputs_.begin()) common = commonStart(name, std::prev(alike.begin())->name);
    if (alike.end() != outputs_.end()) common = std::max(common, commonStart(name, alike.end()->name));
    if (common <= longStart) return name;
    const std::string_view start = words(std::string_view(name).substr(0, common));
    return std::string(start) + "… " + name.substr(common);
}

int OutputNames::number(const std::string& uid) const {
    const auto output = std::ranges::find(outputs_, uid, &Output::uid);
    if (output == outputs_.end()) return 0;
    const auto isAlike = [&](const Output& other) {
        return other.name == output->name && other.transport == output->transport;
    };
    if (std::ranges::count_if(outputs_, isAlike) < 2) return 0;
    return 1 + static_cast<int>(std::count_if(outputs_.begin(), output, isAlike));
}

std::string OutputNames::distinct(const std::string& uid, const std::string& name) const {
    const int place = number(uid);
    return shortened(name) + (place ? " (" + std::to_string(place) + ")" : "");
}

} // namespace velto
