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
        Accessible.onPressAction: row.toggled(!row.on)
        Accessible.onToggleAction: row.toggled(!row.on)
        Keys.onReturnPressed: row.toggled(!row.on)

        indicator: Rectangle {
            y: (toggle.height - height) / 2
            width: 40
            height: 24
            radius: 12
            color: toggle.checked ? Theme.accent : Theme.track
            border.width: toggle.checked ? 0 : 1
            border.color: Theme.controlEdge
            Behavior on color { ColorAnimation { duration: Theme.quick } }
            Rectangle {
                x: toggle.checked ? 18 : 2
                y: 2
                width: 20
                height: 20
                radius: 10
                color: "#ffffff"
                border.width: 1
                border.color: "#1f000000"
                Behavior on x { NumberAnimation { duration: Theme.quick; easing.type: Easing.OutCubic } }
            }
        }
        FocusRing { control: toggle; inset: -1 }
    }
}
