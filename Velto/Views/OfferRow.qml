import QtQuick

// A sentence, and a button that does something about it.
Rectangle {
    id: row

    property string sentence
    property string symbol
    property string action
    readonly property Item home: button
    signal accepted()

    implicitHeight: 36
    radius: 9
    color: Theme.disc

    NameLabel {
        anchors { left: parent.left; leftMargin: 11; right: button.left; rightMargin: 6; verticalCenter: parent.verticalCenter }
        text: row.sentence
        font.pixelSize: Theme.text(12)
        Accessible.ignored: false
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
        Said { text: row.sentence }
    }
    PushButton {
        id: button
        anchors { right: parent.right; rightMargin: 4; verticalCenter: parent.verticalCenter }
        implicitHeight: Theme.hitSize
        symbol: row.symbol
        text: row.action
        onClicked: row.accepted()
    }
}
