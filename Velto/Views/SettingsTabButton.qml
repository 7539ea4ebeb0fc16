import QtQuick
import QtQuick.Templates as T

T.TabButton {
    id: button

    property string symbol
    signal chosen()
    signal moved(int step)

    implicitWidth: 84
    implicitHeight: 58
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    onClicked: chosen()

    Accessible.name: text
    Accessible.selected: checked
    Accessible.onPressAction: chosen()
    Keys.onLeftPressed: moved(-1)
    Keys.onRightPressed: moved(1)
    Keys.onReturnPressed: chosen()

    background: Rectangle {
        radius: 9
        color: button.checked ? Theme.badge : button.hovered ? Theme.hover : "transparent"
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
    contentItem: Item {
        Symbol {
            id: glyph
            anchors.horizontalCenter: parent.horizontalCenter
            y: 9
            name: button.symbol
            size: 22
            color: button.checked ? Theme.accentInk : Theme.secondary
        }
        TextLabel {
            anchors { top: glyph.bottom; topMargin: 4; horizontalCenter: parent.horizontalCenter }
            text: button.text
            font.pixelSize: Theme.small
            font.weight: button.checked ? Font.Medium : Font.Normal
            color: button.checked ? Theme.accentInk : Theme.secondary
        }
    }
    FocusRing { control: button; inset: 0 }
}
