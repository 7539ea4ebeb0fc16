import QtQuick
import QtQuick.Templates as T
import Velto

// The simulator's second window: what a user could do to a computer's outputs.
Window {
    id: window

    required property QtObject bench

    title: "Velto Device Bench"
    color: Theme.windowOpaque
    width: 760
    height: 620
    minimumWidth: 560
    minimumHeight: 420

    Timer {
        interval: 250
        repeat: true
        running: window.visible
        onTriggered: window.bench.readCalls()
    }
    Column {
        id: top
        x: 16
        y: 14
        width: parent.width - 32
        spacing: 10
        ToldLabel {
            text: "Default output: " + window.bench.defaultOutput
            width: parent.width
            font.pixelSize: 15
            font.weight: Font.Medium
        }
        Flow {
            width: parent.width
            spacing: 8
            PushButton { text: "Plug Another"; symbol: "plus"; onClicked: window.bench.plugAnother() }
            PushButton { text: "Sleep"; symbol: "moon"; onClicked: window.bench.fallAsleep() }
            PushButton { text: "Wake"; symbol: "sun.max"; onClicked: window.bench.wakeUp() }
            PushButton { text: "Restart Audio Service"; onClicked: window.bench.restartAudioService() }
            PushButton { text: "Fail Next Start"; onClicked: window.bench.failNextStart() }
            PushButton { text: "Fail Next Call"; onClicked: window.bench.failNextCall() }
        }
    }
    ListView {
        id: devices
        anchors { top: top.bottom; topMargin: 10; left: parent.left; right: parent.right; leftMargin: 16; rightMargin: 16; bottom: calls.top; bottomMargin: 8 }
        clip: true
        spacing: 6
        model: window.bench.devices
        boundsBehavior: Flickable.StopAtBounds
        T.ScrollBar.vertical: SlimScrollBar {}
        delegate: DeviceBenchRow {
            width: ListView.view.width
            bench: window.bench
        }
    }
    GlassCard {
        id: calls
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 16 }
        height: 150
        TextLabel {
            id: heading
            x: 12
            y: 8
            text: window.bench.callCount + " calls of the client"
            color: Theme.secondary
            font.pixelSize: Theme.small
            font.weight: Font.Medium
        }
        ListView {
            anchors { top: heading.bottom; topMargin: 4; left: parent.left; right: parent.right; bottom: parent.bottom; margins: 8; leftMargin: 12 }
            clip: true
            model: window.bench.calls
            boundsBehavior: Flickable.StopAtBounds
            T.ScrollBar.vertical: SlimScrollBar {}
            delegate: TextLabel {
                required property string modelData
                text: modelData
                font.pixelSize: Theme.small
            }
        }
    }
}
