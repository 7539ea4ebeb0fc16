import QtQuick

// When one output is heard: turned by a slider, or typed.
Item {
    id: row

    required property string uid
    required property string name
    required property real delay
    required property string delayText
    property QtObject model

    /// The latest that the slider reaches, in milliseconds; what is typed can go on.
    readonly property real latest: 500

    width: parent ? parent.width : 0
    height: 60

    NameLabel {
        anchors { left: parent.left; leftMargin: 14; right: typed.left; rightMargin: 8; verticalCenter: typed.verticalCenter }
        text: row.name
    }
    NumberField {
        id: typed
        anchors { right: unit.left; rightMargin: 5; top: parent.top }
        label: "Delay of " + row.name + ", in milliseconds"
        number: row.delay
        onEntered: milliseconds => row.model.setDelay(row.uid, milliseconds)
    }
    TextLabel {
        id: unit
        anchors { right: parent.right; rightMargin: 14; verticalCenter: typed.verticalCenter }
        width: 50
        text: "ms later"
        color: Theme.secondary
        font.pixelSize: Theme.small
    }
    VolumeSlider {
        anchors { left: parent.left; leftMargin: 14; right: parent.right; rightMargin: 14; bottom: parent.bottom }
        volume: Math.min(row.delay / row.latest, 1)
        step: 1 / row.latest
        fineStep: 0.1 / row.latest
        pageStep: 10 / row.latest
        Accessible.name: "Delay of " + row.name
        Accessible.description: row.delayText
        onVolumeMoved: part => row.model.setDelay(row.uid, part * row.latest)
    }
}
