import QtQuick
import QtQuick.Templates as T

// A setting with several values: {value, title} each. What it shows follows `value`.
SettingsRow {
    id: row

    property var choices: []
    property var value
    readonly property var chosen: choices.find(choice => choice.value === value)
    signal picked(var value)

    T.ComboBox {
        id: box
        implicitWidth: Theme.fieldWidth
        implicitHeight: 30
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus     // the list is closed by Escape, however it was opened
        model: row.choices
        textRole: "title"
        valueRole: "value"
        currentIndex: row.choices.indexOf(row.chosen)
        onActivated: index => row.picked(row.choices[index].value)

        Accessible.role: Accessible.ComboBox
        Accessible.name: row.label
        Accessible.description: row.chosen ? row.chosen.title : ""
        Accessible.onPressAction: box.popup.open()
        Keys.onReturnPressed: event => openBy(event)
        Keys.onEnterPressed: event => openBy(event)

        function openBy(event) {
            event.accepted = !popup.visible     // else the list takes it
            if (event.accepted) popup.open()
        }

        background: Rectangle {
            radius: 8
            color: box.down || box.popup.visible ? Theme.pressed : Theme.control
            border.width: 1
            border.color: Theme.controlEdge
        }
        contentItem: TextLabel {
            leftPadding: 10
            rightPadding: 26
            text: row.chosen ? row.chosen.title : ""
        }
        indicator: Symbol {
            x: box.width - width - 8
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron.up.chevron.down"
            size: 15
            color: Theme.secondary
        }
        delegate: T.ItemDelegate {
            id: item

            required property var modelData
            required property int index

            width: ListView.view ? ListView.view.width : 0
            implicitHeight: 30
            hoverEnabled: true
            highlighted: box.highlightedIndex === index
            Accessible.role: Accessible.ListItem
            Accessible.name: modelData.title
            Accessible.onPressAction: { row.picked(item.modelData.value); box.popup.close() }
            background: Rectangle {
                radius: 6
                color: item.highlighted ? Theme.accent : "transparent"
            }
            contentItem: Item {
                Symbol {
                    x: 6
                    anchors.verticalCenter: parent.verticalCenter
                    visible: item.index === box.currentIndex
                    name: "checkmark"
                    size: 14
                    color: item.highlighted ? Theme.accentText : Theme.label
                }
                TextLabel {
                    anchors { left: parent.left; leftMargin: 26; right: parent.right; rightMargin: 6 }
                    anchors.verticalCenter: parent.verticalCenter
                    text: item.modelData.title
                    color: item.highlighted ? Theme.accentText : Theme.label
                }
            }
        }
        popup: T.Popup {
            y: box.height + 4
            width: box.width
            padding: 5
            margins: 8
            implicitHeight: Math.min(list.contentHeight + 2 * padding, 280)
            enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.quick } }
            exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.quick } }
            contentItem: ListView {
                id: list
                clip: true
                model: box.popup.visible ? box.delegateModel : null
                currentIndex: box.highlightedIndex
                boundsBehavior: Flickable.StopAtBounds
                T.ScrollBar.vertical: SlimScrollBar {}
            }
            background: PopupSurface {}
        }
        FocusRing { control: box }
    }
}
