#include "Velto/Commands/CommandRequest.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace velto {

std::string lineOf(const JSON& object) { return object.dump(-1, ' ', false, JSON::error_handler_t::replace); }

std::optional<JSON> objectOf(std::string_view line) {
    JSON object = JSON::parse(line, nullptr, false);
    return object.is_object() ? std::optional(std::move(object)) : std::nullopt;
}

std::string CommandRequest::line() const {
    JSON object{{"version", commandVersion}, {"command", command}, {"arguments", arguments}};
    if (!environment.empty()) object["environment"] = environment;
    return lineOf(object);
}

CommandRequest CommandRequest::of(std::string_view line) {
    const auto object = objectOf(line);
    if (!object) throw CommandFailure("A request is one JSON object in one line.");
    try {
        const JSON& version = object->at("version"); // a number of any size
        if (!version.is_number_integer() || version != commandVersion)
            throw CommandFailure(
                fmt::format("Velto speaks version {} here, not {}.", commandVersion, lineOf(version)));
        return {.command = object->at("command").get<std::string>(),
                .arguments = object->value("arguments", std::vector<std::string>()),
                .environment = object->value("environment", std::map<std::string, std::string>())};
    } catch (const JSON::exception&) {
        throw CommandFailure("A request has a version, a command, and arguments, which are texts.");
    }
}

} // namespace velto
