import QtQuick

// An output's symbol on a disc, in the accent colour while it plays.
Rectangle {
    property string symbol
    property bool playing: false
    property bool faded: false

    width: 34
    height: 34
    radius: 17
    color: playing ? Theme.accent : Theme.disc
    Behavior on color { ColorAnimation { duration: Theme.calm } }

    Symbol {
        anchors.centerIn: parent
        name: parent.symbol
        size: 20
        color: parent.playing ? Theme.accentText : parent.faded ? Theme.faint : Theme.label
    }
}
