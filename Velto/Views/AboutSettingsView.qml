import QtQuick

Column {
    id: page

    required property QtObject model

    spacing: 6
    topPadding: 20

    Image {
        anchors.horizontalCenter: parent.horizontalCenter
        width: 96
        height: 96
        sourceSize: Qt.size(192, 192)
        source: "image://symbol/application-icon"
    }
    ToldLabel {
        anchors.horizontalCenter: parent.horizontalCenter
        topPadding: 8
        Accessible.role: Accessible.Heading
        text: "Velto"
        font.pixelSize: Theme.text(24)
        font.weight: Font.Medium
    }
    ToldLabel {
        anchors.horizontalCenter: parent.horizontalCenter
        text: page.model.version
        color: Theme.secondary
    }
    ToldLabel {
        anchors.horizontalCenter: parent.horizontalCenter
        topPadding: 2
        bottomPadding: 18
        text: "Plays your computer’s sound on two outputs at the same time."
        color: Theme.secondary
    }
    SettingsSection {
        title: "Licences of what Velto is built with"
        Repeater {
            model: page.model.licences
            DebugRow {
                required property var modelData
                title: modelData.name
                value: modelData.licence
            }
        }
    }
}
