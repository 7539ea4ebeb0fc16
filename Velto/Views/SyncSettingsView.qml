import QtQuick

Column {
    id: page

    required property QtObject model

    SettingsSection {
        title: page.model.texts.syncTest.label
        SettingsRow {
            label: page.model.isSyncTestRunning ? "Playing…" : "By ear"
            help: page.model.texts.syncTest.help
            PushButton {
                implicitWidth: 112
                symbol: page.model.isSyncTestRunning ? "stop.fill" : "play.fill"
                text: page.model.isSyncTestRunning ? "Stop" : "Play Test"
                onClicked: page.model.isSyncTestRunning ? page.model.stopSyncTest() : page.model.startSyncTest()
            }
        }
        RowSeparator {}
        SettingsRow {
            label: page.model.texts.syncTestVolume.label
            VolumeSlider {
                implicitWidth: Theme.fieldWidth
                volume: page.model.syncTestVolume
                Accessible.name: page.model.texts.syncTestVolume.label
                onVolumeMoved: volume => page.model.syncTestVolume = volume
            }
        }
    }
    SettingsSection {
        title: page.model.texts.syncEngine.label
        SettingsRow {
            label: page.model.syncEngineName
            help: page.model.texts.syncEngine.help
        }
        RowSeparator {}
        ChoiceRow {
            label: page.model.texts.referenceDevice.label
            help: page.model.texts.referenceDevice.help
            choices: page.model.referenceDevices
            value: page.model.referenceDevice
            onPicked: value => page.model.referenceDevice = value
        }
    }
    SettingsSection {
        title: page.model.texts.syncProfiles.label
        SwitchRow {
            label: page.model.texts.rememberSyncProfiles.label
            help: page.model.texts.rememberSyncProfiles.help
            on: page.model.rememberSyncProfiles
            onToggled: on => page.model.rememberSyncProfiles = on
        }
        Repeater {
            model: page.model.syncProfiles
            SettingsRow {
                id: profile

                required property string profileID
                required property string names
                required property string summary

                label: names
                help: summary
                IconButton {
                    symbol: "trash"
                    text: "Remove"
                    Accessible.name: "Remove " + profile.names
                    onClicked: page.model.removeSyncProfile(profile.profileID)
                }
            }
        }
    }
}
