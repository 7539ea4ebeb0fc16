import QtQuick
import QtQuick.Templates as T

// A setting with several values: {value, title} each. What it shows follows `value`.
SettingsRow {
    id: row

    property var choices: []
    property var value
    /// Values are compared: each reading of a list of the model's makes new objects.
    readonly property int chosenIndex: choices.findIndex(choice => choice.value === value)
    readonly property string chosenTitle: chosenIndex < 0 ? "" : choices[chosenIndex].title
    signal picked(var value)

    DropDown {
        id: box
        implicitWidth: Math.min(Theme.fieldWidth, Math.max(130, widest + 46))
        /// As wide as its longest value: what is left is for the help.
        readonly property real widest: Math.max(0, ...row.choices.map(choice => metrics.advanceWidth(choice.title)))
        FontMetrics { id: metrics; font.family: Theme.family; font.pixelSize: Theme.body }
        implicitHeight: 30
        model: row.choices
        textRole: "title"
        valueRole: "value"
        currentIndex: row.chosenIndex
        onModelChanged: { follow(); followReached() }
        onActivated: index => { row.picked(row.choices[index].value); follow() }
        /// What the list makes of the index is no more than a wish.
        function follow() { currentIndex = Qt.binding(() => row.chosenIndex) }

        label: row.label
        enabled: row.available
        Accessible.description: [row.chosenTitle, row.help].filter(part => part).join(". ")

        background: Rectangle {
            radius: 8
            color: box.down ? Theme.pressed : Theme.control
            border.width: 1
            border.color: Theme.fieldEdge
        }
        contentItem: TextLabel {
            leftPadding: 10
            rightPadding: 26
            text: row.chosenTitle
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
            implicitHeight: box.rowHeight
            hoverEnabled: true
            highlighted: box.highlightedIndex === index
            Accessible.role: Accessible.ListItem
            Accessible.name: modelData.title
            Accessible.selectable: true
            Accessible.selected: index === row.chosenIndex
            Accessible.focused: highlighted
            Accessible.onPressAction: { row.picked(item.modelData.value); box.popup.close() }
            background: Rectangle {
                radius: 6
                color: item.highlighted ? Theme.accent : "transparent"
            }
            contentItem: Item {
                Symbol {
                    x: 6
                    anchors.verticalCenter: parent.verticalCenter
                    visible: item.index === row.chosenIndex
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
    }
}
