import QtQuick
import QtQuick.Templates as T

// The saved setups: save the running one, play one, take a deletion back.
Item {
    id: view

    required property QtObject model    // the panel's
    required property QtObject presets

    readonly property int rowsShown: 5
    implicitHeight: column.height

    Column {
        id: column
        width: parent.width
        spacing: 2

        Item {
            width: parent.width
            height: Theme.hitSize
            TextLabel {
                x: 4
                anchors.verticalCenter: parent.verticalCenter
                text: "Presets"
                color: Theme.secondary
                font.pixelSize: Theme.text(12)
                font.weight: Font.DemiBold
            }
            IconButton {
                id: opener
                anchors.right: parent.right
                visible: view.model.canSavePreset
                checkable: true
                checked: view.model.isShowingPresetEditor
                symbol: checked ? "xmark" : "plus"
                text: "Save current setup"
                onClicked: view.model.isShowingPresetEditor = !view.model.isShowingPresetEditor
            }
        }
        Item {
            width: parent.width
            height: visible ? 38 : 0
            visible: view.model.isShowingPresetEditor && view.model.canSavePreset
            onVisibleChanged: (visible ? nameField : opener).forceActiveFocus()
            NameField {
                id: nameField
                anchors { left: parent.left; right: save.left; rightMargin: 8; verticalCenter: parent.verticalCenter }
                label: "Name of this setup"
                placeholderText: label
                text: view.model.newPresetName
                onTextEdited: view.model.newPresetName = text
                onCommitted: view.model.saveCurrentAsPreset()
                onCancelled: view.model.isShowingPresetEditor = false
            }
            PushButton {
                id: save
                anchors { right: parent.right; verticalCenter: parent.verticalCenter }
                implicitHeight: 30
                prominent: true
                text: "Save"
                onClicked: view.model.saveCurrentAsPreset()
            }
        }
        TextLabel {
            x: 4
            width: parent.width - 8
            height: visible ? 34 : 0
            visible: list.count === 0
            text: "Play two outputs, then save them here."
            color: Theme.secondary
            font.pixelSize: Theme.text(12)
        }
        ListView {
            id: list
            width: parent.width
            height: Math.min(count, view.rowsShown + 0.5) * 46
            visible: count > 0
            clip: true
            model: view.presets.rows
            boundsBehavior: Flickable.StopAtBounds
            T.ScrollBar.vertical: SlimScrollBar {}
            delegate: PresetRow {
                width: ListView.view.width
                presets: view.presets
                onActiveFocusChanged: if (activeFocus) list.positionViewAtIndex(index, ListView.Contain)
                required property int index
            }
            Accessible.role: Accessible.List
            Accessible.name: "Presets"
        }
        Rectangle {
            width: parent.width
            height: visible ? 36 : 0
            visible: view.presets.canUndoDelete
            radius: 9
            color: Theme.disc
            TextLabel {
                anchors { left: parent.left; leftMargin: 11; right: undo.left; rightMargin: 6; verticalCenter: parent.verticalCenter }
                text: "Deleted “" + view.presets.deletedPresetName + "”"
                font.pixelSize: Theme.text(12)
            }
            PushButton {
                id: undo
                anchors { right: parent.right; rightMargin: 4; verticalCenter: parent.verticalCenter }
                implicitHeight: Theme.hitSize
                symbol: "arrow.uturn.backward"
                text: "Undo"
                onClicked: view.presets.undoDelete()
            }
        }
    }
}
