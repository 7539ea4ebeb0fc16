#include "Velto/Commands/CommandClient.h"

#include "Platform/POSIX/LineServer.h"
#include "Velto/Commands/CommandText.h"
#include "VeltoCore/Services/LogSink.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <system_error>
#include <thread>

#include <unistd.h>

namespace velto {

namespace {

using SteadyClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// How long one that runs may take to say who it is.
constexpr auto answerPatience = 5s;
constexpr auto startPatience = 15s;
constexpr auto startPause = 20ms;
constexpr auto quitPatience = 30s;

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
    throw CommandFailure("The answer could not be written: " +
                         std::error_code(errno, std::generic_category()).message() + ".");
}

std::string requestOf(const CommandLine& line) {
    std::string request = CommandRequest{line.command, line.arguments}.line();
    if (request.size() < LineServer::longestLine) return request;
    throw CommandFailure("That is more than a command may hold.", CommandFailure::Kind::wrongUsage);
}

void requireSameVersion(LineConnection& connection) {
    const auto line = connection.read(answerPatience);
    const auto greeting = line ? objectOf(*line) : std::nullopt;
    if (!greeting) throw CommandFailure("Velto runs, but does not answer.");
    if (greeting->value("version", JSON()) == commandVersion) return;
    const JSON velto = greeting->value("velto", JSON());
    throw CommandFailure(
        fmt::format("Velto {} runs, which takes other commands than this one; quit it first.",
                    velto.is_string() ? cleanedForLog(velto.get_ref<const std::string&>()) : ""));
}

} // namespace

int CommandClient::perform(const CommandLine& line) {
    try {
        const std::string request = requestOf(line);
        LineConnection connection = connectOrStart(line.command);
        if (!connection.send(request)) throw CommandFailure("Velto runs, but does not answer.");
        if (line.command == "watch") return watch(connection, line);
        JSON answer = readAnswer(connection);
        for (; answer.contains("progress"); answer = readAnswer(connection))
            print(line.isJSON ? lineOf(answer) + '\n' : CommandText::of(answer));
        if (line.command == "quit" && !connection.awaitEnd(quitPatience))
            throw CommandFailure("Velto does not end.");
        if (line.isJSON) {
            print(lineOf(answer) + '\n');
        } else if (line.isNamesOnly) {
            print(CommandText::namesOf(answer));
        } else if (line.command != "quit") {
            print(CommandText::of(answer));
        }
        return 0;
    } catch (const CommandFailure& failure) {
        std::fprintf(stderr, "velto: %s\n", failure.what());
        return failure.kind() == CommandFailure::Kind::wrongUsage ? 2 : 1;
    }
}

bool CommandClient::raise(const std::map<std::string, std::string>& environment) {
    auto connection = connect();
    if (!connection || !connection->send(CommandRequest{"raise", {}, environment}.line()))
        throw CommandFailure("Velto is running already, but does not answer.");
    return readAnswer(*connection).value("isRaised", JSON()) == true;
}

/// None when no program runs.
std::optional<LineConnection> CommandClient::connect() {
    using Refusal = LineConnection::Refusal;
    for (const auto& socket : find_()) {
        auto connection = LineConnection::open(socket, answerPatience);
        if (connection) {
            requireSameVersion(*connection);
            return std::move(*connection);
        }
        if (connection.error() == Refusal::anotherUser)
            throw CommandFailure(
                fmt::format("{} is another user's; nothing is told to it.", socket.native()));
        if (connection.error() == Refusal::noAnswer) throw CommandFailure("Velto runs, but does not answer.");
    }
    return std::nullopt;
}

LineConnection CommandClient::connectOrStart(const std::string& command) {
    if (auto running = connect()) return std::move(*running);
    if (command != "play" && command != "toggle") throw CommandFailure("Velto does not run.");
    start_();
    const auto deadline = SteadyClock::now() + startPatience;
    while (SteadyClock::now() < deadline) {
        if (auto started = connect()) return std::move(*started);
        std::this_thread::sleep_for(startPause);
    }
    throw CommandFailure("Velto could not be started.");
}

JSON CommandClient::readAnswer(LineConnection& connection) {
    const auto line = connection.read();
    const auto answer = line ? objectOf(*line) : std::nullopt;
    if (!answer) throw CommandFailure("Velto has ended.");
    if (const auto failure = CommandText::failureOf(*answer)) throw CommandFailure(*failure);
    return *answer;
}

int CommandClient::watch(LineConnection& connection, const CommandLine& line) {
    std::string told;
    while (connection.awaitLine(STDOUT_FILENO)) {
        const JSON status = readAnswer(connection);
        const std::string text = line.isJSON ? lineOf(status) : CommandText::lineOf(status);
        if (std::exchange(told, text) != text) print(text + '\n');
    }
    return 1;
}

} // namespace velto
