import QtQuick

// A saved setup gets another name, in its row.
Item {
    id: editor

    required property QtObject model    // its row

    implicitHeight: problemLabel.visible ? nameField.height + problemLabel.height : nameField.height
    function begin() { nameField.forceActiveFocus(); nameField.selectAll() }

    NameField {
        id: nameField
        width: parent.width
        label: "Name of the preset"
        text: editor.model.presets.renameText
        onTextEdited: editor.model.presets.renameText = text
        onCommitted: editor.model.presets.commitRename()
        onCancelled: editor.model.presets.cancelRename()
        onActiveFocusChanged: if (!activeFocus && editor.model.isRenaming) editor.model.leaveName()   // for another control
    }
    ToldLabel {
        id: problemLabel
        anchors { left: parent.left; right: parent.right; top: nameField.bottom; topMargin: 3 }
        visible: text.length > 0
        text: editor.model.renameProblem
        wrapMode: Text.Wrap
        color: Theme.warn
        font.pixelSize: Theme.small
        bottomPadding: 8
        Accessible.role: Accessible.AlertMessage
        Said { text: problemLabel.text }
    }
}
