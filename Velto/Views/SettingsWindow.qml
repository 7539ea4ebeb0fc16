import QtQuick

Window {
    id: window

    required property QtObject model

    title: "Velto Settings"
    color: Theme.windowOpaque
    width: 560
    height: 540
    minimumWidth: 480
    minimumHeight: 400

    SettingsView {
        anchors.fill: parent
        focus: true
        model: window.model
        Keys.onEscapePressed: window.close()
    }
    Shortcut { sequences: [StandardKey.Close]; onActivated: window.close() }
}
