import QtQuick

// When two outputs were heard, before and after one was delayed: a dot for the first, a ring for the second, so
// that both together are a target.
Item {
    id: picture

    property var arrivals: []
    /// At the right end of the axis, in milliseconds.
    property real latest: 1
    readonly property real begin: 54
    readonly property real end: width - 16
    function place(milliseconds) { return begin + (end - begin) * Math.min(milliseconds / latest, 1) }
    function told(milliseconds) { return Number(milliseconds).toLocaleString(Qt.locale(), "f", 1) + " ms" }

    height: 96
    Accessible.role: Accessible.Graphic
    Accessible.name: ["before", "after"].map(when => when + ": " + arrivals.map(
        arrival => arrival.name + " at " + told(arrival[when])).join(", ")).join("; ")

    Repeater {
        model: [{ title: "Before", when: "before", y: 12 }, { title: "After", when: "after", y: 38 }]
        Item {
            id: line

            required property var modelData

            y: modelData.y
            width: picture.width
            height: 1
            TextLabel {
                anchors.verticalCenter: parent.verticalCenter
                text: line.modelData.title
                color: Theme.secondary
                font.pixelSize: Theme.small
            }
            Rectangle {
                x: picture.begin
                width: picture.end - picture.begin
                height: 1
                color: Theme.faint
            }
            Repeater {
                model: picture.arrivals
                Rectangle {
                    required property var modelData
                    required property int index
                    readonly property int size: index === 0 ? 9 : 17
                    x: picture.place(modelData[line.modelData.when]) - size / 2
                    y: -size / 2
                    width: size
                    height: size
                    radius: size / 2
                    color: index === 0 ? Theme.accentInk : "transparent"
                    border.width: index === 0 ? 0 : 2
                    border.color: Theme.accentInk
                }
            }
        }
    }
    TextLabel {
        x: picture.begin - width / 2
        y: 50
        text: "0"
        color: Theme.secondary
        font.pixelSize: Theme.small
    }
    TextLabel {
        anchors.right: parent.right
        y: 50
        text: picture.latest + " ms"
        color: Theme.secondary
        font.pixelSize: Theme.small
    }
    Row {
        y: 72
        width: parent.width
        spacing: 16
        Repeater {
            model: picture.arrivals
            Row {
                required property var modelData
                required property int index
                spacing: 6
                Rectangle {
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.index === 0 ? 9 : 13
                    height: width
                    radius: width / 2
                    color: parent.index === 0 ? Theme.accentInk : "transparent"
                    border.width: parent.index === 0 ? 0 : 2
                    border.color: Theme.accentInk
                }
                TextLabel {
                    width: Math.min(implicitWidth, (picture.width - 70) / 2)
                    text: parent.modelData.name
                    font.pixelSize: Theme.small
                }
            }
        }
    }
}
