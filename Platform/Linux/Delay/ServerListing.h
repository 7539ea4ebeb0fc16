// ServerListing: what the sound server has, listed once: after that nothing that others do wakes this
// program.
#pragma once

#include <pipewire/pipewire.h>

#include <functional>
#include <map>
#include <string>

namespace velto {

class ServerListing {
  public:
    using Whole = std::function<void(const ServerListing&)>;

    /// `whole` is called once, from within a server callback; it must not destroy the listing.
    ServerListing(pw_core* core, Whole whole);
    ServerListing(const ServerListing&) = delete;
    ServerListing& operator=(const ServerListing&) = delete;
    ~ServerListing();

    bool isWhole() const noexcept { return !registry_; }
    /// A port into which sound can be played; empty where the node has none.
    std::string inputPort(const std::string& node) const;
    /// For as long as `whole` runs. Null where there is no such node.
    pw_proxy* bind(const std::string& node) const;

  private:
    struct Events;
    void add(uint32_t globalID, const char* type, const spa_dict& properties);
    void end();

    Whole whole_;
    pw_core* core_;
    pw_registry* registry_;
    spa_hook coreHook_{};
    spa_hook registryHook_{};
    int question_; // is answered after the list
    std::multimap<std::string, uint32_t> nodes_;
    std::map<uint32_t, std::string> inputPorts_; // one a node
};

} // namespace velto
