import QtQuick
import QtQuick.Templates as T

// A volume from 0 to 1. What it shows follows `volume`, but never under the finger.
T.Slider {
    id: slider

    property real volume: 0
    property bool dimmed: false
    signal volumeMoved(real volume)

    implicitHeight: Theme.hitSize
    hoverEnabled: true
    live: true
    from: 0
    to: 1
    stepSize: 0
    focusPolicy: Qt.TabFocus
    opacity: enabled ? 1 : 0.45

    onMoved: volumeMoved(value)
    Binding on value {
        value: slider.volume
        when: !slider.pressed
        restoreMode: Binding.RestoreNone
    }

    Accessible.role: Accessible.Slider
    Accessible.onIncreaseAction: volumeMoved(value + 0.05)
    Accessible.onDecreaseAction: volumeMoved(value - 0.05)
    Keys.onLeftPressed: volumeMoved(value - 0.05)
    Keys.onRightPressed: volumeMoved(value + 0.05)
    Keys.onDownPressed: volumeMoved(value - 0.05)
    Keys.onUpPressed: volumeMoved(value + 0.05)

    WheelHandler {
        onWheel: event => slider.volumeMoved(slider.value + event.angleDelta.y / 2400)
    }

    background: Item {
        Rectangle {
            y: (parent.height - height) / 2
            width: parent.width
            height: 4
            radius: 2
            color: Theme.track
        }
        Rectangle {
            y: (parent.height - height) / 2
            width: slider.handle.x + slider.handle.width / 2
            height: 4
            radius: 2
            color: slider.dimmed ? Theme.faint : Theme.accent
        }
    }
    handle: Rectangle {
        x: slider.visualPosition * (slider.availableWidth - width)
        y: (slider.height - height) / 2
        width: 16
        height: 16
        radius: 8
        color: slider.pressed ? "#e8e8ec" : "#ffffff"
        border.width: 1
        border.color: Theme.dark ? "#66000000" : "#40000000"
        scale: slider.pressed || slider.hovered ? 1.12 : 1
        Behavior on scale { NumberAnimation { duration: Theme.quick } }
    }
    FocusRing { control: slider; inset: -1 }
}
