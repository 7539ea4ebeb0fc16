import QtQuick

// When each output of the session is heard. Closed at first: most pairs need no correction.
Item {
    id: view

    required property QtObject model    // the panel's

    /// The latest that a slider reaches, in milliseconds; a command can go on.
    readonly property real latest: 500
    property bool isOpen: false
    implicitHeight: column.height

    Column {
        id: column
        width: parent.width
        spacing: 2

        Item {
            width: parent.width
            height: Theme.hitSize
            TextLabel {
                x: 4
                anchors { left: parent.left; leftMargin: 4; right: opener.left; verticalCenter: parent.verticalCenter }
                text: view.model.syncSummary ? "In step  ·  " + view.model.syncSummary : "In step"
                color: Theme.secondary
                font.pixelSize: 12
                font.weight: Font.DemiBold
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
        Repeater {
            model: view.isOpen ? view.model.outputs : null
            Item {
                id: row

                required property string uid
                required property string name
                required property real delay
                required property string delayText

                width: column.width
                height: 46

                TextLabel {
                    anchors { left: parent.left; leftMargin: 10; right: told.left; rightMargin: 8; top: parent.top }
                    text: row.name
                }
                TextLabel {
                    id: told
                    anchors { right: parent.right; rightMargin: 10; top: parent.top }
                    text: row.delayText
                    color: Theme.secondary
                    font.pixelSize: Theme.small
                }
                VolumeSlider {
                    anchors { left: parent.left; leftMargin: 10; right: parent.right; rightMargin: 10; bottom: parent.bottom }
                    volume: Math.min(row.delay / view.latest, 1)
                    step: 1 / view.latest
                    fineStep: 0.1 / view.latest
                    Accessible.name: "Delay of " + row.name
                    Accessible.description: row.delayText
                    onVolumeMoved: part => view.model.setDelay(row.uid, part * view.latest)
                }
            }
        }
    }
}
