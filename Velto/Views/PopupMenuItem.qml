import QtQuick
import QtQuick.Templates as T

T.MenuItem {
    id: item

    property string symbol
    property bool destructive: false
    readonly property color ink: highlighted ? Theme.accentText : destructive ? Theme.bad : Theme.label

    implicitWidth: 200
    implicitHeight: 30
    hoverEnabled: true

    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.checkable: checkable
    Accessible.checked: checked
    Accessible.focused: highlighted
    Accessible.onPressAction: if (item.enabled) item.triggered()
    Accessible.onToggleAction: if (item.enabled) item.triggered()
    onHighlightedChanged: if (highlighted) screenReader.moveTo(item)

    background: Rectangle {
        radius: 7
        color: item.highlighted ? Theme.accent : "transparent"
    }
    contentItem: Item {
        Symbol {
            x: 7
            anchors.verticalCenter: parent.verticalCenter
            name: item.checkable ? (item.checked ? "checkmark" : "") : item.symbol
            size: 16
            color: item.ink
        }
        TextLabel {
            anchors { left: parent.left; leftMargin: 31; right: parent.right; rightMargin: 8 }
            anchors.verticalCenter: parent.verticalCenter
            text: item.text
            color: item.ink
        }
    }
}
