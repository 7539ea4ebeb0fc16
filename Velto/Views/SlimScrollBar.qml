import QtQuick
import QtQuick.Templates as T

T.ScrollBar {
    id: bar

    implicitWidth: 8
    padding: 2
    visible: size < 1

    Accessible.ignored: true

    contentItem: Rectangle {
        radius: 2
        color: Theme.faint
        opacity: bar.active ? 0.9 : 0.45
        Behavior on opacity { NumberAnimation { duration: Theme.quick } }
    }
}
