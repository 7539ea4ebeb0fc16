import QtQuick

// Around a control that was reached by the keyboard.
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
    visible: control.visualFocus === true
}
