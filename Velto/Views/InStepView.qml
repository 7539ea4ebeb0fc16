import QtQuick

// When each output of the session is heard. Closed at first: most pairs need no correction.
Column {
    id: view

    required property QtObject model
    property bool isOpen: false
    spacing: 2

    Item {
        width: parent.width
        height: Theme.hitSize
        ToldLabel {
            Accessible.role: Accessible.Heading
            anchors { left: parent.left; leftMargin: 4; right: opener.left; verticalCenter: parent.verticalCenter }
            text: "In step"
            color: Theme.secondary
            font.pixelSize: Theme.text(12)
            font.weight: Font.Medium
        }
        IconButton {
            id: opener
            anchors.right: parent.right
            checkable: true
            checked: view.isOpen
            symbol: checked ? "xmark" : "stopwatch"
            onClicked: view.isOpen = !view.isOpen
            text: checked ? "Done" : "Adjust when each output is heard"
        }
    }
    Loader {
        width: parent.width
        active: view.isOpen
        sourceComponent: Column {
            spacing: 4
            ToldLabel {
                x: 14
                width: parent.width - 28
                text: view.model.help
                wrapMode: Text.Wrap
                color: Theme.secondary
                font.pixelSize: Theme.small
            }
            InStepControls {
                width: parent.width
                model: view.model
            }
        }
    }
}
