#include "Velto/Shell/AudioServiceMonitor.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::audioDevices;

} // namespace

AudioServiceMonitor::AudioServiceMonitor(CoreAudioClient& client, AudioDeviceManager& deviceManager,
                                         DeviceVolumeController& volumeController,
                                         DualOutputCoordinator& coordinator, MainActor& actor)
    : client_(client), deviceManager_(deviceManager), volumeController_(volumeController),
      coordinator_(coordinator), actor_(actor) {}

AudioServiceMonitor::~AudioServiceMonitor() = default;

void AudioServiceMonitor::start() {
    if (token_) return;
    try {
        token_ = client_.addPropertyListener(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted,
                                             kAudioObjectPropertyScopeGlobal,
                                             lifetime_.whileAlive([this] { handleRestart(); }));
    } catch (...) {
        logger.error("Could not observe the audio service: {}", currentErrorDescription());
    }
}

void AudioServiceMonitor::stop() {
    if (const auto token = std::exchange(token_, nullptr)) client_.removePropertyListener(token);
}

void AudioServiceMonitor::handleRestart() {
    if (!token_) return; // sent before listening ended
    logger.notice("The audio service was restarted");
    deviceManager_.handleServiceRestart();
    volumeController_.renewListeners();
    // It reads the devices anew, before anybody is told of their changes: a session that has lost its
    // aggregate is rebuilt, not given up because the default output is another one.
    coordinator_.handleServiceRestart();
    // What changed while nobody listened. By then a rebuild is under way.
    actor_.post(lifetime_.whileAlive([this] {
        if (token_) deviceManager_.handleChange();
    }));
}

} // namespace velto
