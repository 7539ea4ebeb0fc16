// CommandRequest: what is asked of the running program, as it goes over the channel: one JSON object a line.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

using JSON = nlohmann::ordered_json;

/// Of all that goes over the channel. It changes when something that was there means another thing, or goes.
constexpr int commandVersion = 1;

struct CommandRequest {
    /// As in the table; or "raise", by which a second start brings up the panel.
    std::string command;
    std::vector<std::string> arguments{};
    /// For "raise" alone: where there is a display.
    std::map<std::string, std::string> environment{};

    std::string line() const;
    /// Throws CommandFailure for what is no request, or one of another version.
    static CommandRequest of(std::string_view line);
};

/// Why a command could not be done, in a sentence.
class CommandFailure : public std::runtime_error {
  public:
    enum class Kind { failed, wrongUsage };
    explicit CommandFailure(const std::string& sentence, Kind kind = Kind::failed)
        : std::runtime_error(sentence), kind_(kind) {}
    Kind kind() const noexcept { return kind_; }

  private:
    Kind kind_;
};

/// An object as text in one line; what is no UTF-8 in it is replaced.
std::string lineOf(const JSON& object);
/// None when the line is no JSON object.
std::optional<JSON> objectOf(std::string_view line);

} // namespace velto
