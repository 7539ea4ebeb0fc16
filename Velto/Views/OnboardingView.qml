import QtQuick

// The first thing that anybody sees of Velto.
Item {
    id: view

    required property string heading
    required property string message
    required property string buttonTitle
    signal continued()

    implicitWidth: 440
    implicitHeight: column.height + 76

    Keys.onPressed: event => page.scroll(event)

    ScrollingPage {
        id: page
        anchors.fill: parent
        contentHeight: view.implicitHeight

        Column {
            id: column
            x: 40
            y: 44
            width: view.width - 80
            spacing: 14
            Image {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 96
                height: 96
                sourceSize: Qt.size(192, 192)
                source: "image://symbol/application-icon"
            }
            ToldLabel {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                Accessible.role: Accessible.Heading
                text: view.heading
                font.pixelSize: Theme.text(22)
                font.weight: Font.Medium
            }
            ToldLabel {
                width: parent.width
                text: view.message
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                lineHeight: 1.25
                color: Theme.secondary
            }
            Item { width: 1; height: 4 }
            PushButton {
                anchors.horizontalCenter: parent.horizontalCenter
                implicitWidth: 160
                implicitHeight: 36
                prominent: true
                focus: true
                text: view.buttonTitle
                onClicked: view.continued()
            }
        }
    }
}
