#include "Tests/Fuzz/FuzzedComputer.h"

#include "Tests/Fuzz/FuzzTarget.h"
#include "Velto/Commands/CommandText.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace velto {

/// Somebody who talks to the program.
struct FuzzedComputer::Asker final : LineClient {
    void send(std::string line) override {
        const auto answer = objectOf(line);
        require(answer && !isClosed && answer->contains("version"));
        for (const std::string& text :
             {CommandText::of(*answer), CommandText::namesOf(*answer), CommandText::lineOf(*answer)})
            requireShowable(text);
        answers.push_back(std::move(line));
    }
    void sendLatest(std::string line) override { send(std::move(line)); }
    void close() override { isClosed = true; }

    std::vector<std::string> answers;
    bool isClosed = false;
    std::unique_ptr<LineConversation> conversation;
};

FuzzedComputer::FuzzedComputer() { machine.plugUsualOutputs(); }

FuzzedComputer::~FuzzedComputer() {
    if (application) {
        run();
        requireQuiet();
        hangUp();
        application->quit();
        requireQuiet();
        application.reset();
    }
    run();
    require(machine.leftovers().empty());
}

void FuzzedComputer::launch() {
    application = std::make_unique<Application>(machine);
    application->launch();
    AppState& state = application->state;
    const auto quit = [this, &state] {
        quitting_.push_back(application->begin(state.prepareForTermination()));
    };
    service_.emplace(state, CommandService::Program{.quit = quit, .raise = [](const auto& environment) {
                                                        return !environment.empty();
                                                    }});
}

void FuzzedComputer::hangUp() {
    askers_.clear();
    service_.reset();
    quitting_.clear();
}

void FuzzedComputer::crash() {
    hangUp();
    Application::crash(application);
    machine.log.clear();
}

std::size_t FuzzedComputer::say(std::string line, bool isWaitedFor) {
    auto& asker = askers_.emplace_back(std::make_unique<Asker>());
    asker->conversation = service_->converse(*asker);
    asker->conversation->received(std::move(line));
    if (isWaitedFor) {
        run();
        for (const auto& each : askers_)
            require(!each->answers.empty());
    } else {
        machine.loop.runNextTurn();
    }
    return askers_.size() - 1;
}

const std::vector<std::string>& FuzzedComputer::answers(std::size_t asked) const {
    return askers_.at(asked)->answers;
}

void FuzzedComputer::requireQuiet() {
    const auto faults = violations(*application, context);
    for (const std::string& fault : faults)
        std::fprintf(stderr, "%s\n", fault.c_str());
    require(faults.empty());
}

void requireShowable(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = [&](std::size_t n) {
            return static_cast<unsigned char>(i + n < text.size() ? text[i + n] : 0);
        };
        require((byte(0) >= ' ' && byte(0) != 0x7F) || byte(0) == '\n');
        require(byte(0) != 0xC2 || byte(1) >= 0xA0);                                     // U+0080 to U+009F
        require(byte(0) != 0xE2 || byte(1) != 0x80 || byte(2) < 0xA8 || byte(2) > 0xAE); // U+2028 to U+202E
        require(byte(0) != 0xE2 || byte(1) != 0x81 || byte(2) < 0xA6 || byte(2) > 0xA9); // U+2066 to U+2069
    }
}

} // namespace velto
