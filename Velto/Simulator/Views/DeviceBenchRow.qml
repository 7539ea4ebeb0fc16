import QtQuick
import Velto

// One output on the bench.
GlassCard {
    id: row

    required property string uid
    required property string name
    required property string transport
    required property bool isPlugged
    required property bool isDefault
    required property bool isInAggregate
    required property bool hasVolume
    required property real volume
    required property string rate
    required property QtObject bench

    height: 56

    NameField {
        id: nameField
        anchors { left: parent.left; leftMargin: 10; verticalCenter: parent.verticalCenter }
        width: 190
        enabled: row.isPlugged
        label: "Name of " + row.name
        text: row.name
        onCommitted: row.bench.rename(row.uid, text)
        onEditingFinished: row.bench.rename(row.uid, text)
    }
    TextLabel {
        anchors { left: nameField.right; leftMargin: 8; verticalCenter: parent.verticalCenter }
        width: 84
        text: row.isInAggregate ? "playing" : row.transport
        color: row.isInAggregate ? Theme.good : Theme.secondary
        font.pixelSize: Theme.small
    }
    VolumeSlider {
        anchors { left: nameField.right; leftMargin: 96; right: buttons.left; rightMargin: 8; verticalCenter: parent.verticalCenter }
        visible: row.hasVolume
        volume: row.volume
        Accessible.name: "Bench volume of " + row.name
        onVolumeMoved: volume => row.bench.setVolume(row.uid, volume)
    }
    Row {
        id: buttons
        anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
        spacing: 6
        PushButton {
            visible: row.isPlugged
            implicitWidth: 72
            text: row.rate
            Accessible.name: "Change the rate of " + row.name
            onClicked: row.bench.toggleSampleRate(row.uid)
        }
        PushButton {
            visible: row.isPlugged
            implicitWidth: 72
            enabled: !row.isDefault
            text: "Default"
            Accessible.name: "Pick " + row.name + " as default"
            onClicked: row.bench.pickDefault(row.uid)
        }
        PushButton {
            implicitWidth: 72
            prominent: !row.isPlugged
            text: row.isPlugged ? "Unplug" : "Plug"
            Accessible.name: text + " " + row.name
            onClicked: row.bench.togglePlug(row.uid)
        }
    }
}
