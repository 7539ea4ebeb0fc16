import QtQuick

// Settings that belong together, under a heading.
Column {
    id: section

    property string title
    default property alias rows: column.data

    width: parent ? parent.width : 0
    spacing: 6
    bottomPadding: 16

    ToldLabel {
        Accessible.role: Accessible.Heading
        x: 4
        visible: section.title.length > 0
        text: section.title
        color: Theme.secondary
        font.pixelSize: Theme.text(12)
        font.weight: Font.Medium
    }
    GlassCard {
        width: parent.width
        height: column.height + 8
        Column {
            id: column
            y: 4
            width: parent.width
        }
    }
}
