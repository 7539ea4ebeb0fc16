// PluggedDevices: the devices of the simulated world that are there now, in the order of the device list.
//
// Part of SimulatedWorld. Looking a device up by its object ID takes the same time however many there
// are, so that measurements of those who read them show their own cost.
#pragma once

#include "Simulation/SimulatedDevice.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velto {

class PluggedDevices {
  public:
    struct Entry {
        AudioObjectID id;
        SimulatedDevice device;
    };

    /// Null when there is none.
    const Entry* find(AudioObjectID id) const noexcept {
        const auto found = positions_.find(id);
        return found == positions_.end() ? nullptr : &entries_[found->second];
    }
    const Entry* find(std::string_view uid) const noexcept {
        const auto found =
            std::ranges::find_if(entries_, [uid](const Entry& entry) { return entry.device.uid == uid; });
        return found == entries_.end() ? nullptr : &*found;
    }
    Entry* find(AudioObjectID id) noexcept { return const_cast<Entry*>(std::as_const(*this).find(id)); }
    Entry* find(std::string_view uid) noexcept { return const_cast<Entry*>(std::as_const(*this).find(uid)); }
    void add(Entry entry) {
        positions_.emplace(entry.id, entries_.size());
        entries_.push_back(std::move(entry));
    }
    void remove(AudioObjectID id) {
        std::erase_if(entries_, [id](const Entry& entry) { return entry.id == id; });
        index();
    }
    /// Gives every device another object ID.
    void renumber(AudioObjectID& nextID) {
        for (Entry& entry : entries_)
            entry.id = nextID++;
        index();
    }
    auto begin() const noexcept { return entries_.begin(); }
    auto end() const noexcept { return entries_.end(); }

  private:
    void index() {
        positions_.clear();
        for (std::size_t i = 0; i < entries_.size(); ++i)
            positions_.emplace(entries_[i].id, i);
    }

    std::vector<Entry> entries_;
    std::unordered_map<AudioObjectID, std::size_t> positions_;
};

} // namespace velto
