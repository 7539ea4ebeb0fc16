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
            label: page.model.justCopiedDebugInfo ? "Copied" : ""
            Said { text: page.model.justCopiedDebugInfo ? "Copied" : "" }
            Flow {
                spacing: 8
                width: Math.min(redacted.width + spacing + whole.width, page.width - 28)
                PushButton {
                    id: redacted
                    text: "Copy Without Names"
                    onClicked: page.model.copyRedactedDebugInfo()
                }
                PushButton {
                    id: whole
                    symbol: page.model.justCopiedDebugInfo ? "checkmark" : "doc.on.doc"
                    text: "Copy Debug Information"
                    onClicked: page.model.copyDebugInfo()
                }
            }
        }
    }
    SettingsSection {
        title: "Troubleshooting"
        SettingsRow {
            help: page.model.resetHelp
            PushButton {
                Accessible.description: page.model.resetHelp
                busy: page.model.isResetting
                enabled: !page.model.isResetting
                symbol: "arrow.counterclockwise"
                text: "Reset Audio Configuration"
                onClicked: page.model.reset()
            }
        }
    }
}
