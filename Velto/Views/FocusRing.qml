import QtQuick

// Around the control that has the keyboard, while the keyboard is used.
Rectangle {
    property Item control: parent
    property real inset: -3

    anchors.fill: control
    anchors.margins: inset
    z: 10
    radius: 10
    color: "transparent"
    border.width: 2
    border.color: Theme.accentInk
    visible: control.activeFocus && keyboard.isShown
}
