import QtQuick

// What has just been said aloud. There is nothing to see of it; a reader takes its words from the text in it.
Item {
    id: announcement

    property string words

    width: 1
    height: 1
    visible: false
    Accessible.role: Accessible.Notification
    Accessible.name: words

    Item {
        anchors.fill: parent
        Accessible.role: Accessible.StaticText
        Accessible.name: announcement.words
    }
}
