import QtQuick

// A saved setup gets another name, in its row.
Item {
    id: editor

    required property string name
    required property string problem
    signal edited(string name)
    signal committed()
    signal cancelled()
    signal abandoned()  // for another control

    implicitHeight: problemLabel.visible ? nameField.height + problemLabel.height : nameField.height
    function begin() { nameField.forceActiveFocus(); nameField.selectAll() }

    NameField {
        id: nameField
        width: parent.width
        label: "Name of the preset"
        text: editor.name
        onTextEdited: editor.edited(text)
        onCommitted: editor.committed()
        onCancelled: editor.cancelled()
        onActiveFocusChanged: if (!activeFocus) editor.abandoned()
    }
    ToldLabel {
        id: problemLabel
        anchors { left: parent.left; right: parent.right; top: nameField.bottom; topMargin: 3 }
        visible: text.length > 0
        text: editor.problem
        wrapMode: Text.Wrap
        color: Theme.warn
        font.pixelSize: Theme.small
        bottomPadding: 8
        Accessible.role: Accessible.AlertMessage
        Said { text: problemLabel.text }
    }
}
