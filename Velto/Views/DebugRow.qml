import QtQuick

// One line of the debug report.
Item {
    id: row

    required property string title
    required property string value

    width: parent ? parent.width : 0
    height: Math.max(26, heading.height + 8, answer.height + 8)

    /// Text as long as a line has no blanks in it, such as a UID, breaks at its signs: never within a number.
    function breakable(text) { return text.replace(/([_:\/@,;-]|[.](?!\d))/g, "$1\u200b") }

    Accessible.role: Accessible.StaticText
    Accessible.name: title
    Accessible.description: value

    TextLabel {
        id: heading
        x: 14
        y: 5
        width: parent.width * 0.46 - 20
        text: row.breakable(row.title)
        wrapMode: Text.Wrap
        color: Theme.secondary
        font.pixelSize: Theme.text(12)
    }
    TextLabel {
        id: answer
        anchors { right: parent.right; rightMargin: 14 }
        y: 5
        width: parent.width * 0.54 - 8
        horizontalAlignment: Text.AlignRight
        text: row.breakable(row.value)
        wrapMode: Text.Wrap
        font.pixelSize: Theme.text(12)
    }
}
