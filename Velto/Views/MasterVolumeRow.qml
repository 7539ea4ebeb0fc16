import QtQuick

// One volume for all outputs of the session.
Item {
    id: row

    required property QtObject model    // the panel's

    implicitHeight: 30

    Symbol {
        x: 19
        anchors.verticalCenter: parent.verticalCenter
        name: "slider.horizontal.3"
        size: 18
        color: Theme.secondary
    }
    TextLabel {
        x: 56
        anchors.verticalCenter: parent.verticalCenter
        text: "All"
        font.weight: Font.Medium
    }
    VolumeSlider {
        anchors { left: parent.left; leftMargin: 84; right: percent.left; rightMargin: 6; verticalCenter: parent.verticalCenter }
        volume: row.model.masterVolume
        Accessible.name: "Volume of all outputs"
        onVolumeMoved: volume => row.model.masterVolume = volume
    }
    TextLabel {
        id: percent
        anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
        width: 36
        horizontalAlignment: Text.AlignRight
        text: row.model.masterVolumeText
        color: Theme.secondary
        font.pixelSize: Theme.small
    }
}
