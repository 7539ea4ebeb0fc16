import QtQuick
import QtQuick.Templates as T

// A name is typed: Return takes it, Escape doesn't.
T.TextField {
    id: field

    property string label
    signal committed()
    signal cancelled()

    implicitHeight: 30
    leftPadding: 9
    rightPadding: 9
    color: Theme.label
    font.family: Theme.family
    font.pixelSize: Theme.body
    placeholderTextColor: Theme.secondary
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    selectByMouse: true
    verticalAlignment: TextInput.AlignVCenter
    maximumLength: 200

    Accessible.role: Accessible.EditableText
    Accessible.name: label

    background: Rectangle {
        radius: 8
        color: Theme.control
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Theme.accentInk : Theme.fieldEdge
    }
    TextLabel {
        anchors { fill: parent; leftMargin: 10; rightMargin: 9 }
        visible: field.length === 0 && field.preeditText.length === 0
        text: field.placeholderText
        color: Theme.secondary
    }

    Keys.onReturnPressed: committed()
    Keys.onEnterPressed: committed()
    Keys.onEscapePressed: cancelled()
}
