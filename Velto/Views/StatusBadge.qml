import QtQuick

Rectangle {
    property alias text: label.text
    property color ink: Theme.secondary
    property color ground: Theme.badge

    implicitWidth: label.implicitWidth + 14
    implicitHeight: 18
    radius: 9
    color: ground

    TextLabel {
        id: label
        anchors.centerIn: parent
        color: parent.ink
        font.pixelSize: Theme.text(10)
        font.weight: Font.Medium
    }
}
