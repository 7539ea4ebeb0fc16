import QtQuick
import QtQuick.Templates as T

T.AbstractButton {
    id: button

    property string symbol
    property color color: Theme.secondary
    property int symbolSize: 18

    implicitWidth: Theme.hitSize
    implicitHeight: Theme.hitSize
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    opacity: enabled ? 1 : 0.4

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.checkable: checkable
    Accessible.checked: checked
    Accessible.onPressAction: if (button.enabled) button.clicked()
    Accessible.onToggleAction: if (button.enabled) button.clicked()

    background: Rectangle {
        radius: 8
        color: button.down || button.checked ? Theme.pressed : button.hovered ? Theme.hover : "transparent"
        border.width: button.checked ? 1 : 0
        border.color: Theme.fieldEdge
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: button.symbol
            color: button.color
            size: button.symbolSize
        }
    }

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    FocusRing { control: button; inset: 0 }
    Loader {
        active: button.hovered && button.text.length > 0 && !button.down && !button.checked
        sourceComponent: ToolTipLabel {
            owner: button
            text: button.text
        }
    }
}
