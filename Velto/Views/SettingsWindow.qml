import QtQuick

Window {
    id: window

    required property QtObject model
    property int longestHeight: 10000   // of the window, without its frame

    title: "Velto Settings"
    color: Theme.windowOpaque
    width: 560
    height: Math.min(600, longestHeight)
    minimumWidth: 480
    minimumHeight: Math.min(400, longestHeight)

    function focusHome() { view.focusHome() }

    SettingsView {
        id: view
        anchors.fill: parent
        focus: true
        model: window.model
        Keys.onEscapePressed: window.close()
    }
    Shortcut { sequences: [StandardKey.Close]; onActivated: window.close() }
}
