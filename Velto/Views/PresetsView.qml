import QtQuick

// The saved setups: save the running one, play one, take a deletion back.
Item {
    id: view

    required property QtObject model    // the panel's
    required property QtObject presets

    /// The row that gets the keyboard when the rows have changed; -1 for none.
    property int nextRow: -1
    property bool isUndoing: false
    implicitHeight: column.height

    function remove(row, presetID) {
        nextRow = row
        presets.remove(presetID)
    }
    function focusNextRow() {
        const row = Math.min(nextRow, presets.rows.count - 1)
        nextRow = -1
        const home = row < 0 ? undo.item?.home : list.item.showRow(row)
        if (home) home.forceActiveFocus()
    }
    Connections {
        target: view.presets.rows
        function onRowsInserted(parent, first) {
            if (view.isUndoing) view.nextRow = first
            view.isUndoing = false
        }
        function onContentChanged() { if (view.nextRow >= 0) Qt.callLater(view.focusNextRow) }
    }

    Column {
        id: column
        width: parent.width
        spacing: 2

        Item {
            width: parent.width
            height: Theme.hitSize
            ToldLabel {
                x: 4
                anchors.verticalCenter: parent.verticalCenter
                text: "Presets"
                color: Theme.secondary
                font.pixelSize: Theme.text(12)
                font.weight: Font.Medium
                Accessible.role: Accessible.Heading
            }
            IconButton {
                id: opener
                anchors.right: parent.right
                visible: view.model.isPlaying
                checkable: true
                checked: view.model.isShowingPresetEditor
                symbol: checked ? "xmark" : "plus"
                text: "Save current setup"
                onClicked: view.model.isShowingPresetEditor = !view.model.isShowingPresetEditor
            }
        }
        LazyView {
            width: parent.width
            isDue: view.model.isShowingPresetEditor && view.model.isPlaying
            view: "PresetEditor"
            model: view.model
            onLoaded: item.begin()
            onIsDueChanged: if (!isDue && activeFocus && opener.visible) opener.forceActiveFocus()
        }
        ToldLabel {
            x: 4
            width: parent.width - 8
            height: visible ? 34 : 0
            visible: !list.isDue && !view.presets.canUndoDelete
            text: !opener.visible ? "Play two outputs, then save them here."
                : opener.checked ? "It is saved with its volumes." : "Save what plays now with the plus sign."
            color: Theme.secondary
            font.pixelSize: Theme.text(12)
        }
        LazyView {
            id: list
            width: parent.width
            isDue: view.presets.rows.count > 0
            view: "PresetList"
            model: view.presets
            Connections {
                target: list.item
                function onRemovalRequested(row, presetID) { view.remove(row, presetID) }
            }
        }
        LazyView {
            width: parent.width
            isDue: view.presets.autoConnectOffer.length > 0
            view: "AutoConnectOffer"
            model: view.presets
        }
        LazyView {
            id: undo
            width: parent.width
            isDue: view.presets.canUndoDelete
            view: "UndoOffer"
            model: view.presets
            Connections {
                target: undo.item
                function onAccepted() {
                    view.isUndoing = true
                    view.presets.undoDelete()
                }
            }
        }
    }
}
