import QtQuick

// Which of two outputs is late, heard by a microphone.
Column {
    id: view

    required property QtObject model

    SettingsRow {
        label: "Align with Microphone"
        help: view.model.isRunning ? view.model.progressText : view.model.help
        PushButton {
            implicitWidth: 112
            symbol: view.model.isRunning ? "stop.fill" : "waveform"
            text: view.model.isRunning ? "Cancel" : "Align"
            Accessible.name: view.model.isRunning ? "Cancel" : "Align with Microphone"
            Accessible.description: view.model.isRunning ? view.model.progressText : view.model.help
            enabled: view.model.isRunning || view.model.canStart
            onClicked: view.model.isRunning ? view.model.cancel() : view.model.start()
        }
    }
    Item {
        width: parent.width
        height: visible ? 18 : 0
        visible: view.model.isRunning
        Rectangle {
            id: level
            x: 14
            width: parent.width - 28
            height: 6
            radius: 3
            color: Theme.track
            Accessible.role: Accessible.ProgressBar
            Accessible.name: "What the microphone hears"
            Rectangle {
                width: parent.width * Math.min(view.model.level, 1)
                height: parent.height
                radius: 3
                color: view.model.level > 0.98 ? Theme.bad : Theme.good
            }
        }
    }
    ChoiceRow {
        visible: view.model.inputs.length > 2
        available: !view.model.isRunning
        label: "Microphone"
        choices: view.model.inputs
        value: view.model.inputUID
        onPicked: value => view.model.inputUID = value
    }
    ToldLabel {
        id: result
        x: 14
        width: parent.width - 28
        visible: text.length > 0
        text: view.model.result
        wrapMode: Text.Wrap
        color: view.model.hasFailed ? Theme.warn : Theme.label
        bottomPadding: 8
        Accessible.role: Accessible.AlertMessage
        Said { text: result.text }
    }
    AlignmentPicture {
        x: 14
        width: parent.width - 28
        visible: arrivals.length > 0
        arrivals: view.model.arrivals
        latest: view.model.latestShown
    }
}
