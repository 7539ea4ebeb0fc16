#include "VeltoCore/Settings/PreferencesManager.h"

#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"

#include <gmock/gmock.h>

#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view upperCaseID = "0F8FAD5B-D9CB-469F-A165-70867728950E";

AudioOutputDevice device(const std::string& uid) {
    return AudioOutputDevice::disconnected(uid, "The " + uid, AudioTransportType::Kind::usb);
}

AudioPreset made(std::string name) {
    return AudioPreset::create(std::move(name), device("a"), device("b"), Date{1});
}

std::vector<std::string> names(const std::vector<AudioPreset>& presets) {
    std::vector<std::string> result;
    for (const AudioPreset& preset : presets)
        result.push_back(preset.name);
    return result;
}

class PreferencesManagerTests : public testing::Test {
  protected:
    ~PreferencesManagerTests() override { EXPECT_THAT(log.lines(), IsEmpty()) << "nothing here is reported"; }

    /// As at the next launch.
    void relaunch() { preferences = std::make_unique<PreferencesManager>(defaults, clock); }
    /// What the settings are, each as it is stored.
    DefaultsDictionary inForce() const {
        DefaultsDictionary result;
        for (const AnySetting* setting : preferences->settings())
            if (auto value = setting->stored()) result.emplace(setting->key(), *value);
        return result;
    }
    void store(std::string_view key, DefaultsValue value) {
        defaults.set(key, std::move(value));
        relaunch();
    }
    void storePresets(std::string_view text) {
        store(PreferencesManager::presetsKey, Data(text.begin(), text.end()));
    }
    std::string storedPresetText() const {
        const auto data = defaults.dataValue(PreferencesManager::presetsKey);
        return data ? std::string(data->begin(), data->end()) : "none";
    }
    std::optional<std::vector<AudioPreset>> storedPresets() const {
        const auto data = defaults.dataValue(PreferencesManager::presetsKey);
        return data ? std::optional(decodePresets(*data).value()) : std::nullopt;
    }
    UUID save(AudioPreset preset) {
        preferences->savePreset(preset);
        return preset.id;
    }

    SimulatedMainActor clock;
    const RecordingLogSink log;
    InMemoryUserDefaults defaults;
    std::unique_ptr<PreferencesManager> preferences = std::make_unique<PreferencesManager>(defaults, clock);
};

TEST_F(PreferencesManagerTests, EverySettingHasItsDefaultAndIsStoredAtOnceAndReadAtTheNextLaunch) {
    const DefaultsDictionary registered{
        {"rememberSelectedDevices", true},
        {"autoReconnect", false},
        {"preferredSampleRate", 0.0},
        {"aggregateDeviceName", "Velto Output"s},
        {"clockStrategy", "automatic"s},
        {"disconnectBehavior", "keepPlaying"s},
        {"autoConnect", false},
        {"showNotifications", true},
        {"globalShortcuts", false},
        {"showInDock", false},
        {"rememberSyncProfiles", true},
        {"syncTestVolume", 0.5},
        {"hasCompletedOnboarding", false},
    };
    EXPECT_EQ(inForce(), registered);
    EXPECT_THAT(defaults.stored(), IsEmpty());
    for (const auto& [key, value] : registered)
        EXPECT_EQ(defaults.value(key), value) << key;

    const DefaultsDictionary others{
        {"rememberSelectedDevices", false},
        {"autoReconnect", true},
        {"preferredSampleRate", 96000.0},
        {"aggregateDeviceName", "Both"s},
        {"clockStrategy", "lowestLatency"s},
        {"disconnectBehavior", "askUser"s},
        {"autoConnect", true},
        {"showNotifications", false},
        {"globalShortcuts", true},
        {"showInDock", true},
        {"rememberSyncProfiles", false},
        {"defaultReferenceDeviceUID", "usb"s},
        {"syncTestVolume", static_cast<double>(0.3F)},
        {"hasCompletedOnboarding", true},
        {"lastPresetID", std::string(upperCaseID)},
    };
    for (AnySetting* setting : preferences->settings())
        EXPECT_TRUE(setting->setStored(others.at(std::string(setting->key())))) << setting->key();
    EXPECT_EQ(defaults.stored(), others);
    relaunch();
    EXPECT_EQ(inForce(), others);

    preferences->defaultReferenceDeviceUID.set(std::nullopt);
    preferences->lastPresetID.set(std::nullopt);
    EXPECT_FALSE(defaults.stored().contains("defaultReferenceDeviceUID"));
    EXPECT_FALSE(defaults.stored().contains("lastPresetID"));
}

TEST_F(PreferencesManagerTests, AggregateNameStaysAsTypedAndIsStoredTrimmed) {
    const auto check = [&](const std::string& typed, const std::string& effective) {
        preferences->aggregateDeviceName.set(typed);
        EXPECT_EQ(preferences->aggregateDeviceName(), typed);
        EXPECT_EQ(preferences->effectiveAggregateDeviceName(), effective);
        EXPECT_EQ(defaults.stored().at("aggregateDeviceName"), DefaultsValue(effective));
    };
    check("   ", "Velto Output");
    check("", "Velto Output");
    check("\u3000\u00A0\u2028\u0085\t\v", "Velto Output");
    check(" \r\n Living  Room\u2003", "Living  Room");
    check("\u00E0 Ö", "\u00E0 Ö"); // the first begins with a byte that other blanks begin with
    check("\u200Bx\u200B", "\u200Bx\u200B");
}

TEST_F(PreferencesManagerTests, UnusableStoredSettingsReadAsTheDefault) {
    const auto rate = [&](DefaultsValue value) {
        store("preferredSampleRate", std::move(value));
        return preferences->preferredSampleRate();
    };
    EXPECT_EQ(rate(88200.0), PreferredSampleRate::automatic);
    EXPECT_EQ(rate(48000.0), PreferredSampleRate::rate48000);
    EXPECT_EQ(rate(std::int64_t{44100}), PreferredSampleRate::rate44100);
    EXPECT_EQ(rate("48000"s), PreferredSampleRate::rate48000);
    EXPECT_EQ(rate("high"s), PreferredSampleRate::automatic);

    store("clockStrategy", "LowestLatency"s);
    store("disconnectBehavior", "stop"s);
    store("aggregateDeviceName", true);
    EXPECT_EQ(preferences->clockStrategy(), ClockStrategy::automatic);
    EXPECT_EQ(preferences->disconnectBehavior(), DisconnectBehavior::keepPlaying);
    EXPECT_EQ(preferences->aggregateDeviceName(), "Velto Output");
}

TEST_F(PreferencesManagerTests, TestVolumeStaysBetweenZeroAndOne) {
    for (const auto& [stored, volume] : {std::pair(1e300, 1.0F), {-0.5, 0.0F}, {0.25, 0.25F}}) {
        store("syncTestVolume", stored);
        EXPECT_EQ(preferences->syncTestVolume(), volume);
    }
    preferences->syncTestVolume.setStored(3.0);
    EXPECT_EQ(defaults.stored().at("syncTestVolume"), DefaultsValue(1.0));
    preferences->syncTestVolume.setStored(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(preferences->syncTestVolume(), 0.0F);
}

TEST_F(PreferencesManagerTests, LastPresetIDIsRewrittenAtLaunch) {
    store("lastPresetID", "0f8fad5b-d9cb-469f-a165-70867728950e"s);
    EXPECT_EQ(defaults.stored().at("lastPresetID"), DefaultsValue(std::string(upperCaseID)));
    EXPECT_EQ(preferences->lastPresetID(), UUID::fromString(upperCaseID));
    EXPECT_EQ(preferences->lastPreset(), std::nullopt) << "there is no such preset";
    store("lastPresetID", "junk"s);
    EXPECT_FALSE(defaults.stored().contains("lastPresetID"));
}

TEST_F(PreferencesManagerTests, ObserversHearOfRealChangesButEveryAssignmentIsStored) {
    int ofAutoConnect = 0;
    int ofAll = 0;
    const auto one = preferences->autoConnect.observe([&] { ++ofAutoConnect; });
    const auto presets = preferences->observePresets(
        [&] { EXPECT_EQ(storedPresets(), preferences->presets()) << "stored before anyone hears of it"; });
    const auto all = preferences->observe([&] {
        EXPECT_TRUE(defaults.stored().contains("autoConnect")) << "stored before anyone hears of it";
        ++ofAll;
    });
    preferences->autoConnect.set(true);
    defaults.remove("autoConnect");
    preferences->autoConnect.set(true);
    EXPECT_EQ(defaults.stored().at("autoConnect"), DefaultsValue(true));
    EXPECT_EQ(ofAutoConnect, 1);
    EXPECT_EQ(ofAll, 1);

    preferences->syncTestVolume.set(0.75F);
    preferences->aggregateDeviceName.set("Velto Output ");
    preferences->savePreset(made("Den"));
    EXPECT_EQ(ofAutoConnect, 1);
    EXPECT_EQ(ofAll, 4);
}

TEST_F(PreferencesManagerTests, UnreadablePresetsStayStoredUntilTheNextChange) {
    for (const std::string unreadable : {R"([{"name": "no more"}])", "[", "null"}) {
        storePresets(unreadable);
        EXPECT_THAT(preferences->presets(), IsEmpty());
        preferences->setPresets({});
        preferences->removePreset(UUID::random());
        preferences->renamePreset(UUID::random(), "x");
        EXPECT_EQ(storedPresetText(), unreadable);
    }
    const AudioPreset den = made("Den");
    save(den);
    EXPECT_EQ(storedPresets(), preferences->presets());
}

TEST_F(PreferencesManagerTests, AnEqualListIsNeitherStoredNorAnnounced) {
    save(made("Den"));
    int changes = 0;
    const auto observation = preferences->observe([&] { ++changes; });
    const int writes = defaults.writeCount();
    preferences->setPresets(preferences->presets());
    preferences->savePreset(preferences->presets().front()); // at the same moment
    EXPECT_EQ(defaults.writeCount(), writes);
    EXPECT_EQ(changes, 0);
}

TEST_F(PreferencesManagerTests, SavedPresetsKeepTheirPlaceAndAreDated) {
    AudioPreset den = made("Den");
    save(den);
    save(made("Kitchen"));
    EXPECT_EQ(preferences->presets()[0].updatedAt, clock.now());
    clock.advance(5s);
    den.name = "Study";
    den.deviceSettings["a"] = {.volume = 0.3F};
    save(den);
    const Date renamedAt = clock.now();
    EXPECT_THAT(names(preferences->presets()), ElementsAre("Study", "Kitchen"));
    EXPECT_EQ(preferences->presets()[0].updatedAt, renamedAt);
    EXPECT_EQ(preferences->presets()[0].createdAt, Date{1});
    EXPECT_EQ(preferences->presets()[1].updatedAt, Date{renamedAt.secondsSinceReferenceDate - 5});
    EXPECT_EQ(storedPresets(), preferences->presets());

    clock.advance(5s);
    preferences->renamePreset(den.id, "\n  Attic ");
    preferences->setFavorite(true, den.id);
    preferences->setAutoConnect(true, den.id);
    const AudioPreset changed = *preferences->preset(den.id);
    EXPECT_EQ(changed.name, "Attic");
    EXPECT_TRUE(changed.isFavorite && changed.autoConnect);
    EXPECT_EQ(changed.updatedAt, clock.now());
    EXPECT_FALSE(preferences->autoConnect()) << "the setting is another";
    relaunch();
    EXPECT_EQ(preferences->preset(den.id), changed);

    preferences->renamePreset(den.id, " \t");
    preferences->setFavorite(true, UUID::random());
    EXPECT_EQ(preferences->presets()[0], changed);
}

TEST_F(PreferencesManagerTests, RemovingTheLastPresetForgetsItsID) {
    const AudioPreset den = made("Den");
    AudioPreset twin = made("Twin");
    twin.id = den.id;
    const AudioPreset kitchen = made("Kitchen");
    preferences->setPresets({den, kitchen, twin});
    preferences->lastPresetID.set(kitchen.id);
    EXPECT_EQ(preferences->lastPreset()->name, "Kitchen");

    preferences->removePreset(preferences->presets()[0].id);
    EXPECT_THAT(names(preferences->presets()), ElementsAre("Kitchen"));
    EXPECT_EQ(preferences->lastPresetID(), kitchen.id);
    preferences->removePreset(kitchen.id);
    EXPECT_EQ(preferences->lastPresetID(), std::nullopt);
    EXPECT_FALSE(defaults.stored().contains("lastPresetID"));
    EXPECT_EQ(storedPresetText(), "[]");
}

TEST_F(PreferencesManagerTests, RemembersThePairPlayedLastInOneHiddenPreset) {
    save(made("Den"));
    preferences->rememberSelectedDevices.set(false);
    preferences->rememberLastUsed(device("a"), device("b"));
    EXPECT_THAT(names(preferences->presets()), ElementsAre("Den"));
    EXPECT_EQ(preferences->lastPresetID(), std::nullopt);

    preferences->rememberSelectedDevices.set(true);
    preferences->rememberLastUsed(device("a"), device("b"));
    AudioPreset expected = preferences->presets().at(1);
    EXPECT_EQ(expected.createdAt, clock.now());
    EXPECT_EQ(preferences->lastPreset(), expected);

    expected.deviceSettings["c"] = {.isMuted = true};
    expected.autoConnect = expected.isFavorite = true;
    save(expected);
    expected.updatedAt = clock.now();
    clock.advance(1min);
    preferences->lastPresetID.set(preferences->presets()[0].id);
    preferences->rememberLastUsed(device("c"), device("d"));
    expected.first = AudioPreset::DeviceReference::to(device("c"));
    expected.second = AudioPreset::DeviceReference::to(device("d"));
    EXPECT_EQ(preferences->presets().at(1), expected) << "all but the devices stays, the date of saving too";
    EXPECT_EQ(preferences->lastPresetID(), expected.id);
    EXPECT_EQ(storedPresets(), preferences->presets());

    preferences->autoConnect.set(true);
    EXPECT_THAT(names(preferences->userPresets()), ElementsAre("Den"));
    EXPECT_THAT(preferences->automationRules(), IsEmpty());
}

} // namespace
} // namespace velto
