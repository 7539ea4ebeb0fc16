import QtQuick

// What there is to turn so that the outputs of the session are heard at the same moment.
Column {
    id: controls

    required property QtObject model

    Repeater {
        model: controls.model.rows
        DelayRow { model: controls.model }
    }
    SwitchRow {
        label: "Click while you adjust"
        help: "Heard for six seconds after each change."
        on: controls.model.clicksWhileAdjusting
        onToggled: on => controls.model.clicksWhileAdjusting = on
    }
    SettingsRow {
        label: "Reported latency"
        help: controls.model.reportedLatencyText
        PushButton {
            text: "Use"
            Accessible.name: "Use Reported Latency"
            Accessible.description: controls.model.reportedLatencyText
            enabled: controls.model.canUseReportedLatency
            onClicked: controls.model.useReportedLatency()
        }
    }
}
