// Global shortcuts, against a portal on a bus of the test's own.
#include "Platform/Linux/PortalShortcuts.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Simulation/RecordingLogSink.h"
#include "Tools/SoundLab/PrivateBus.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using State = GlobalShortcutService::State;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.GlobalShortcuts";

/// Does as a user says who is asked by it.
class Portal {
  public:
    Portal(FileDescriptorWatcher& watcher, const std::string& bus)
        : connection_(BusConnection::open(watcher, BusConnection::Bus::session, bus, {})) {
        BusConnection::require(sd_bus_add_fallback(connection_->bus(), nullptr, portalPath, &called, this));
        BusConnection::require(sd_bus_request_name(connection_->bus(), "org.freedesktop.portal.Desktop", 0));
    }
    ~Portal() { connection_->end(); }

    void press(const char* id, const char* inSession = nullptr) {
        sd_bus_emit_signal(connection_->bus(), portalPath, interface, "Activated", "osta{sv}",
                           inSession ? inSession : session_.c_str(), id, std::uint64_t{0}, 0);
        connection_->flush();
    }
    void assign(const char* id, const char* keys) {
        sd_bus_emit_signal(connection_->bus(), portalPath, interface, "ShortcutsChanged", "oa(sa{sv})",
                           session_.c_str(), 1, id, 1, "trigger_description", "s", keys);
        connection_->flush();
    }

    bool hasShortcuts = true;
    std::uint32_t answer = 0; // to the question whether they may be bound
    std::vector<std::string> told;

  private:
    static int called(sd_bus_message* message, void* data, sd_bus_error* error) {
        auto& self = *static_cast<Portal*>(data);
        const std::string_view member = sd_bus_message_get_member(message);
        if (member == "Register") return 0;
        if (!self.hasShortcuts) return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_METHOD, "no shortcuts");
        self.told.emplace_back(member);
        if (member == "Get") return sd_bus_reply_method_return(message, "v", "u", 1);
        if (member == "CreateSession") return self.createSession(message);
        if (member == "BindShortcuts") return self.bindShortcuts(message);
        return sd_bus_reply_method_return(message, "");
    }
    std::string pathOf(sd_bus_message* message, const char* kind, const char* token) const {
        std::string sender(sd_bus_message_get_sender(message) + 1);
        std::ranges::replace(sender, '.', '_');
        return std::string(portalPath) + "/" + kind + "/" + sender + "/" + token;
    }
    static void expectBoth(sd_bus_message* message) {
        std::vector<std::string> read;
        sd_bus_message_enter_container(message, 'a', "(sa{sv})");
        for (const char *id = nullptr, *name = nullptr, *text = nullptr;
             sd_bus_message_read(message, "(sa{sv})", &id, 1, &name, "s", &text) > 0;)
            read.push_back(std::string(id) + " " + name + " " + text);
        sd_bus_message_exit_container(message);
        EXPECT_THAT(read, ElementsAre("play description Play", "mute description Mute"));
    }
    int createSession(sd_bus_message* message) {
        const char *name = nullptr, *request = nullptr, *token = nullptr;
        sd_bus_message_enter_container(message, 'a', "{sv}");
        sd_bus_message_read(message, "{sv}{sv}", &name, "s", &request, &name, "s", &token);
        sd_bus_message_enter_container(message, 'e', "sv");
        sd_bus_message_read(message, "s", &name);
        EXPECT_STREQ(name, "shortcuts");
        sd_bus_message_enter_container(message, 'v', "a(sa{sv})");
        expectBoth(message);
        session_ = pathOf(message, "session", token);
        const std::string path = pathOf(message, "request", request);
        sd_bus_reply_method_return(message, "o", path.c_str());
        return sd_bus_emit_signal(connection_->bus(), path.c_str(), "org.freedesktop.portal.Request",
                                  "Response", "ua{sv}", 0u, 1, "session_handle", "s", session_.c_str());
    }
    int bindShortcuts(sd_bus_message* message) {
        const char *session = nullptr, *window = nullptr, *name = nullptr, *request = nullptr;
        sd_bus_message_read(message, "o", &session);
        expectBoth(message);
        sd_bus_message_read(message, "sa{sv}", &window, 1, &name, "s", &request);
        EXPECT_EQ(session, session_);
        const std::string path = pathOf(message, "request", request);
        sd_bus_reply_method_return(message, "o", path.c_str());
        return sd_bus_emit_signal(connection_->bus(), path.c_str(), "org.freedesktop.portal.Request",
                                  "Response", "ua{sv}", answer, 1, "shortcuts", "a(sa{sv})", 2, "play", 2,
                                  "description", "s", "Play", "trigger_description", "s", "Meta+P", "unknown",
                                  0);
    }

    std::shared_ptr<BusConnection> connection_;
    std::string session_;
};

class PortalShortcutsTests : public testing::Test {
  protected:
    void bind() {
        shortcuts.bind({{"play", "Play"}, {"mute", "Mute"}}, [this](std::string_view id) {
            pressed.emplace_back(id);
            if (id == "mute") shortcuts.unbind(); // from within
        });
    }
    bool becomes(State state) {
        return actor.runUntil([&] { return shortcuts.state() == state; }, 10s);
    }

    const RecordingLogSink log;
    PrivateBus bus;
    LinuxMainActor actor;
    std::optional<Portal> portal{std::in_place, actor, bus.address()};
    PortalShortcuts shortcuts{actor, bus.address()};
    std::vector<std::string> pressed;
};

TEST_F(PortalShortcutsTests, AreBoundPressedChangedAndGivenBack) {
    shortcuts.inquire();
    EXPECT_TRUE(becomes(State::available));
    bind();
    ASSERT_TRUE(becomes(State::bound));
    EXPECT_THAT(shortcuts.shortcuts(),
                ElementsAre(GlobalShortcutService::Shortcut{"play", "Play", "Meta+P"}));
    portal->assign("mute", "Meta+M");
    EXPECT_TRUE(actor.runUntil([&] { return shortcuts.shortcuts().front().id == "mute"; }, 10s));
    EXPECT_EQ(shortcuts.shortcuts().front().keys, "Meta+M");
    portal->press("play", "/org/freedesktop/portal/desktop/session/1_1/somebody_elses");
    portal->press("play");
    portal->press("mute");
    portal->press("play"); // given back by now
    EXPECT_TRUE(becomes(State::available));
    EXPECT_TRUE(actor.runUntil([&] { return portal->told.back() == "Close"; }, 10s));
    EXPECT_THAT(pressed, ElementsAre("play", "mute"));
    EXPECT_THAT(portal->told, ElementsAre("Get", "Get", "CreateSession", "BindShortcuts", "Close"));
}

TEST_F(PortalShortcutsTests, ANoIsANoAndWhatIsNotThereIsNotThere) {
    portal->answer = 1;
    bind();
    EXPECT_TRUE(becomes(State::refused));
    portal->hasShortcuts = false;
    bind();
    EXPECT_TRUE(becomes(State::unavailable));
    portal.reset(); // nobody has the name
    PortalShortcuts lonely(actor, bus.address());
    lonely.inquire();
    EXPECT_TRUE(actor.runUntil([&] { return lonely.state() == State::unavailable; }, 10s));
    PortalShortcuts withoutBus(actor, "unix:path=/nonexistent/bus");
    withoutBus.bind({}, {});
    EXPECT_EQ(withoutBus.state(), State::unavailable);
    EXPECT_THAT(pressed, IsEmpty());
}

TEST_F(PortalShortcutsTests, ABusThatGoesTakesThemAlong) {
    bind();
    ASSERT_TRUE(becomes(State::bound));
    bus.kill();
    EXPECT_TRUE(becomes(State::unknown));
    EXPECT_THAT(shortcuts.shortcuts(), IsEmpty());
}

} // namespace
} // namespace velto
