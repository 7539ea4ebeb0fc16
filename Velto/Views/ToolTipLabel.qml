import QtQuick
import QtQuick.Templates as T

// What a control without text is for, or the whole of a text that is cut: when the pointer rests on it. Made only then.
T.ToolTip {
    id: tip

    required property Item owner

    parent: owner
    visible: true
    delay: 700
    margins: 6
    x: (owner.width - width) / 2
    y: owner.height + 4
    padding: 6
    implicitWidth: Math.min(label.implicitWidth, owner.Window.width - 24) + 2 * padding
    implicitHeight: label.implicitHeight + 2 * padding

    contentItem: TextLabel {
        id: label
        text: tip.text
        wrapMode: Text.Wrap
        font.pixelSize: Theme.small
    }
    background: Rectangle {
        radius: 6
        color: Theme.popup
        border.width: 1
        border.color: Theme.controlEdge
    }
}
