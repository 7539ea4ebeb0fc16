import QtQuick

// The setup that plays gets a name, and is saved.
Item {
    id: editor

    required property QtObject model    // the panel's

    implicitHeight: problem.visible ? 38 + problem.height : 38
    function begin() { nameField.forceActiveFocus() }

    NameField {
        id: nameField
        anchors { left: parent.left; right: save.left; rightMargin: 8; verticalCenter: save.verticalCenter }
        label: "Name of this setup"
        placeholderText: label
        text: editor.model.newPresetName
        onTextEdited: editor.model.newPresetName = text
        onCommitted: editor.model.saveCurrentAsPreset()
        onCancelled: editor.model.isShowingPresetEditor = false
    }
    PushButton {
        id: save
        anchors { right: parent.right; top: parent.top; topMargin: 4 }
        implicitHeight: 30
        prominent: true
        enabled: editor.model.canSaveCurrentAsPreset
        text: "Save"
        onClicked: editor.model.saveCurrentAsPreset()
    }
    ToldLabel {
        id: problem
        anchors { left: parent.left; leftMargin: 4; right: parent.right; top: save.bottom; topMargin: 4 }
        visible: text.length > 0
        text: editor.model.newPresetNameProblem
        wrapMode: Text.Wrap
        color: Theme.warn
        font.pixelSize: Theme.small
        bottomPadding: 4
        Accessible.role: Accessible.AlertMessage
        Said { text: problem.text }
    }
}
