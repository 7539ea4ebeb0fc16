import QtQuick
import QtQuick.Templates as T

// What a control without text is for, when the pointer rests on it.
T.ToolTip {
    id: tip

    required property Item control

    parent: control
    visible: control.hovered && control.text.length > 0 && !control.down && !control.checked
    delay: 700
    text: control.text
    margins: 6
    x: (control.width - width) / 2
    y: control.height + 4
    padding: 6
    implicitWidth: label.implicitWidth + 2 * padding
    implicitHeight: label.implicitHeight + 2 * padding

    contentItem: TextLabel {
        id: label
        text: tip.text
        font.pixelSize: Theme.small
    }
    background: Rectangle {
        radius: 6
        color: Theme.popup
        border.width: 1
        border.color: Theme.controlEdge
    }
}
