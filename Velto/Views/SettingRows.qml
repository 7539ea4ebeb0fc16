import QtQuick

// The settings of a section, each in the control that its kind asks for.
Repeater {
    id: rows

    required property QtObject settings
    required property string section

    model: settings.rows(section)
    Column {
        id: row

        required property int index
        required property string key
        required property string kind
        required property string label
        required property string help
        required property bool available
        required property var value
        required property var choices
        required property string action

        width: parent ? parent.width : 0
        function set(value) { rows.settings.set(key, value) }

        RowSeparator { visible: row.index > 0 }
        Loader {
            width: parent.width
            sourceComponent: ({ toggle: toggleControl, choice: choiceControl, text: textControl, level: levelControl })[row.kind]
        }
        SettingsRow {
            visible: row.action.length > 0
            PushButton {
                text: row.action
                onClicked: rows.settings.act(row.key)
            }
        }

        Component {
            id: toggleControl
            SwitchRow {
                label: row.label
                help: row.help
                available: row.available
                on: row.value
                onToggled: on => row.set(on)
            }
        }
        Component {
            id: choiceControl
            ChoiceRow {
                label: row.label
                help: row.help
                choices: row.choices
                value: row.value
                onPicked: value => row.set(value)
            }
        }
        Component {
            id: textControl
            SettingsRow {
                label: row.label
                help: row.help
                NameField {
                    id: field
                    implicitWidth: 200
                    label: row.label
                    Accessible.description: row.help
                    text: row.value
                    onTextEdited: row.set(text)
                    onCommitted: field.selectAll()
                    onCancelled: field.focus = false
                }
            }
        }
        Component {
            id: levelControl
            SettingsRow {
                label: row.label
                help: row.help
                VolumeSlider {
                    implicitWidth: 200
                    volume: row.value
                    Accessible.name: row.label
                    Accessible.description: row.help
                    onVolumeMoved: volume => row.set(volume)
                }
            }
        }
    }
}
