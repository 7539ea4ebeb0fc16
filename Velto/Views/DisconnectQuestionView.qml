import QtQuick

// One of the outputs has gone, and the user wants to be asked.
Rectangle {
    id: view

    required property string text
    required property string keepTitle
    required property string stopTitle
    readonly property Item home: keep
    signal keepChosen()
    signal stopChosen()

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
            text: view.keepTitle
            onClicked: view.keepChosen()
        }
        PushButton {
            width: parent.width
            text: view.stopTitle
            onClicked: view.stopChosen()
        }
    }
}
