import QtQuick
import QtQuick.Templates as T

T.AbstractButton {
    id: button

    property bool prominent: false
    property bool busy: false
    property string symbol
    readonly property color ink: prominent ? Theme.accentText : Theme.label

    implicitHeight: 32
    implicitWidth: Math.max(80, row.implicitWidth + 28)
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    opacity: enabled || busy ? 1 : 0.45

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: if (button.enabled) button.clicked()

    background: Rectangle {
        radius: 9
        color: button.prominent ? (button.down ? Qt.darker(Theme.accent, 1.15)
                                               : button.hovered ? Qt.darker(Theme.accent, 1.06) : Theme.accent)
                                : button.down ? Theme.pressed : Theme.control
        border.width: button.prominent ? 0 : 1
        border.color: Theme.controlEdge
        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: Theme.hover
            visible: button.hovered && !button.prominent && !button.down
        }
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 7
            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                visible: button.symbol.length > 0 && !button.busy
                name: button.symbol
                color: button.ink
                size: 17
            }
            Lazy {
                anchors.verticalCenter: parent.verticalCenter
                isDue: button.busy
                sourceComponent: Spinner {
                    color: button.ink
                    size: 15
                }
            }
            TextLabel {
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, button.width - 24 - (button.symbol || button.busy ? 24 : 0))
                text: button.text
                color: button.ink
                font.weight: Font.Medium
            }
        }
    }

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    FocusRing { control: button }
}
