import QtQuick

Column {
    id: page

    required property QtObject model

    SettingsSection {
        title: "Sync test"
        SettingsRow {
            label: page.model.isSyncTestRunning ? "Playing…" : "By ear"
            help: page.model.syncTestHelp
            PushButton {
                implicitWidth: 112
                Accessible.description: page.model.syncTestHelp
                symbol: page.model.isSyncTestRunning ? "stop.fill" : "play.fill"
                text: page.model.isSyncTestRunning ? "Stop" : "Play Test"
                onClicked: page.model.isSyncTestRunning ? page.model.stopSyncTest() : page.model.startSyncTest()
            }
        }
        RowSeparator {}
        SettingRows { settings: page.model; section: "Sync test" }
    }
    SettingsSection {
        title: "In step"
        visible: page.model.inStep.isSupported
        SettingsRow {
            help: page.model.inStep.help
        }
        Loader {
            width: parent.width
            active: page.model.inStep.isAvailable
            visible: active
            sourceComponent: InStepControls { model: page.model.inStep }
        }
        RowSeparator { visible: page.model.alignment.isPossible }
        AlignmentView {
            width: parent.width
            visible: page.model.alignment.isPossible
            model: page.model.alignment
        }
    }
    SettingsSection {
        title: "Sync engine"
        SettingsRow {
            label: page.model.syncEngineName
            help: page.model.syncEngineHelp
        }
        RowSeparator {}
        SettingRows { settings: page.model; section: "Sync engine" }
    }
    SettingsSection {
        title: "Saved sync profiles"
        SettingRows { settings: page.model; section: "Saved sync profiles" }
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
                    Accessible.description: profile.summary
                    onClicked: {
                        screenReader.say(Window.window, "Removed " + profile.names)
                        page.model.removeSyncProfile(profile.profileID)
                    }
                }
            }
        }
    }
}
