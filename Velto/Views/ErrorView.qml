import QtQuick

// What went wrong, and what can be done about it.
Rectangle {
    id: view

    required property QtObject model    // the panel's
    readonly property string error: model.errorText
    readonly property string recovery: model.recoveryText

    implicitHeight: text.height + 20
    radius: Theme.cornerRadius
    color: Theme.badGround

    Accessible.role: Accessible.AlertMessage
    Accessible.name: error
    Accessible.description: recovery

    Said { text: [view.error, view.recovery].filter(part => part).join(". ") }
    Symbol {
        id: symbol
        x: 11
        y: 11
        name: "xmark.circle.fill"
        size: 17
        color: Theme.bad
    }
    Column {
        id: text
        anchors { left: symbol.right; leftMargin: 8; right: dismiss.left; rightMargin: 4; top: parent.top; topMargin: 10 }
        spacing: 3
        TextLabel {
            width: parent.width
            text: view.error
            wrapMode: Text.Wrap
            font.pixelSize: Theme.text(12)
            font.weight: Font.Medium
        }
        TextLabel {
            width: parent.width
            visible: view.recovery.length > 0
            text: view.recovery
            wrapMode: Text.Wrap
            color: Theme.secondary
            font.pixelSize: Theme.small
        }
    }
    IconButton {
        id: dismiss
        anchors { right: parent.right; rightMargin: 5; top: parent.top; topMargin: 5 }
        symbol: "xmark"
        symbolSize: 16
        text: "Dismiss"
        onClicked: view.model.dismissError()
    }
}
