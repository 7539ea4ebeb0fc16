import QtQuick

// One of the outputs has gone, and the user wants to be asked.
Rectangle {
    id: view

    required property QtObject model    // the panel's
    readonly property string text: model.disconnectQuestion
    readonly property Item home: keep

    implicitHeight: column.height + 22
    radius: Theme.cornerRadius
    color: Theme.warnGround

    Accessible.role: Accessible.Grouping
    Accessible.name: text

    Said { text: view.text }
    Column {
        id: column
        x: 11
        y: 11
        width: parent.width - 22
        spacing: 7
        TextLabel {
            width: parent.width
            text: view.text
            wrapMode: Text.Wrap
            font.weight: Font.Medium
            bottomPadding: 3
        }
        PushButton {
            id: keep
            width: parent.width
            prominent: true
            text: view.model.keepPlayingTitle
            onClicked: view.model.keepPlaying()
        }
        PushButton {
            width: parent.width
            text: view.model.stopPlayingTitle
            onClicked: view.model.stopPlaying()
        }
    }
}
