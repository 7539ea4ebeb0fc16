import QtQuick

// One line of the debug report.
Item {
    id: row

    required property string title
    required property string value

    width: parent ? parent.width : 0
    height: Math.max(26, answer.height + 8)

    Accessible.role: Accessible.StaticText
    Accessible.name: title
    Accessible.description: value

    TextLabel {
        x: 14
        y: 5
        width: parent.width * 0.46 - 20
        text: row.title
        color: Theme.secondary
        font.pixelSize: Theme.text(12)
    }
    TextLabel {
        id: answer
        anchors { right: parent.right; rightMargin: 14 }
        y: 5
        width: parent.width * 0.54 - 8
        horizontalAlignment: Text.AlignRight
        text: row.value
        wrapMode: Text.WrapAnywhere
        font.pixelSize: Theme.text(12)
    }
}
