#include "Tools/SoundLab/ServerState.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

#include <fstream>
#include <iterator>

namespace velto {

std::map<std::string, std::string> serverState(SoundLab& lab) {
    lab.refresh();
    std::map<std::string, std::string> result;
    for (const char* key : {PipeWireKey::configuredSink, PipeWireKey::defaultSink, PipeWireKey::alertSink})
        result[key] = lab.defaultMetadata(key).value_or("none");
    result["rate"] = lab.settingsMetadata(PipeWireKey::forcedRate).value_or("none");
    for (const std::string& note : notesOnServer(lab))
        if (!note.starts_with(PipeWireKey::alertSink)) result[note] = "is left";
    for (auto& entry : result)
        std::erase(entry.second, ' '); // who stores it again writes it in another way
    result["aggregate"] = lab.exists(std::string(AggregateDeviceManager::aggregateUID)) ? "there" : "none";
    return result;
}

std::vector<std::string> notesOnServer(SoundLab& lab) {
    std::vector<std::string> result;
    for (const char* key : {PipeWireKey::alertSink, PipeWireKey::previousConfiguredSink,
                            PipeWireKey::previousAlertSink, PipeWireKey::previousForcedRate}) {
        if (const auto value = lab.defaultMetadata(key)) result.push_back(key + (": " + *value));
        if (const auto value = lab.settingsMetadata(key)) result.push_back(key + (": " + *value));
    }
    return result;
}

std::string storedText(const PrivateSoundServer& server, const std::string& name) {
    std::ifstream file(server.folder() / "state/wireplumber" / name);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string storedChoices(const PrivateSoundServer& server) { return storedText(server, "default-nodes"); }

} // namespace velto
