import QtQuick

Column {
    id: page

    required property QtObject model

    SettingsSection {
        title: "Debug information"
        Repeater {
            model: page.model.debugRows
            DebugRow {}
        }
        SettingsRow {
            label: page.model.didCopyDebugInfo ? "Copied" : ""
            PushButton {
                symbol: page.model.didCopyDebugInfo ? "checkmark" : "doc.on.doc"
                text: page.model.texts.copyDebugInfo.label
                onClicked: page.model.copyDebugInfo()
            }
        }
    }
    SettingsSection {
        title: "Troubleshooting"
        SettingsRow {
            help: page.model.texts.reset.help
            PushButton {
                busy: page.model.isResetting
                enabled: !page.model.isResetting
                symbol: "arrow.counterclockwise"
                text: page.model.texts.reset.label
                onClicked: page.model.reset()
            }
        }
    }
}
