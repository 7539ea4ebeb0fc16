// FakeCard: a sound card exported to the server, with a route that carries a node's volume.
//
// Notes what it is asked to do, and does nothing. A client of its own with a thread of its own: the server
// stops listening to a client while it waits for what that client asked of a card.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <pipewire/pipewire.h>
#include <spa/monitor/device.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velto {

class FakeCard {
  public:
    /// Its only profile device.
    static constexpr int profileDevice = 3;

    /// A request to change the route.
    struct Change {
        int route = -1;
        int device = -1;
        bool isSaved = false;
        PipeWireVolumeProps props;
    };

    /// Returns when the server has the card.
    FakeCard(const std::string& socket, std::map<std::string, std::string> properties);
    FakeCard(const FakeCard&) = delete;
    FakeCard& operator=(const FakeCard&) = delete;
    ~FakeCard();

    uint32_t globalID() const;
    /// Waits for the next request; the members are those of an empty one when none comes.
    Change nextChange();
    /// As when the user turns the card's profile off: no route is active any more.
    void deactivateRoutes();

  private:
    struct Methods;
    bool waitUntil(const std::function<bool()>& condition);
    void announce(uint64_t changeMask);
    void answer(int sequence, uint32_t index) const;

    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    spa_device device_{};
    spa_hook_list listeners_{};
    std::map<std::string, std::string> texts_;
    std::vector<spa_dict_item> items_;
    spa_dict properties_{};
    spa_param_info parameter_{};
    bool hasRoutes_ = true;
    std::deque<Change> changes_;
    pw_proxy* exported_ = nullptr;
    spa_hook hook_{};
};

} // namespace velto
