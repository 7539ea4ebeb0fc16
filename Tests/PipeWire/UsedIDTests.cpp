// The server uses the IDs of what has gone at once for what comes, and programs hear of it a little later.
// What the client relies on there is the server's doing, and would be missed by hardly any other test.
#include "Tests/PipeWire/RealServer.h"

#include <cerrno>

namespace velto {
namespace {

/// Another program, which hears of what happens only when it is told to.
class SlowProgram {
  public:
    explicit SlowProgram(const std::string& socket)
        : loop_(pw_loop_new(nullptr)), context_(pw_context_new(loop_, nullptr, 0)),
          core_(pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, socket.c_str(), nullptr),
                                   0)),
          registry_(pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0)) {
        events_.version = PW_VERSION_CORE_EVENTS;
        events_.done = [](void* data, uint32_t, int) { static_cast<SlowProgram*>(data)->hasHeard_ = true; };
        events_.error = [](void* data, uint32_t, int, int result, const char*) {
            static_cast<SlowProgram*>(data)->error_ = result;
        };
        pw_core_add_listener(core_, &hook_, &events_, this);
        hearAll();
    }
    SlowProgram(const SlowProgram&) = delete;
    SlowProgram& operator=(const SlowProgram&) = delete;
    ~SlowProgram() {
        spa_hook_remove(&hook_);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
        pw_core_disconnect(core_);
        pw_context_destroy(context_);
        pw_loop_destroy(loop_);
    }
    void hearAll() {
        hasHeard_ = false;
        pw_core_sync(core_, PW_ID_CORE, 0);
        pw_loop_enter(loop_);
        while (!hasHeard_)
            pw_loop_iterate(loop_, -1);
        pw_loop_leave(loop_);
    }
    /// The server's answer; 0 when it obeys.
    int destroy(uint32_t globalID) {
        error_ = 0;
        pw_registry_destroy(registry_, globalID);
        hearAll();
        return error_;
    }

  private:
    pw_loop* loop_;
    pw_context* context_;
    pw_core* core_;
    pw_registry* registry_;
    pw_core_events events_{};
    spa_hook hook_{};
    bool hasHeard_ = false;
    int error_ = 0;
};

class UsedIDTests : public RealServer {};

TEST_F(UsedIDTests, WhatIsDestroyedByAnIDThatIsAnothersByNowStays) {
    const auto idOf = [&](const std::string& name) {
        const SoundLab::Lock lock(*lab);
        return lab->graph().device(name)->globalID();
    };
    SlowProgram program(server.socket());
    const uint32_t usb = idOf("usb");
    lab->unplug("usb");
    std::string newcomer;
    for (int i = 0; newcomer.empty() && i < 20; ++i) {
        const std::string name = "newcomer " + std::to_string(i);
        lab->plug({name, name, {}});
        if (idOf(name) == usb) newcomer = name;
    }
    ASSERT_FALSE(newcomer.empty()) << "the server uses IDs again";
    EXPECT_EQ(program.destroy(usb), -ESTALE);
    EXPECT_TRUE(lab->exists(newcomer));
    EXPECT_EQ(program.destroy(usb), 0) << "it has heard of the newcomer";
    EXPECT_TRUE(lab->waitUntil([&] { return !lab->exists(newcomer); }));
    lab->plug(usual("usb"));
}

} // namespace
} // namespace velto
