import QtQuick

// A tab that has nothing but settings.
Column {
    id: page

    required property QtObject model
    required property string tab

    Repeater {
        model: page.model.sections(page.tab)
        SettingsSection {
            id: card

            required property string modelData

            title: modelData
            SettingRows { settings: page.model; section: card.title }
        }
    }
}
