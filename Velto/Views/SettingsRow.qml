import QtQuick

// A label with its help text on the left, the control on the right.
Item {
    id: row

    property string label
    property string help
    property bool available: true
    default property alias control: holder.data
    readonly property bool hasControl: holder.children.length > 0   // which has them as its name and description

    width: parent ? parent.width : 0
    implicitHeight: Math.max(40, text.height + 18, holder.childrenRect.height + 12)

    Column {
        id: text
        x: 14
        width: Math.max(0, parent.width - holder.width - 42)
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        ToldLabel {
            width: parent.width
            Accessible.ignored: row.hasControl
            visible: row.label.length > 0
            text: row.label
            wrapMode: Text.Wrap
            color: row.available ? Theme.label : Theme.secondary
        }
        ToldLabel {
            width: parent.width
            Accessible.ignored: row.hasControl
            visible: row.help.length > 0
            text: row.help
            wrapMode: Text.Wrap
            color: Theme.secondary
            font.pixelSize: Theme.small
            lineHeight: 1.1
        }
    }
    Item {
        id: holder
        anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
        width: childrenRect.width
        height: childrenRect.height
    }
}
