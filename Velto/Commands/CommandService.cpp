#include "Velto/Commands/CommandService.h"

#include "Velto/Commands/CommandStatus.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Observation/Observable.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <utility>
#include <vector>

namespace velto {

namespace {

JSON failure(const CommandFailure& reason) {
    JSON answer = answerOfThisVersion();
    answer["error"] = reason.what();
    answer["isWrongUsage"] = reason.kind() == CommandFailure::Kind::wrongUsage;
    return answer;
}

} // namespace

class CommandService::Conversation final : public LineConversation {
  public:
    Conversation(CommandService& service, LineClient& client)
        : service_(service), client_(std::make_shared<LineClient*>(&client)) {}
    ~Conversation() override {
        if (!subscriptions_.empty()) --service_.watchers_;
    }

    void received(std::string line) override {
        try {
            begin(CommandRequest::of(line));
        } catch (const CommandFailure& reason) {
            end(failure(reason));
        }
    }

  private:
    void begin(CommandRequest request) {
        if (request.command == "raise") {
            JSON answer = answerOfThisVersion();
            answer["isRaised"] = service_.raise(request.environment);
            return end(answer);
        }
        CommandOperations::require(request);
        if (request.command == "watch") {
            watch();
        } else {
            service_.tasks_.spawn(service_.answer(std::move(request), client_));
        }
    }

    void watch() {
        if (service_.watchers_ >= mostWatchers) throw CommandFailure("Too many watch Velto already.");
        ++service_.watchers_;
        subscriptions_.push_back(service_.app_.menuBar().observe([this] { tell(); }));
        subscriptions_.push_back(service_.app_.syncTestPlayer().observeIsPlaying([this] { tell(); }));
        tell();
    }

    void tell() {
        std::string line = lineOf(statusOf(service_.app_));
        if (line == told_) return;
        told_ = line;
        (*client_)->sendLatest(std::move(line));
    }

    void end(const JSON& answer) {
        (*client_)->send(lineOf(answer));
        (*client_)->close();
    }

    CommandService& service_;
    std::shared_ptr<LineClient*> client_; // tasks hold it weakly: it says whether anybody still listens
    std::vector<Subscription> subscriptions_;
    std::string told_;
};

CommandService::CommandService(AppState& app, Program program)
    : app_(app), program_(std::move(program)), operations_(app, program_.quit), tasks_(app.actor()) {}

std::string CommandService::greeting() {
    JSON greeting = answerOfThisVersion();
    greeting["velto"] = VELTO_VERSION;
    return lineOf(greeting);
}

std::unique_ptr<LineConversation> CommandService::converse(LineClient& client) {
    return std::make_unique<Conversation>(*this, client);
}

bool CommandService::raise(const std::map<std::string, std::string>& environment) {
    return !app_.isShuttingDown() && program_.raise(environment);
}

Task<void> CommandService::answer(CommandRequest request, std::weak_ptr<LineClient*> client) {
    const bool isLast = request.command == "quit";
    JSON answer;
    const auto tell = [&client](const JSON& progress) {
        if (const auto listening = client.lock()) (*listening)->send(lineOf(progress));
    };
    try {
        answer = co_await operations_.perform(std::move(request), tell);
    } catch (const CommandFailure& reason) {
        answer = failure(reason);
    } catch (...) {
        answer = failure(CommandFailure(currentErrorDescription()));
    }
    const auto listening = client.lock();
    if (!listening) co_return;
    (*listening)->send(lineOf(answer));
    if (!isLast || answer.contains("error")) (*listening)->close(); // else with the program
}

} // namespace velto
