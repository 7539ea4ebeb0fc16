// DebugReport: what somebody who reports a fault is asked to send along.
//
// A part of SettingsViewModel; main actor only. It keeps nothing: it is made anew at each reading.
#pragma once

#include "Velto/Shell/ReportedNames.h"
#include "Velto/Shell/SettingsRows.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <string>
#include <vector>

namespace velto {

class DebugReport {
  public:
    /// All must outlive it.
    DebugReport(const PreferencesManager& preferences, const DualOutputCoordinator& coordinator,
                const AudioDeviceManager& deviceManager, const ApplicationHost& host)
        : preferences_(preferences), coordinator_(coordinator), deviceManager_(deviceManager), host_(host) {}

    std::vector<DebugRow> rows() const { return rows(ReportedNames()); }
    static std::vector<DebugRow> rows(const AudioOutputDevice& ofDevice, const ReportedNames& names = {});
    /// All rows, a line each, under a title.
    std::string text() const { return text(ReportedNames()); }
    /// The same without the names and UIDs of outputs.
    std::string redactedText() const;

  private:
    std::vector<DebugRow> rows(const ReportedNames& names) const;
    std::string text(const ReportedNames& names) const;
    std::vector<DebugRow> generalRows(const ReportedNames& names) const;
    std::vector<DebugRow> sessionRows(const ReportedNames& names) const;

    const PreferencesManager& preferences_;
    const DualOutputCoordinator& coordinator_;
    const AudioDeviceManager& deviceManager_;
    const ApplicationHost& host_;
};

} // namespace velto
