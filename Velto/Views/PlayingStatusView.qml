import QtQuick

// The status in one line: a symbol, or a spinner while something is under way, and the status in words.
Item {
    id: status

    required property QtObject model
    readonly property color tint: ({ good: Theme.good, warning: Theme.warn, bad: Theme.bad })[model.statusTone]
                                  ?? Theme.secondary

    implicitHeight: 18

    Accessible.role: Accessible.StaticText
    Accessible.name: model.statusTitle
    Accessible.description: model.syncSummary

    Said { text: status.visible && !status.model.isBusy ? status.model.statusTitle : "" }
    Symbol {
        id: symbol
        anchors.verticalCenter: parent.verticalCenter
        visible: !status.model.isBusy
        name: status.model.statusSymbol
        size: 15
        color: status.tint
    }
    Spinner {
        anchors.verticalCenter: parent.verticalCenter
        visible: status.model.isBusy
        size: 15
        color: status.tint
    }
    NameLabel {
        id: title
        anchors { left: symbol.right; leftMargin: 5; verticalCenter: parent.verticalCenter }
        width: Math.min(implicitWidth, status.width - x - summary.implicitWidth)
        text: status.model.statusTitle      // the name of an output, and what has become of it
        color: Theme.secondary
        font.pixelSize: Theme.text(12)
    }
    TextLabel {
        id: summary
        anchors { left: title.right; verticalCenter: parent.verticalCenter }
        text: status.model.syncSummary ? "  ·  " + status.model.syncSummary : ""
        color: Theme.secondary
        font.pixelSize: Theme.text(12)
    }
}
