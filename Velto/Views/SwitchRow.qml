import QtQuick
import QtQuick.Templates as T

SettingsRow {
    id: row

    property bool on: false
    signal toggled(bool on)

    T.Switch {
        id: toggle
        implicitWidth: 40
        implicitHeight: Theme.hitSize
        enabled: row.available
        opacity: enabled ? 1 : 0.45
        hoverEnabled: true
        focusPolicy: Qt.TabFocus
        checked: row.on
        onToggled: {
            row.toggled(checked)
            checked = Qt.binding(() => row.on)
        }

        Accessible.role: Accessible.CheckBox
        Accessible.name: row.label
        Accessible.description: row.help
        Accessible.checked: checked
        Accessible.onPressAction: if (toggle.enabled) row.toggled(!row.on)
        Accessible.onToggleAction: if (toggle.enabled) row.toggled(!row.on)
        Keys.onReturnPressed: row.toggled(!row.on)

        indicator: Rectangle {
            y: (toggle.height - height) / 2
            width: 40
            height: 24
            radius: 12
            color: toggle.checked ? Theme.accent : Theme.control
            border.width: 1
            border.color: toggle.checked ? Theme.accentInk : Theme.fieldEdge
            Behavior on color { ColorAnimation { duration: Theme.quick } }
            Rectangle {
                x: toggle.checked ? 19 : 3
                y: 3
                width: 18
                height: 18
                radius: 9
                color: toggle.checked ? Theme.accentText : Theme.fieldEdge
                Behavior on x { NumberAnimation { duration: Theme.quick; easing.type: Easing.OutCubic } }
            }
        }
        FocusRing { control: toggle; inset: -1 }
    }
}
