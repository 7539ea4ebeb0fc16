#include "Velto/Linux/Program.h"

#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Platform/Linux/PipeWire/PipeWireMicrophone.h"
#include "Velto/Linux/ProgramModule.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// By any of the first three a display is found.
constexpr std::array displayVariables{"DISPLAY",         "WAYLAND_DISPLAY",         "QT_QPA_PLATFORM",
                                      "XAUTHORITY",      "XDG_SESSION_TYPE",        "XDG_CURRENT_DESKTOP",
                                      "DESKTOP_SESSION", "DBUS_SESSION_BUS_ADDRESS"};
constexpr std::size_t decisiveVariables = 3;

} // namespace

std::map<std::string, std::string> Program::displayEnvironment() {
    std::map<std::string, std::string> environment;
    for (const char* name : displayVariables)
        if (const char* value = std::getenv(name); value && *value) environment[name] = value;
    return environment;
}

bool Program::hasDisplay(const std::map<std::string, std::string>& environment) {
    return std::any_of(displayVariables.begin(), displayVariables.begin() + decisiveVariables,
                       [&](const char* name) { return environment.contains(name); });
}

Program::Program(Options options, LinuxMainActor& actor, TerminationSignals& signals,
                 SingleInstance& instance)
    : options_(options), actor_(actor), defaults_(FileUserDefaults::standardFile(), actor),
      loginItems_(XdgAutostart::runningProgram(), XdgAutostart::standardFile()), sleep_(actor), host_(sleep_),
      notifications_(actor), shortcuts_(actor), secondStart_(actor), delegate_(services()),
      commands_(delegate_.appState(),
                {.quit = [this] { delegate_.quit(); },
                 .raise = [this](const auto& environment) { return raise(environment); }}),
      server_(actor, actor, CommandService::greeting(),
              [this](LineClient& client) { return commands_.converse(client); }) {
    for (const std::string& trouble : instance.troubles())
        LoggingService::lifecycle.error("{}", trouble);
    signals.observe(actor, [this] { delegate_.quit(); });
    host_.setHandlers({.terminate = [&actor] { actor.quit(); }, .copy = {}});
    delegate_.appState().notifications().setOpenHandler([this] { openOnOwnDisplay(); });
    if (instance.listener() >= 0) server_.listen(instance.listener());
}

Program::~Program() { host_.setHandlers({}); }

PlatformServices Program::services() {
    const auto client = std::make_shared<PipeWireAudioClient>(actor_, actor_);
    host_.setSoundSystem([weak = std::weak_ptr(client)] {
        const auto running = weak.lock();
        return running ? running->versions() : std::vector<ApplicationHost::SystemDetail>();
    });
    return {
        .actor = actor_,
        .client = client,
        .defaults = defaults_,
        .collation = collation_,
        .loginItems = loginItems_,
        .host = host_,
        .notifications = notifications_,
        .makeAudioEngine =
            [this](CoreAudioClient& client) { return std::make_unique<PipeWireAudioEngine>(client, actor_); },
        .shortcuts = &shortcuts_,
        .microphone = std::make_unique<PipeWireMicrophone>(actor_)};
}

int Program::run() {
    delegate_.applicationDidFinishLaunching();
    try {
        if (options_.hasWindows) loadDesktop();
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "velto: %s Velto runs without windows.\n", error.what());
    }
    if (!runDesktop_) actor_.run();
    return runDesktop_ ? runDesktop() : 0;
}

void Program::loadDesktop() {
    if (const auto obstacle = desktopObstacle()) throw std::runtime_error(*obstacle);
    runDesktop_ = reinterpret_cast<RunDesktop>(programSymbol("velto-desktop", "veltoRunDesktop"));
}

std::optional<std::string> Program::desktopObstacle() {
    const auto obstacle = reinterpret_cast<decltype(&veltoDesktopObstacle)>(
        programSymbol("velto-desktop", "veltoDesktopObstacle"));
    const char* text = obstacle();
    return text ? std::optional<std::string>(text) : std::nullopt;
}

int Program::runDesktop() {
    DesktopContext context{.actor = actor_,
                           .host = host_,
                           .delegate = delegate_,
                           .raisable = [this](auto handler) { raisePanel_ = std::move(handler); },
                           .isHidden = options_.isHidden,
                           .isRaised = isRaised_,
                           .argumentCount = options_.argumentCount,
                           .arguments = options_.arguments};
    return runDesktop_(&context);
}

bool Program::raise(const std::map<std::string, std::string>& environment) {
    if (!raisePanel_) return runDesktop_ || openDesktop(environment);
    raisePanel_();
    return true;
}

void Program::openOnOwnDisplay() {
    if (hasDisplay(displayEnvironment())) {
        secondStart_.begin();
    } else {
        LoggingService::ui.notice("Nothing can be opened: there is no display");
    }
}

/// The display is known to be there: whoever asks has tried it.
bool Program::openDesktop(const std::map<std::string, std::string>& environment) {
    if (!hasDisplay(environment)) return false;
    for (const char* name : displayVariables) {
        const auto given = environment.find(name);
        if (given == environment.end()) {
            unsetenv(name);
        } else {
            setenv(name, given->second.c_str(), 1);
        }
    }
    try {
        loadDesktop();
    } catch (const std::runtime_error& error) {
        LoggingService::ui.error("{}", publicText(error.what()));
        return false;
    }
    LoggingService::ui.notice("Opening on a display");
    isRaised_ = true;
    actor_.quit(); // the desktop's loop follows
    return true;
}

} // namespace velto
