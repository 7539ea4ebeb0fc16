import QtQuick
import QtQuick.Templates as T

// A volume, or a part of anything else, from 0 to 1. What it shows follows `volume`, but never under the finger.
T.Slider {
    id: slider

    property real volume: 0
    property bool dimmed: false
    /// What an arrow key does, and with Shift.
    property real step: 0.05
    property real fineStep: step
    /// What Page Up and Page Down do.
    property real pageStep: 4 * step
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
    onValueChanged: {
        const shown = Math.max(from, Math.min(volume, to))
        if (pressed || value === shown) return
        const asked = value     // by a screen reader
        value = shown
        volumeMoved(asked)
    }
    Binding on value {
        value: slider.volume
        when: !slider.pressed
        restoreMode: Binding.RestoreNone
    }

    /// What a screen reader asks for.
    readonly property real minimumValue: from
    readonly property real maximumValue: to
    Accessible.role: Accessible.Slider
    Accessible.onIncreaseAction: volumeMoved(value + step)
    Accessible.onDecreaseAction: volumeMoved(value - step)
    function stepOf(event) { return event.modifiers & Qt.ShiftModifier ? fineStep : step }
    Keys.onLeftPressed: event => volumeMoved(value - stepOf(event))
    Keys.onRightPressed: event => volumeMoved(value + stepOf(event))
    Keys.onDownPressed: event => volumeMoved(value - stepOf(event))
    Keys.onUpPressed: event => volumeMoved(value + stepOf(event))
    Keys.onPressed: event => {
        const goal = ({ [Qt.Key_PageDown]: value - pageStep, [Qt.Key_PageUp]: value + pageStep,
                        [Qt.Key_Home]: from, [Qt.Key_End]: to })[event.key]
        event.accepted = goal !== undefined
        if (event.accepted) volumeMoved(goal)
    }

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
            color: slider.dimmed ? Theme.faint : Theme.accentInk
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
        border.color: Theme.dark ? "#66000000" : Theme.fieldEdge
        scale: slider.pressed || slider.hovered ? 1.12 : 1
        Behavior on scale { NumberAnimation { duration: Theme.quick } }
    }
    FocusRing { control: slider; inset: -1 }
}
