import QtQuick

// What drop-down lists and menus lie on: opaque, with a soft edge in place of a shadow.
Rectangle {
    radius: 11
    color: Theme.popup
    border.width: 1
    border.color: Theme.windowEdge

    Rectangle {
        anchors.fill: parent
        anchors.margins: -1
        z: -1
        radius: 12
        color: "transparent"
        border.width: 2
        border.color: Theme.dark ? "#59000000" : "#14000000"
    }
}
