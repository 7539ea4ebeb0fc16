import QtQuick

Window {
    id: window

    required property QtObject model
    property int longestHeight: 10000   // of the window, without its frame
    property int longestWidth: 10000

    title: "Velto Settings"
    color: Theme.windowOpaque
    width: Math.min(560, longestWidth)
    height: Math.min(600, longestHeight)
    minimumWidth: Math.min(480, longestWidth)
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
