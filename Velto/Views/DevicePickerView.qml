import QtQuick
import QtQuick.Templates as T

// Which output plays in one slot. Rows may come, go and move while it is open: what is chosen is the UID.
DropDown {
    id: picker

    required property var entry      // the choice: uid, name, shortName, symbol, badge, badgeSymbol, isConnected; uid "" for none
    signal picked(string uid)

    implicitHeight: 52
    rowHeight: 34
    textRole: "name"
    valueRole: "uid"
    onActivated: index => picked(valueAt(index))

    function followEntry() { currentIndex = model ? model.indexOf("uid", entry.uid) : -1 }
    onEntryChanged: followEntry()
    onModelChanged: followEntry()
    Connections {
        target: picker.model
        function onContentChanged() {
            picker.followEntry()
            picker.followReached()
        }
    }

    Accessible.description: entry.uid ? [entry.name, entry.badge].filter(part => part).join(", ") : "Choose an output"

    background: Rectangle {
        radius: Theme.cornerRadius - 2
        color: picker.down ? Theme.pressed : picker.hovered ? Theme.hover : "transparent"
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
    contentItem: Item {
        DeviceDisc {
            id: disc
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            symbol: picker.entry.uid ? picker.entry.symbol : "plus"
            faded: !picker.entry.isConnected
        }
        Column {
            anchors { left: disc.right; leftMargin: 10; right: parent.right; rightMargin: 34 }
            anchors.verticalCenter: parent.verticalCenter
            spacing: 1
            NameLabel {
                width: parent.width
                text: picker.entry.uid ? picker.entry.shortName : "Choose an output"
                whole: picker.entry.uid ? picker.entry.name : text
                color: picker.entry.isConnected ? Theme.label : Theme.secondary
                font.weight: Font.Medium
            }
            Row {
                spacing: 4
                Symbol {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: picker.entry.isConnected
                    name: picker.entry.badgeSymbol
                    color: Theme.secondary
                    size: 13
                }
                TextLabel {
                    text: picker.entry.uid ? picker.entry.badge : picker.label
                    color: picker.entry.isMissing ? Theme.warn : Theme.secondary
                    font.pixelSize: Theme.small
                }
            }
        }
    }
    indicator: Symbol {
        x: picker.width - width - 12
        anchors.verticalCenter: parent.verticalCenter
        name: "chevron.up.chevron.down"
        size: 16
        color: Theme.secondary
    }
    delegate: T.ItemDelegate {
        id: row

        required property int index
        required property string uid
        required property string name
        required property string shortName
        required property string symbol
        required property string badge
        readonly property color ink: highlighted ? Theme.accentText : Theme.label

        width: ListView.view ? ListView.view.width : 0
        implicitHeight: picker.rowHeight
        hoverEnabled: true
        highlighted: picker.highlightedIndex === index

        Accessible.role: Accessible.ListItem
        Accessible.name: name
        Accessible.description: badge
        Accessible.selectable: true
        Accessible.selected: uid === picker.entry.uid
        Accessible.focused: highlighted
        Accessible.onPressAction: { picker.picked(row.uid); picker.popup.close() }

        background: Rectangle {
            radius: 7
            color: row.highlighted ? Theme.accent : "transparent"
        }
        contentItem: Item {
            Symbol {
                x: 6
                anchors.verticalCenter: parent.verticalCenter
                visible: row.uid === picker.entry.uid
                name: "checkmark"
                size: 15
                color: row.ink
            }
            Symbol {
                id: glyph
                x: 27
                anchors.verticalCenter: parent.verticalCenter
                name: row.symbol
                size: 18
                color: row.ink
            }
            NameLabel {
                anchors { left: glyph.right; leftMargin: 9; right: badgeLabel.left; rightMargin: 8 }
                anchors.verticalCenter: parent.verticalCenter
                text: row.shortName
                whole: row.name
                color: row.ink
            }
            TextLabel {
                id: badgeLabel
                anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
                text: row.badge
                font.pixelSize: Theme.small
                color: row.highlighted ? Theme.accentText : Theme.secondary
            }
        }
    }
}
