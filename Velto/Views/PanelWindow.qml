import QtQuick

Window {
    id: window

    required property QtObject model
    required property QtObject presets
    readonly property int cornerRadius: Theme.panelRadius
    property int longestHeight: 10000
    required property bool isOrdinary   // has a frame, and stays when another window is active
    signal dismissed()
    signal settingsRequested()
    signal quitRequested()

    title: "Velto"
    color: appearance.isComposited && !isOrdinary ? "transparent" : Theme.windowOpaque
    flags: isOrdinary ? Qt.Window | Qt.WindowTitleHint | Qt.WindowCloseButtonHint | Qt.WindowMinimizeButtonHint
                      : Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.NoDropShadowWindowHint
    width: view.implicitWidth
    Component.onCompleted: fit()

    // As high as its content. Limits that still hold the old height would keep a window manager from following.
    function fit() {
        minimumHeight = 0
        maximumHeight = 16777215
        height = view.implicitHeight
        if (!isOrdinary) return
        minimumWidth = maximumWidth = width
        minimumHeight = maximumHeight = height
    }

    function focusHome() { view.focusHome() }

    onClosing: dismissed()
    onActiveChanged: if (!active && !isOrdinary && visible) dismissed()

    VeltoMenuBarView {
        id: view
        anchors.fill: parent
        focus: true
        onImplicitHeightChanged: window.fit()
        model: window.model
        presets: window.presets
        longestHeight: window.longestHeight
        isFramed: window.isOrdinary
        onSettingsRequested: window.settingsRequested()
        onQuitRequested: window.quitRequested()
        Keys.onEscapePressed: window.dismissed()
    }
    Shortcut { sequences: [StandardKey.Close]; onActivated: window.dismissed() }
    Shortcut { sequences: [StandardKey.Quit]; onActivated: window.quitRequested() }
    Shortcut { sequences: [StandardKey.Preferences, "Ctrl+,"]; onActivated: window.settingsRequested() }
}
