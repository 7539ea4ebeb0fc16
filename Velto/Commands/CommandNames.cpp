#include "Velto/Commands/CommandNames.h"

#include "VeltoCore/Sync/OutputDelays.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <locale>
#include <optional>
#include <sstream>

namespace velto {

namespace {

/// Letters of other alphabets stay as they are.
std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

CommandFailure several(std::string_view word, std::string_view kind, const std::vector<std::string>& names) {
    return CommandFailure(fmt::format("“{}” fits several {}: {}.", word, kind, fmt::join(names, ", ")));
}

CommandFailure none(std::string_view word, std::string_view kind, const std::vector<std::string>& names) {
    if (names.empty()) return CommandFailure(fmt::format("There is no {} “{}”, nor any other.", kind, word));
    return CommandFailure(
        fmt::format("There is no {} “{}”. There are: {}.", kind, word, fmt::join(names, ", ")));
}

/// The elements whose text fits.
template <class Element, class Fits>
std::vector<const Element*> fitting(const std::vector<Element>& elements, const Fits& fits) {
    std::vector<const Element*> found;
    for (const Element& element : elements)
        if (fits(element)) found.push_back(&element);
    return found;
}

template <class Elements>
std::vector<std::string> namesOf(const Elements& elements) {
    std::vector<std::string> names;
    for (const auto& element : elements) {
        if constexpr (requires { element->name; }) {
            names.push_back(element->name);
        } else {
            names.push_back(element.name);
        }
    }
    return names;
}

/// What to set something to, or with a sign by how much to change it.
template <class Number>
struct Amount {
    Number value; // not negative
    int sign;
    bool isStep;
};

/// None for anything but a number with perhaps a sign and that unit.
template <class Number>
std::optional<Amount<Number>> amount(std::string_view word, std::string_view unit) {
    const bool isStep = word.starts_with('+') || word.starts_with('-');
    Amount<Number> result{-1, word.starts_with('-') ? -1 : 1, isStep};
    if (isStep) word.remove_prefix(1);
    if (word.ends_with(unit)) word.remove_suffix(unit.size());
    if (word.empty() || word.find_first_not_of("0123456789.") != std::string_view::npos) return std::nullopt;
    std::istringstream stream{std::string(word)}; // a Mac's from_chars reads no numbers with a point
    stream.imbue(std::locale::classic());
    const bool isNumber = stream >> result.value && stream.peek() == std::istringstream::traits_type::eof();
    return isNumber ? std::optional(result) : std::nullopt;
}

/// The device of that UID or name, or the only one with that part of a name.
template <class Device>
const Device& deviceCalled(std::string_view word, const std::vector<Device>& devices,
                           const std::string& kind) {
    const std::string sought = lowered(word);
    const auto isUID = [&](const Device& device) { return device.uid == word; };
    const auto isName = [&](const Device& device) { return device.name == word; };
    const auto isLike = [&](const Device& device) { return lowered(device.name) == sought; };
    const auto isPart = [&](const Device& device) {
        return !sought.empty() && lowered(device.name).contains(sought);
    };
    for (const auto& found : {fitting(devices, isUID), fitting(devices, isName), fitting(devices, isLike),
                              fitting(devices, isPart)}) {
        if (found.size() == 1) return *found.front();
        if (found.empty()) continue;
        std::vector<std::string> names = namesOf(found);
        if (std::ranges::adjacent_find(names) != names.end()) // their names don't tell them apart
            for (std::size_t index = 0; index < names.size(); ++index)
                names[index] += " (" + found[index]->uid + ")";
        throw several(word, kind + "s", names);
    }
    throw none(word, kind, namesOf(devices));
}

} // namespace

const AudioOutputDevice& outputCalled(std::string_view word, const std::vector<AudioOutputDevice>& outputs) {
    return deviceCalled(word, outputs, "output");
}

const SessionAlignment::Input& inputCalled(std::string_view word,
                                           const std::vector<SessionAlignment::Input>& inputs) {
    return deviceCalled(word, inputs, "input");
}

const AudioPreset& presetCalled(std::string_view word, const std::vector<AudioPreset>& presets) {
    const std::string sought = lowered(word);
    const auto isName = [&](const AudioPreset& preset) { return preset.name == word; };
    const auto isLike = [&](const AudioPreset& preset) { return lowered(preset.name) == sought; };
    for (const auto& found : {fitting(presets, isName), fitting(presets, isLike)}) {
        if (found.size() == 1) return *found.front();
        if (!found.empty()) throw several(word, "presets", namesOf(found));
    }
    throw none(word, "preset", namesOf(presets));
}

VolumeChange volumeChange(std::string_view word) {
    const auto percent = amount<int>(word, "%");
    if (!percent || percent->value > 100)
        throw CommandFailure(
            fmt::format("“{}” is no volume; such are 40%, +5% and -5%, from 0% to 100%.", word),
            CommandFailure::Kind::wrongUsage);
    return {static_cast<float>(percent->sign * percent->value) / 100.0F, percent->isStep};
}

DelayChange delayChange(std::string_view word) {
    const auto milliseconds = amount<double>(word, "ms");
    if (!milliseconds || !(milliseconds->value <= longestOutputDelay))
        throw CommandFailure(
            fmt::format("“{}” is no delay; such are 180, +5 and -0.1, from 0 to {:.0f} milliseconds.", word,
                        longestOutputDelay),
            CommandFailure::Kind::wrongUsage);
    return {milliseconds->sign * milliseconds->value, milliseconds->isStep};
}

bool switched(bool isOn, std::string_view word) {
    if (word == "toggle") return !isOn;
    if (word == "on" || word == "off") return word == "on";
    throw CommandFailure(fmt::format("“{}” is neither “on” nor “off”.", word),
                         CommandFailure::Kind::wrongUsage);
}

} // namespace velto
