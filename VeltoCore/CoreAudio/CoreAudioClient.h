// CoreAudioClient: the interface to the audio hardware. All logic is written against it.
//
// Production: SystemCoreAudioClient (macOS) and PipeWireAudioClient (Linux). Substitute:
// SimulatedAudioSystem. Used from the main actor. Operations that are not `noexcept` throw AudioManagerError,
// nearly always `coreAudioError`; the others answer false or absence for what can't be known. Nothing is
// cached for the caller: what was read may be old at the next turn.
//
// No answer is not "no". An operation that gets none from the audio service throws 'stop'
// (AudioManagerError::isNoAnswer): with the service away every one does, but for listening to its return;
// while it hangs, reads answer what was last heard, and what would change something gives up after half a
// second, at once when it is known to hang. What was asked may take effect late. Once the service answers
// again, restarted or awake, kAudioHardwarePropertyServiceRestarted is notified on the system object.
//
// Each operation names the platform's property behind it.
#pragma once

#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/CompositionValue.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"
#include "VeltoCore/CoreAudio/PropertyListenerToken.h"
#include "VeltoCore/Observation/Observable.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class CoreAudioClient {
  public:
    virtual ~CoreAudioClient() = default;

    /// False while the audio service is known to be away or to hang. Costs nothing: it asks nobody. A
    /// platform on which this shows only in the calls themselves answers true.
    virtual bool isAnswering() const noexcept { return true; }
    /// Whether the audio service is there, as far as is known, whether it answers or hangs. Costs nothing.
    virtual bool isServiceThere() const noexcept { return true; }
    /// Calls the handler, on the main actor, when isAnswering() has become false because the service is away;
    /// never on a platform that can't know.
    virtual Subscription observeServiceLoss(std::function<void()>) { return {}; }

    // Devices

    /// All devices, inputs included, by IDs of which none is ever used again.
    /// kAudioHardwarePropertyDevices.
    virtual std::vector<AudioObjectID> allDeviceIDs() = 0;
    /// The device with that UID; none when there is no such device.
    /// kAudioHardwarePropertyTranslateUIDToDevice.
    virtual std::optional<AudioObjectID> deviceID(std::string_view forUID) = 0;
    /// In UTF-8, never that of another device, and the same when the device comes back.
    /// kAudioDevicePropertyDeviceUID.
    virtual std::string deviceUID(AudioObjectID device) = 0;
    /// kAudioObjectPropertyName.
    virtual std::string deviceName(AudioObjectID device) = 0;
    /// The raw four-character transport code; 0 when the device doesn't say.
    /// kAudioDevicePropertyTransportType.
    virtual std::uint32_t transportType(AudioObjectID device) = 0;
    /// kAudioObjectPropertyManufacturer.
    virtual std::optional<std::string> deviceManufacturer(AudioObjectID device) noexcept = 0;
    /// Output latency in frames at the nominal rate; none if absent or unreadable. Stream latency and buffer
    /// size are not in it.
    /// kAudioDevicePropertyLatency.
    virtual std::optional<std::int64_t> outputLatencyFrames(AudioObjectID device) noexcept = 0;
    /// Output safety offset in frames; none if absent or unreadable.
    /// kAudioDevicePropertySafetyOffset.
    virtual std::optional<std::int64_t> outputSafetyOffsetFrames(AudioObjectID device) noexcept = 0;
    /// Output channels, summed over all streams; 0 when the device has no output side.
    /// kAudioDevicePropertyStreamConfiguration.
    virtual std::int64_t outputChannelCount(AudioObjectID device) = 0;
    /// kAudioDevicePropertyDeviceIsAlive.
    virtual bool isAlive(AudioObjectID device) noexcept = 0;
    /// kAudioDevicePropertyIsHidden.
    virtual bool isHidden(AudioObjectID device) noexcept = 0;
    /// Whether any program plays or records through the device.
    /// kAudioDevicePropertyDeviceIsRunningSomewhere.
    virtual bool isRunningSomewhere(AudioObjectID device) noexcept = 0;

    // Sample rates, in Hz

    /// kAudioDevicePropertyNominalSampleRate.
    virtual double nominalSampleRate(AudioObjectID device) = 0;
    /// The rates the device can run at, in its own order.
    /// kAudioDevicePropertyAvailableNominalSampleRates.
    virtual std::vector<SampleRateRange> availableSampleRates(AudioObjectID device) = 0;
    /// Asks for a rate. It may take effect later: a read right after may still give the old one.
    virtual void setNominalSampleRate(AudioObjectID device, double sampleRate) = 0;

    // The system's outputs. One that goes is replaced by the system.

    /// kAudioObjectUnknown when there is no output at all.
    /// kAudioHardwarePropertyDefaultOutputDevice.
    virtual AudioObjectID defaultOutputDeviceID() = 0;
    /// Asks for another one. It may take effect later: a read right after may still give the old one.
    virtual void setDefaultOutputDevice(AudioObjectID device) = 0;
    /// The output for alerts and sound effects. Where a platform has none, the client keeps one. As above.
    /// kAudioHardwarePropertyDefaultSystemOutputDevice.
    virtual AudioObjectID defaultSystemOutputDeviceID() = 0;
    virtual void setDefaultSystemOutputDevice(AudioObjectID device) = 0;

    // Aggregates. Outputs of one play the same at the same moment. An output that goes leaves it, and the
    // others play on; one that comes back takes part again by itself. An aggregate may outlive a program that
    // was killed: the next run finds it by its UID, and destroys it.

    /// Creates the aggregate and answers its ID. Fails with 'nope' while one with that UID exists. It may be
    /// alive, and have its outputs, a moment later.
    /// The one call that may block for long: it is made by MainActor::runBlocking(), and where that leaves
    /// the main actor it touches no state shared with it.
    /// AudioHardwareCreateAggregateDevice.
    virtual AudioObjectID createAggregateDevice(const AggregateDeviceDescription& description) = 0;
    /// It may be there for a moment longer. AudioHardwareDestroyAggregateDevice.
    virtual void destroyAggregateDevice(AudioObjectID device) = 0;
    /// The composition as the hardware layer has it; empty when it gives none.
    /// kAudioAggregateDevicePropertyComposition.
    virtual CompositionDictionary aggregateComposition(AudioObjectID device) = 0;
    /// All that it was made of, those that are unplugged too, in that order.
    /// kAudioAggregateDevicePropertyFullSubDeviceList.
    virtual std::vector<std::string> aggregateFullSubDeviceUIDs(AudioObjectID device) = 0;
    /// The objects of the outputs that take part now, in that order; an unplugged one is missing. They may be
    /// objects of their own, whose UID is that of the output.
    /// kAudioAggregateDevicePropertyActiveSubDeviceList.
    virtual std::vector<AudioObjectID> aggregateActiveSubDeviceIDs(AudioObjectID device) = 0;
    /// kAudioAggregateDevicePropertyMainSubDevice.
    virtual std::string aggregateMainSubDeviceUID(AudioObjectID device) = 0;
    /// Asked of a sub-device's object, not of the aggregate.
    /// kAudioSubDevicePropertyDriftCompensation.
    virtual bool supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept = 0;
    virtual bool subDeviceDriftCompensation(AudioObjectID subDevice) = 0;
    virtual void setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) = 0;

    // Delay

    /// Whether the outputs of an aggregate can be delayed against one another. Core Audio: never.
    virtual bool supportsOutputDelays() const noexcept { return false; }
    /// Delays outputs of the aggregate by so many milliseconds from 0 to 1,000, by UID; those that are not
    /// named not at all. Heard a moment later, without a gap; an output that returns gets its own. It goes
    /// with the aggregate. Where it can't be kept up, kVeltoAggregatePropertyOutputDelaysLost is notified
    /// once on the aggregate, and the outputs play undelayed until this is called again. Throws '!dev' for
    /// what is no aggregate of this program's. Core Audio: always 'unop'.
    virtual void setOutputDelays(AudioObjectID /*aggregate*/,
                                 const std::map<std::string, double>& /*milliseconds*/) {
        throw AudioManagerError::coreAudioError(kAudioHardwareUnsupportedOperationError);
    }

    /// Silences what players send to the aggregate, and a third of a second later has two of its outputs play
    /// the sweeps of an AlignmentProbe at the same moment, each as much later as it is delayed. The probe is
    /// of the aggregate's rate and that peak, a part of full scale. No volume is written. What players send
    /// is heard again at endSweeps(), and by itself a few seconds after the last call, or when this program
    /// dies. Throws as setOutputDelays() does. Core Audio: always 'unop'.
    virtual void playSweeps(AudioObjectID /*aggregate*/, const std::string& /*rising*/,
                            const std::string& /*falling*/, double /*peak*/) {
        throw AudioManagerError::coreAudioError(kAudioHardwareUnsupportedOperationError);
    }
    /// What players send to the aggregate is heard at once, and no sweep any more. Nothing where none plays.
    virtual void endSweeps(AudioObjectID /*aggregate*/) noexcept {}

    // Volume and mute

    /// kAudioHardwareServiceDeviceProperty_VirtualMainVolume, else kAudioDevicePropertyVolumeScalar of the
    /// main element, else of the channels.
    virtual bool supportsOutputVolume(AudioObjectID device) noexcept = 0;
    /// A scalar from 0 to 1, above it where somebody else amplifies. Throws 'unop' without a volume control.
    /// An aggregate that has one must not apply it to the sound: it is shown and set as the master volume of
    /// its outputs, and likewise its mute.
    virtual float outputVolume(AudioObjectID device) = 0;
    /// Clamped to 0…1 first. May take effect later, but what is read meanwhile is what was asked last.
    virtual void setOutputVolume(AudioObjectID device, float volume) = 0;
    /// kAudioDevicePropertyMute.
    virtual bool supportsOutputMute(AudioObjectID device) noexcept = 0;
    virtual bool outputMute(AudioObjectID device) = 0;
    virtual void setOutputMute(AudioObjectID device, bool isMuted) = 0;

    // Listeners. Handlers run on the main actor, in a turn of their own, and read again what they need. Where
    // the audio service went, they may be gone, but for those of its return.
    //
    // These a client tells of, in the global scope of the system object: kAudioHardwarePropertyDevices (also
    // when a device becomes one that can play), kAudioHardwarePropertyDefaultOutputDevice,
    // kAudioHardwarePropertyDefaultSystemOutputDevice and kAudioHardwarePropertyServiceRestarted; of an
    // aggregate whose outputs it delays, kVeltoAggregatePropertyOutputDelaysLost. The core listens to no
    // others, but to volume and mute: any other may be registered, and need not be told of.

    /// Null when the device has no volume control.
    virtual PropertyListenerTokenRef addOutputVolumeListener(AudioObjectID device,
                                                             PropertyListenerHandler handler) = 0;
    /// Null when the device has no mute control.
    virtual PropertyListenerTokenRef addOutputMuteListener(AudioObjectID device,
                                                           PropertyListenerHandler handler) = 0;
    /// The general form.
    virtual PropertyListenerTokenRef addPropertyListener(AudioObjectID objectID,
                                                         AudioObjectPropertySelector selector,
                                                         AudioObjectPropertyScope scope,
                                                         AudioObjectPropertyElement element,
                                                         PropertyListenerHandler handler) = 0;
    /// Must come before the token is dropped. A failure is only logged.
    virtual void removePropertyListener(const PropertyListenerTokenRef& token) noexcept = 0;

    /// The general form for the main element.
    PropertyListenerTokenRef addPropertyListener(AudioObjectID objectID, AudioObjectPropertySelector selector,
                                                 AudioObjectPropertyScope scope,
                                                 PropertyListenerHandler handler) {
        return addPropertyListener(objectID, selector, scope, kAudioObjectPropertyElementMain,
                                   std::move(handler));
    }
};

} // namespace velto
