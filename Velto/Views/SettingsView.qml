import QtQuick

// The settings: a row of tabs above the one that is chosen.
FocusScope {
    id: view

    required property QtObject model
    property int tab: 0
    readonly property var tabs: [
        { title: "General", symbol: "gearshape" },
        { title: "Audio", symbol: "hifispeaker.2" },
        { title: "Sync", symbol: "stopwatch", view: "SyncSettingsView.qml" },
        { title: "Advanced", symbol: "slider.horizontal.3", view: "AdvancedSettingsView.qml" },
        { title: "About", symbol: "info.circle", view: "AboutSettingsView.qml" }
    ]

    function focusHome() { buttons.children[tab].forceActiveFocus() }
    Keys.onPressed: event => flickable.scroll(event)

    Rectangle {
        id: bar
        width: parent.width
        height: 74
        color: Theme.card

        Row {
            id: buttons
            anchors.centerIn: parent
            spacing: 6
            Accessible.role: Accessible.PageTabList
            Accessible.name: "Settings"
            Repeater {
                model: view.tabs
                SettingsTabButton {
                    required property var modelData
                    required property int index
                    width: Math.min(implicitWidth, (bar.width - 16) / view.tabs.length - buttons.spacing)
                    text: modelData.title
                    symbol: modelData.symbol
                    checked: view.tab === index
                    onChosen: { view.tab = index; view.focusHome() }
                    onMoved: step => buttons.move(step)
                }
            }
            function move(step) {
                view.tab = (view.tab + step + view.tabs.length) % view.tabs.length
                view.focusHome()
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.separator
        }
    }
    ScrollingPage {
        id: flickable
        anchors { top: bar.bottom; left: parent.left; right: parent.right; bottom: parent.bottom }
        contentHeight: page.height + 40

        Loader {
            id: page
            x: 24
            y: 20
            width: flickable.width - 48
            Component.onCompleted: load()
            function load() {
                const tab = view.tabs[view.tab]
                if (tab.view)
                    setSource(tab.view, { model: view.model })
                else
                    setSource("DeclaredSettingsView.qml", { model: view.model, tab: tab.title })
            }
            Connections {
                target: view
                function onTabChanged() { page.load(); flickable.contentY = 0 }
            }
        }
    }
}
