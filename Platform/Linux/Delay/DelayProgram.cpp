#include "Platform/Linux/Delay/DelayProgram.h"

#include "Platform/Linux/Delay/AudioThread.h"
#include "Platform/Linux/Delay/ClientLibrary.h"
#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/Delay/RemoteServer.h"

#include <pipewire/impl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

void say(const std::string& sentence) { std::fprintf(stderr, "velto-delay: %s.\n", sentence.c_str()); }

} // namespace

struct DelayProgram::Events {
    static DelayProgram& program(void* data) { return *static_cast<DelayProgram*>(data); }

    static constexpr pw_core_events core = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.error = [](void* data, uint32_t id, int, int result, const char*) {
            if (id == PW_ID_CORE && result == -EPIPE) program(data).end("The sound server has gone");
        };
        return table;
    }();
};

std::optional<DelayProgram::Arguments> DelayProgram::read(std::span<char* const> words) {
    if (words.size() < 4 || words.size() % 2 != 0) return std::nullopt;
    Arguments arguments{words[0], words[1], {}, {}};
    for (std::size_t i = 2; i < words.size(); i += 2) {
        const auto delay = readNumber(words[i + 1]);
        if (!delay) return std::nullopt;
        arguments.outputs.emplace_back(words[i]);
        arguments.delays.push_back(*delay);
    }
    if (arguments.outputs.size() > DelayNode::mostOutputs) return std::nullopt;
    return arguments;
}

DelayProgram::DelayProgram(Arguments arguments) : watchdog_(Watchdog::inherited()), line_(arguments.delays) {
    beginWithClientLibrary();
    mainLoop_ = pw_main_loop_new(nullptr);
    if (!mainLoop_) throw std::runtime_error("The loop could not be made");
    loop_ = pw_main_loop_get_loop(mainLoop_);
    const auto quit = [this] { pw_main_loop_quit(mainLoop_); };
    terminated_.emplace(loop_, LoopSource::Kind::signal, quit, SIGTERM);
    interrupted_.emplace(loop_, LoopSource::Kind::signal, quit, SIGINT);
    connect(arguments.remote);
    node_.emplace(core_, loop_, arguments.aggregate, std::move(arguments.outputs), line_, watchdog_,
                  [this](const std::string& why) { end(why); });
    aggregateWatch_.emplace(core_, std::move(arguments.aggregate), [this] { end("The aggregate has gone"); });
    commands_.emplace(
        loop_, LoopSource::Kind::readable, [this] { readCommands(); }, STDIN_FILENO);
}

/// With nothing of what clients usually load that this one doesn't need: converters, devices, the session
/// manager's interfaces.
void DelayProgram::connect(const std::string& remote) {
    context_ = pw_context_new(loop_, pw_properties_new(PW_KEY_CONFIG_NAME, "null", nullptr), 0);
    if (!context_) throw std::runtime_error("The sound server's client library could not start");
    // The audio thread asks for its priority when it starts, of a module that is not there yet: so it starts
    // again.
    stopAudioThread(context_);
    pw_context_load_module(context_, "libpipewire-module-rt", nullptr, nullptr); // where that may be had
    pw_data_loop_start(pw_context_get_data_loop(context_));
    for (const char* module : {"libpipewire-module-protocol-native", "libpipewire-module-client-node"})
        if (!pw_context_load_module(context_, module, nullptr, nullptr))
            throw std::runtime_error(std::string(module) + " could not be loaded");
    core_ = connectTo(remote, context_);
    if (!core_) throw std::runtime_error("The sound server can't be reached");
    pw_core_add_listener(core_, &coreHook_, &Events::core, this);
}

DelayProgram::~DelayProgram() {
    aggregateWatch_.reset();
    node_.reset();
    commands_.reset();
    interrupted_.reset();
    terminated_.reset();
    if (core_) pw_core_disconnect(core_);
    if (context_) {
        stopAudioThread(context_);
        pw_context_destroy(context_);
    }
    if (mainLoop_) pw_main_loop_destroy(mainLoop_);
    pw_deinit();
}

void DelayProgram::run() {
    sayWell();
    pw_main_loop_run(mainLoop_);
}

void DelayProgram::end(const std::string& why) {
    say(why);
    pw_main_loop_quit(mainLoop_);
}

/// Never waits: what nobody reads is not said.
void DelayProgram::sayWell() {
    pollfd listener{STDOUT_FILENO, POLLOUT, 0};
    if (poll(&listener, 1, 0) == 0) return;
    const std::string line = std::string(DelayNames::well) + "\n";
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, line.data(), line.size());
}

void DelayProgram::readCommands() {
    std::array<char, 1024> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count <= 0) {
        commands_.reset();
        line_.endSweeps(); // nobody is left who would
        return;
    }
    unread_.append(bytes.data(), static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = unread_.find('\n')) != std::string::npos;) {
        obey(std::string_view(unread_).substr(0, end));
        unread_.erase(0, end + 1);
    }
    // What is too long already is kept too long, until it ends.
    if (unread_.size() > longestDelayCommand) unread_.resize(longestDelayCommand + 1);
}

void DelayProgram::obey(std::string_view line) {
    const auto command = readDelayCommand(line);
    if (!command) return say("A command is not understood");
    if (const auto* delay = std::get_if<SetDelay>(&*command)) {
        if (delay->output >= line_.tapCount()) return say("There is no such output");
        line_.setDelay(delay->output, delay->milliseconds);
    } else if (const auto* sweeps = std::get_if<PlaySweeps>(&*command)) {
        if (std::max(sweeps->rising, sweeps->falling) >= line_.tapCount())
            return say("There is no such output");
        line_.playSweeps(sweeps->rising, sweeps->falling, sweeps->peak);
        node_->wake();
    } else if (std::holds_alternative<Ping>(*command)) {
        sayWell();
    } else {
        line_.endSweeps();
    }
}

} // namespace velto
