import QtQuick

// How an output is connected, or that it isn't.
Rectangle {
    id: badge

    property string symbol
    property alias text: label.text
    property color ink: Theme.secondary
    property color ground: Theme.badge

    implicitWidth: row.implicitWidth + 14
    implicitHeight: 18
    radius: 9
    color: ground

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 4
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: badge.symbol.length > 0
            name: badge.symbol
            color: badge.ink
            size: 12
        }
        TextLabel {
            id: label
            anchors.verticalCenter: parent.verticalCenter
            color: badge.ink
            font.pixelSize: Theme.text(10)
            font.weight: Font.Medium
        }
    }
}
