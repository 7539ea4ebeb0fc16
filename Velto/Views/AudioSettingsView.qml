import QtQuick

Column {
    id: page

    required property QtObject model

    SettingsSection {
        title: "Combined output"
        ChoiceRow {
            label: page.model.texts.sampleRate.label
            help: page.model.texts.sampleRate.help
            choices: page.model.sampleRates
            value: page.model.sampleRate
            onPicked: value => page.model.sampleRate = value
        }
        RowSeparator {}
        ChoiceRow {
            label: page.model.texts.clockStrategy.label
            help: chosen ? chosen.help : ""
            choices: page.model.clockStrategies
            value: page.model.clockStrategy
            onPicked: value => page.model.clockStrategy = value
        }
        RowSeparator {}
        SettingsRow {
            label: page.model.texts.aggregateDeviceName.label
            help: page.model.texts.aggregateDeviceName.help
            NameField {
                id: field
                implicitWidth: Theme.fieldWidth
                label: page.model.texts.aggregateDeviceName.label
                text: page.model.aggregateDeviceName
                onTextEdited: page.model.aggregateDeviceName = text
                onCommitted: field.focus = false
                onCancelled: field.focus = false
            }
        }
    }
}
