import QtQuick

Column {
    id: page

    required property QtObject model

    SettingsSection {
        title: "Start-up"
        SwitchRow {
            label: page.model.texts.launchAtLogin.label
            help: page.model.launchAtLoginNote
            available: page.model.isLaunchAtLoginAvailable
            on: page.model.launchAtLogin
            onToggled: on => page.model.launchAtLogin = on
        }
        SettingsRow {
            visible: page.model.offersLoginItemsSettings
            PushButton {
                text: page.model.texts.openLoginItems.label
                onClicked: page.model.openLoginItemsSettings()
            }
        }
        RowSeparator {}
        SwitchRow {
            label: page.model.texts.showInDock.label
            help: page.model.texts.showInDock.help
            on: page.model.showInDock
            onToggled: on => page.model.showInDock = on
        }
        RowSeparator {}
        SwitchRow {
            label: page.model.texts.rememberSelectedDevices.label
            help: page.model.texts.rememberSelectedDevices.help
            on: page.model.rememberSelectedDevices
            onToggled: on => page.model.rememberSelectedDevices = on
        }
    }
    SettingsSection {
        title: "Automation"
        SwitchRow {
            label: page.model.texts.autoConnect.label
            help: page.model.texts.autoConnect.help
            on: page.model.autoConnect
            onToggled: on => page.model.autoConnect = on
        }
        RowSeparator {}
        SwitchRow {
            label: page.model.texts.autoReconnect.label
            help: page.model.texts.autoReconnect.help
            on: page.model.autoReconnect
            onToggled: on => page.model.autoReconnect = on
        }
        RowSeparator {}
        ChoiceRow {
            label: page.model.texts.disconnectBehavior.label
            help: chosen ? chosen.help : ""
            choices: page.model.disconnectBehaviors
            value: page.model.disconnectBehavior
            onPicked: value => page.model.disconnectBehavior = value
        }
    }
}
