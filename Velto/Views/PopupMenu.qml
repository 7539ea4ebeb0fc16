import QtQuick
import QtQuick.Templates as T

T.Menu {
    id: menu

    implicitWidth: 210
    implicitHeight: contentHeight + 2 * padding
    padding: 5
    margins: 8
    enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.quick } }
    exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.quick } }

    contentItem: ListView {
        implicitHeight: contentHeight
        model: menu.contentModel
        interactive: false
        currentIndex: menu.currentIndex
    }
    background: PopupSurface {}
}
